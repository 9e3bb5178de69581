#pragma once

#include "tessary/MountRules.h"
#include "tests/support/ImageBuilder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessary::compare {

using test::Bytes;

/// A command's name and its own words: without IMAGE, `--exact` and `--json`, which every program takes in
/// its own way.
using Command = std::vector<std::string>;

struct HostFile {
  std::string path; ///< from the sequence's folder on
  Bytes contents;
};

/// An image, files of the host, and commands to run on them.
struct Sequence {
  std::uint32_t seed = 0;
  MountRules rules = MountRules::guarded;
  bool isBatch = true; ///< one mount for all commands; otherwise each one is a run of the program
  Bytes image;
  std::vector<HostFile> hostFiles;
  std::vector<Command> commands;
};

/// The same sequence for the same seed: guarded for even seeds, bare for odd ones.
Sequence randomSequence(std::uint32_t seed);

/// The words as a shell, and a batch, takes them.
std::string lineOf(const Command &command);

} // namespace tessary::compare
