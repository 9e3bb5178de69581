#pragma once

#include <string>
#include <string_view>

namespace tessary::test {

/// A new empty folder of this user alone, removed with everything in it at the end of the scope.
class TemporaryFolder final {
public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder &) = delete;
  TemporaryFolder &operator=(const TemporaryFolder &) = delete;

  const std::string &path() const { return path_; }
  /// Path of `name` inside the folder.
  std::string path(std::string_view name) const;

private:
  std::string path_;
};

} // namespace tessary::test
