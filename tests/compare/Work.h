#pragma once

#include "tests/compare/Sequence.h"
#include "tests/support/Pattern.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace tessary::compare {

/// What is asked for.
struct Job {
  std::string before; ///< the two programs
  std::string now;
  std::uint32_t count = 0; ///< of sequences
  std::uint32_t seed = 0;  ///< of the first
  bool bareOnly = false;   ///< leaves out the seeds of guarded sequences
  std::optional<test::Pattern> ignored{};
};

/// How often each command was run, and how often it did what it should.
struct Counts {
  std::size_t succeeded = 0;
  std::size_t failed = 0;
};

struct Found {
  Sequence sequence; ///< with no more commands than the difference takes
  std::string difference;
};

/// What came of it.
struct Result {
  std::size_t sequences = 0; ///< that gave no difference
  std::map<std::string, Counts> commands;
  std::optional<Found> found; ///< the work ends when there is one
  std::string problem;        ///< of the host, for which the work ended; empty when there was none
};

/// Does the job on all processors, until it is done, something is found, or `interrupted` becomes true.
/// Leaves nothing behind.
Result resultOf(const Job &job, const std::atomic<bool> &interrupted);

} // namespace tessary::compare
