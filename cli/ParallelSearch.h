#pragma once

#include "cli/NameSearch.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace tessary::cli {

/// Looks through images side by side, one thread a processor. The results are waited for in the order of the
/// images, on the thread that made the search.
class ParallelSearch final {
public:
  /// Looks through the image of this number, from 0; on any thread.
  using Search = std::function<ImageMatches(std::size_t)>;

  /// `isToStop` outlives the search: images that have not begun are not looked at any more once it is set.
  ParallelSearch(std::size_t images, Search search, std::atomic<bool> &isToStop);
  /// Sets `isToStop` and waits for the images that have begun.
  ~ParallelSearch();
  ParallelSearch(const ParallelSearch &) = delete;
  ParallelSearch &operator=(const ParallelSearch &) = delete;

  /// What was found in an image; none where it has not been found yet after a tenth of a second. Once for
  /// each image.
  [[nodiscard]] std::optional<ImageMatches> takeIfFound(std::size_t image);

private:
  void work();
  [[nodiscard]] ImageMatches searchOne(std::size_t image) const;

  const Search search_;
  std::atomic<bool> &isToStop_;
  std::atomic<std::size_t> next_ = 0;
  std::mutex mutex_;
  std::condition_variable found_;
  std::vector<std::optional<ImageMatches>> results_;
  std::vector<std::thread> threads_;
};

} // namespace tessary::cli
