#pragma once

#include "tests/compare/Sequence.h"

#include <string>
#include <vector>

namespace tessary::compare {

/// What one run of a program gave.
struct Run {
  int status = -1; ///< of its exit
  int signal = 0;  ///< that ended it; 0 for an exit
  std::string out;
  std::string err;
};

/// The name that every image has in its folder.
inline constexpr const char *kImageName = "disk.hda";

/// One build of tessary-cli. Programs are run with a sequence's folder as the current one; what they read and
/// write besides goes to files beside that folder, named after it.
class Program final {
public:
  /// Asks the program for its help, to know where it takes `--exact`.
  Program(std::string path, const std::string &folder);

  /// One command, on a mount of its own.
  Run run(const Command &command, MountRules rules, const std::string &folder) const;
  /// All commands on one mount.
  Run runBatch(const std::vector<Command> &commands, MountRules rules, const std::string &folder) const;

private:
  Run start(const std::vector<std::string> &words, const std::string &input, const std::string &folder) const;

  std::string path_;
  /// Each mount is guarded or bare, and so is a batch as a whole. Before that was so, each change was.
  bool exactIsOfTheMount_ = false;
};

} // namespace tessary::compare
