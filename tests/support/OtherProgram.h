#pragma once

#include <string>
#include <sys/types.h>

namespace tessary::test {

/// Another process that has claimed an image for changes, until it lets go
/// or this one ends.
class OtherProgram {
public:
  /// Returns when it has the image. This process must not have it mounted.
  explicit OtherProgram(const std::string &imagePath);
  ~OtherProgram() { letGo(); }
  OtherProgram(const OtherProgram &) = delete;
  OtherProgram &operator=(const OtherProgram &) = delete;

  void letGo();

private:
  pid_t child_ = -1;
  int end_ = -1; ///< closing it ends the child
};

} // namespace tessary::test
