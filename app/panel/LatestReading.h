#pragma once

#include "app/ImageWork.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace tessary {

/// Readings on the image's I/O queue of which the last one asked for counts alone: what was asked for before
/// is not begun any more, breaks off when it asks, and its result is dropped. Main thread only.
class LatestReading final {
public:
  /// One reading's right to go on. Any thread.
  class Ticket {
  public:
    [[nodiscard]] bool isValid() const { return *latest_ == number_; }

  private:
    friend class LatestReading;
    Ticket(std::shared_ptr<const std::atomic<std::uint64_t>> latest, std::uint64_t number)
        : latest_(std::move(latest)), number_(number) {}

    std::shared_ptr<const std::atomic<std::uint64_t>> latest_;
    std::uint64_t number_;
  };
  struct Counts {
    std::atomic<std::uint64_t> asked = 0;
    std::atomic<std::uint64_t> begun = 0;
    std::atomic<std::uint64_t> used = 0; ///< of what was begun; the rest was read for nothing
  };

  explicit LatestReading(ImageWork *image) : image_(image) {}
  ~LatestReading() { forget(); }
  LatestReading(const LatestReading &) = delete;
  LatestReading &operator=(const LatestReading &) = delete;

  /// Runs `read(filesystem, ticket)` on the queue of the mounted image, then `done(its result)` on the main
  /// thread.
  template <typename Read, typename Done> void start(Read read, Done done) {
    forget();
    const Ticket ticket(latest_, *latest_);
    ++counts_->asked;
    using Result = std::invoke_result_t<const Read &, EMU3Filesystem &, const Ticket &>;
    image_->readFromImage(
        [ticket, counts = counts_, read = std::move(read)](EMU3Filesystem &filesystem) {
          if (!ticket.isValid()) return std::optional<Result>();
          ++counts->begun;
          return std::optional<Result>(read(filesystem, ticket));
        },
        [ticket, counts = counts_, done = std::move(done)](const std::optional<Result> &result) {
          if (!result || !ticket.isValid()) return;
          ++counts->used;
          done(*result);
        });
  }
  /// Nothing asked for before counts any more.
  void forget() { ++*latest_; }

  [[nodiscard]] const Counts &counts() const { return *counts_; }

private:
  ImageWork *const image_;
  const std::shared_ptr<std::atomic<std::uint64_t>> latest_ = std::make_shared<std::atomic<std::uint64_t>>(0);
  const std::shared_ptr<Counts> counts_ = std::make_shared<Counts>();
};

} // namespace tessary
