#include "tests/compare/Work.h"

#include "tests/compare/Comparison.h"
#include "tests/compare/Program.h"
#include "tests/compare/Trial.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tessary::compare {
namespace {

// What the threads share: which seeds are still to be run, and what came of the others.
class Work final {
public:
  Work(const Job &job, const std::atomic<bool> &interrupted) : job_(job), interrupted_(interrupted) {}

  // None when all have been given out, or when it is over.
  std::optional<std::uint32_t> nextSeed() {
    const std::lock_guard lock(mutex_);
    const bool isOver = interrupted_ || result_.found || !result_.problem.empty();
    if (isOver || given_ == job_.count) return std::nullopt;
    const std::uint32_t number = given_++;
    return job_.bareOnly ? (job_.seed | 1) + 2 * number : job_.seed + number; // odd seeds are bare
  }

  void passed(const Sequence &sequence, const std::vector<Answer> &answers) {
    const std::lock_guard lock(mutex_);
    ++result_.sequences;
    for (std::size_t i = 0; i < std::min(answers.size(), sequence.commands.size()); ++i) {
      Counts &counts = result_.commands[sequence.commands[i].front()];
      ++(answers[i].succeeded ? counts.succeeded : counts.failed);
    }
    if (result_.sequences % 50 == 0) showProgress();
  }

  // Of two threads' findings the one of the lower seed stays.
  void differs(Found found) {
    const std::lock_guard lock(mutex_);
    if (!result_.found || found.sequence.seed < result_.found->sequence.seed)
      result_.found = std::move(found);
  }

  void failed(const std::string &problem) {
    const std::lock_guard lock(mutex_);
    result_.problem = problem;
  }

  bool isInterrupted() const { return interrupted_; }

  Result finish() {
    if (hasTerminal()) std::cerr << "\r\x1b[K" << std::flush;
    return std::move(result_);
  }

private:
  static bool hasTerminal() { return ::isatty(STDERR_FILENO) == 1; }

  void showProgress() const {
    if (hasTerminal()) std::cerr << "\r\x1b[K" << result_.sequences << " of " << job_.count << std::flush;
  }

  const Job &job_;
  const std::atomic<bool> &interrupted_;
  std::mutex mutex_;
  std::uint32_t given_ = 0;
  Result result_;
};

struct Programs {
  Program before;
  Program now;
};

// Runs sequences through both programs, in two folders whose names no answer shows.
class Worker final {
public:
  Worker(const Programs &programs, const Job &job, const std::string &folder)
      : programs_(programs), job_(job), beforeFolder_(folder + ".before"), nowFolder_(folder + ".now") {}

  void run(Work &work) const {
    while (const auto seed = work.nextSeed()) {
      const Sequence sequence = randomSequence(*seed);
      const Outcome before = outcomeOf(sequence, programs_.before, beforeFolder_);
      const Outcome now = outcomeOf(sequence, programs_.now, nowFolder_);
      const auto found = difference(sequence, before, now, job_.ignored);
      if (work.isInterrupted()) return; // so were the programs
      if (!found)
        work.passed(sequence, now.answers);
      else if (before.tookTooLong() || now.tookTooLong()) // so would each try to shorten it
        work.differs({sequence, *found});
      else
        work.differs(shortened({sequence, *found}, work));
    }
  }

private:
  // Leaves out every command without which there still is a difference.
  Found shortened(Found found, const Work &work) const {
    for (std::size_t i = found.sequence.commands.size(); i > 0 && !work.isInterrupted(); --i) {
      Sequence shorter = found.sequence;
      shorter.commands.erase(shorter.commands.begin() + static_cast<std::ptrdiff_t>(i - 1));
      const auto stillFound = difference(shorter, outcomeOf(shorter, programs_.before, beforeFolder_),
                                         outcomeOf(shorter, programs_.now, nowFolder_), job_.ignored);
      if (stillFound) found = {std::move(shorter), *stillFound};
    }
    return found;
  }

  const Programs &programs_;
  const Job &job_;
  std::string beforeFolder_;
  std::string nowFolder_;
};

} // namespace

Result resultOf(const Job &job, const std::atomic<bool> &interrupted) {
  const test::TemporaryFolder scratch;
  const std::string help = scratch.path("help");
  std::filesystem::create_directory(help);
  const Programs programs{{job.before, help}, {job.now, help}};
  Work work(job, interrupted);
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i) {
    threads.emplace_back([&, folder = scratch.path(std::to_string(i))] {
      try {
        Worker(programs, job, folder).run(work);
      } catch (const std::exception &problem) {
        work.failed(problem.what());
      }
    });
  }
  for (std::thread &thread : threads)
    thread.join();
  return work.finish();
}

} // namespace tessary::compare
