#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tessary::bench {

/// What a process that has ended has used.
struct Usage {
  double cpuSeconds = 0;         ///< user and system
  std::uint64_t residentKiB = 0; ///< at its largest
};

/// What a program is run with besides its words.
struct Surroundings {
  std::string input = "/dev/null"; ///< file for standard input
  /// File that the program makes when it is ready, after which it is ended. Empty where it ends by itself.
  std::string readyFile{};
};

/// Runs a program to its end, its output thrown away. Throws when it cannot be run or ends with a failure.
/// The host's figure for its memory is never below what this process takes itself.
Usage run(const std::vector<std::string> &words, const Surroundings &surroundings = {});

/// Whether the program stands in one of the folders of PATH.
bool isInstalled(const std::string &program);

/// Does the work in a process of its own, so that this one stays small. Throws when it fails.
void doElsewhere(const std::function<void()> &work);

/// CPU seconds of this process so far, user and system.
double cpuSecondsSoFar();

} // namespace tessary::bench
