#pragma once

#include "tessary/ItemsWatcher.h"
#include "tessary/Mutex.h"

#include <QString>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tessary {

class ItemsOperation;

/// How far a piece of long work is, and whether it is to stop. The thread that does the work writes it; the
/// main thread reads it now and then, and is told nothing. Any thread.
class WorkProgress final {
public:
  using Clock = std::chrono::steady_clock;

  struct Figures {
    QString doing{};        ///< the part of the work, "Importing"; empty before the first
    std::size_t part = 0;   ///< its number; figures of another part cannot be compared
    std::string item{};     ///< in progress, as it is called on the image or on the host; empty for none
    std::uint64_t done = 0; ///< bytes, or items where these have no bytes
    std::uint64_t all = 0;  ///< 0 as long as nothing can be said
    bool areBytes = false;
  };

  /// What becomes of the work when the user ends the window with "Stop and …".
  enum class AtEnd { stops, finishes };

  explicit WorkProgress(AtEnd atEnd = AtEnd::stops) : atEnd_(atEnd) {}
  WorkProgress(const WorkProgress &) = delete;
  WorkProgress &operator=(const WorkProgress &) = delete;

  // What the work tells.
  /// Its turn has come.
  void begin(Clock::time_point now = Clock::now());
  void beginPart(const QString &doing);
  void setItem(const std::string &item);
  void setBytes(std::uint64_t done, std::uint64_t all);
  /// What an operation, all of which is planned, is to be watched with; `ended` is left to the caller. Both
  /// outlive the watcher. `nameOf` gives the names of its items, where these are not their own.
  [[nodiscard]] ItemsWatcher watch(const ItemsOperation &operation,
                                   std::function<std::string(std::size_t item)> nameOf = {});

  // What is read of it.
  [[nodiscard]] AtEnd atEnd() const { return atEnd_; }
  /// None while it waits for its turn.
  [[nodiscard]] std::optional<Clock::time_point> begun() const;
  [[nodiscard]] Figures figures() const;

  /// The item in progress is finished, the others are not begun.
  void stop() { isToStop_ = true; }
  [[nodiscard]] bool isToStop() const { return isToStop_; }

private:
  void setProgress(const ItemsProgress &progress);

  const AtEnd atEnd_;
  mutable Mutex mutex_;
  Figures figures_ TESSARY_GUARDED_BY(mutex_);
  std::optional<Clock::time_point> begun_ TESSARY_GUARDED_BY(mutex_);
  std::atomic<bool> isToStop_ = false;
};

/// What a file or folder of an operation is called, on the image or on the host.
[[nodiscard]] std::string nameOfItem(const Item &item);

/// Whether an operation ended before all its items had: it was stopped.
[[nodiscard]] bool isCutShort(const ItemsOperation &operation);

} // namespace tessary
