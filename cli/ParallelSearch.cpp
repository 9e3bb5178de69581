#include "cli/ParallelSearch.h"

#include "cli/CliError.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace tessary::cli {

ParallelSearch::ParallelSearch(std::size_t images, Search search, std::atomic<bool> &isToStop)
    : search_(std::move(search)), isToStop_(isToStop), results_(images) {
  const std::size_t threads =
      std::min<std::size_t>(images, std::max(1U, std::thread::hardware_concurrency()));
  for (std::size_t i = 0; i < threads; ++i)
    threads_.emplace_back([this] { work(); });
}

ParallelSearch::~ParallelSearch() {
  isToStop_ = true;
  for (std::thread &thread : threads_)
    thread.join();
}

std::optional<ImageMatches> ParallelSearch::takeIfFound(std::size_t image) {
  constexpr std::chrono::milliseconds aWhile{100};
  std::unique_lock<std::mutex> lock(mutex_);
  if (!found_.wait_for(lock, aWhile, [&] { return results_[image].has_value(); })) return std::nullopt;
  return std::exchange(results_[image], std::nullopt);
}

void ParallelSearch::work() {
  for (std::size_t image = next_++; image < results_.size() && !isToStop_; image = next_++) {
    ImageMatches found = searchOne(image);
    const std::lock_guard<std::mutex> lock(mutex_);
    results_[image] = std::move(found);
    found_.notify_all();
  }
}

ImageMatches ParallelSearch::searchOne(std::size_t image) const {
  try {
    return search_(image);
  } catch (const std::exception &problem) { // out of memory, above all
    return {{}, errorOf(problem, "find")};
  }
}

} // namespace tessary::cli
