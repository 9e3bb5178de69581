// compare_tool BEFORE NOW COUNT SEED all|bare IGNORED
// Runs COUNT random sequences, from seed SEED on, through two builds of tessary-cli, and ends with 1 at the
// first on which they differ. What matches the regular expression IGNORED, unless it is empty, is left out of
// their answers. scripts/compare calls it.

#include "tests/compare/Work.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <exception>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace tessary::compare;

std::atomic<bool> interrupted = false;

extern "C" void handleInterrupt(int) {
  interrupted = true;
}

void printCounts(const std::map<std::string, Counts> &commands) {
  const auto printRow = [](const auto &name, const auto &succeeded, const auto &failed) {
    std::cout << std::left << std::setw(10) << name << std::right << std::setw(8) << succeeded << std::setw(8)
              << failed << '\n';
  };
  printRow("command", "ok", "failed");
  for (const auto &[name, counts] : commands)
    printRow(name, counts.succeeded, counts.failed);
}

void printFound(const Found &found) {
  const Sequence &sequence = found.sequence;
  std::cout << "Seed " << sequence.seed << ": " << found.difference
            << (sequence.rules == tessary::MountRules::guarded ? "Guarded, " : "Bare, ")
            << (sequence.isBatch ? "all commands on one mount" : "each command a run of the program")
            << "; what it takes:\n";
  for (const Command &command : sequence.commands)
    std::cout << "  " << lineOf(command) << '\n';
  if (sequence.commands.empty()) std::cout << "  no command at all\n";
}

Job jobFrom(const std::vector<std::string> &words) {
  Job job{.before = words[0], .now = words[1]};
  job.count = static_cast<std::uint32_t>(std::stoul(words[2]));
  job.seed = static_cast<std::uint32_t>(std::stoul(words[3]));
  job.bareOnly = words[4] == "bare";
  if (!words[5].empty()) job.ignored = tessary::test::Pattern(words[5]);
  return job;
}

int compare(const Job &job) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  const Result result = resultOf(job, interrupted);
  if (!result.problem.empty()) {
    std::cerr << "compare_tool: " << result.problem << '\n';
    return 2;
  }
  if (result.found) {
    printFound(*result.found);
    return 1;
  }
  if (interrupted) return 130;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count();
  std::cout << result.sequences << " sequences in " << seconds << " s: no difference.\n";
  printCounts(result.commands);
  return 0;
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 7) {
    std::cerr << "compare_tool BEFORE NOW COUNT SEED all|bare IGNORED\n";
    return 2;
  }
  std::signal(SIGINT, handleInterrupt);
  std::signal(SIGTERM, handleInterrupt);
  try {
    return compare(jobFrom({argv + 1, argv + argc}));
  } catch (const std::exception &problem) { // a number or a regular expression that is none, a full disk
    std::cerr << "compare_tool: " << problem.what() << '\n';
    return 2;
  }
}
