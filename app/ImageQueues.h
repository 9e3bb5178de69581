#pragma once

#include "tessary/EMU3Filesystem.h"

#include <memory>
#include <utility>
#include <vector>

namespace tessary {

class ImageQueues;
using ImageQueuesPtr = std::shared_ptr<ImageQueues>;

/// The queues that work on one mount of an image. Each task keeps them, so they outlast an unmount for as
/// long as a task waits or runs: whoever mounts the image anew meanwhile, in whatever window, waits for
/// those. Main thread only, but for waiting; the last owner may be a task.
class ImageQueues final {
public:
  [[nodiscard]] static ImageQueuesPtr of(const EMU3FilesystemPtr &filesystem);
  explicit ImageQueues(EMU3FilesystemPtr filesystem) : filesystem_(std::move(filesystem)) {}

  const EMU3FilesystemPtr &filesystem() const { return filesystem_; }
  /// Long work, and what is read to be shown.
  SerialQueue &io() { return filesystem_->ioQueue(); }
  /// Single changes, beside the long work.
  SerialQueue &changes() { return changes_; }
  /// What the user waits to see.
  SerialQueue &looks() { return looks_; }

  /// Those of other mounts of the same image that have tasks.
  [[nodiscard]] std::vector<ImageQueuesPtr> earlier() const;
  /// Until the tasks that these were given have ended. Any thread but theirs.
  static void waitFor(const std::vector<ImageQueuesPtr> &queues);

private:
  const EMU3FilesystemPtr filesystem_;
  SerialQueue changes_{"com.tessary.change"};
  SerialQueue looks_{"com.tessary.look"};
};

} // namespace tessary
