#pragma once

#include "tests/compare/Program.h"
#include "tests/compare/Sequence.h"

#include <csignal>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tessary::compare {

/// What a command was answered. In a run of its own that takes in its exit status and what it wrote besides.
struct Answer {
  std::string text;
  bool succeeded = false;
};

struct HostEntry {
  std::filesystem::file_type type{};
  std::filesystem::perms permissions{};
  Bytes contents; ///< of a regular file
  bool operator==(const HostEntry &) const = default;
};

/// What a program made of a sequence.
struct Outcome {
  std::vector<Answer> answers;                ///< one for each command
  std::string ending;                         ///< of the batch: exit status, and what is no answer
  std::vector<Answer> listing;                ///< of `listingCommands` on a fresh mount afterwards
  std::map<std::string, HostEntry> hostFiles; ///< of the sequence's folder, without the image
  Bytes image;
  int signal = 0; ///< that ended a run; 0 when none did

  bool tookTooLong() const { return signal == SIGALRM; }
};

const std::vector<Command> &listingCommands();

/// Runs the sequence in a folder that it makes anew.
Outcome outcomeOf(const Sequence &sequence, const Program &program, const std::string &folder);

} // namespace tessary::compare
