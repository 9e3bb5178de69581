#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace tessary {

/// Runs blocks one after another, in the order given, on a thread of its own that is started by the
/// first block and carries the label as its name.
///
/// Releasing the queue lets the blocks already given run to their end; it never waits for them, so the
/// last owner may be one of those very blocks.
class SerialQueue final {
public:
  explicit SerialQueue(std::string label);
  ~SerialQueue();
  SerialQueue(const SerialQueue &) = delete;
  SerialQueue &operator=(const SerialQueue &) = delete;

  const std::string &label() const;

  /// Queues a block. Any thread; returns at once. The block is destroyed on the queue's thread right
  /// after it ran. Throws what std::thread throws when the queue's thread cannot be started, and
  /// std::bad_alloc: the block is then neither kept nor counted, and a later one tries again.
  void async(std::function<void()> block);

  /// Waits until every block given before the call has ended. Does nothing on the queue's own thread.
  void waitUntilIdle();

  /// True when the calling thread is the queue's own.
  bool isCurrent() const;

  /// Number of blocks waiting or running in all queues of the process, released queues included.
  static std::size_t pendingBlocks();

private:
  struct State;
  std::shared_ptr<State> state_;
};

} // namespace tessary
