#pragma once

#include "filesystem/FairSharedMutex.h"

#include <cstdint>
#include <memory>
#include <mutex>

namespace tessary {

/// What all filesystems that this process has open on one image file share. An image may be opened again
/// while an earlier filesystem of it still has queued work: one lock then orders the operations of both,
/// and the change count tells each that the other has changed the image.
struct SharedVolume {
  SharedVolume() = default;
  ~SharedVolume();
  SharedVolume(const SharedVolume &) = delete;
  SharedVolume &operator=(const SharedVolume &) = delete;

  /// Claims the image for changes by this process, for as long as any of its filesystems has it open.
  /// False when another process has it open for changes: two programs would undo each other's
  /// allocation. `descriptor` is the image, open for writing; it stays the caller's. Where the host has
  /// no such locks the claim succeeds.
  bool claimForWriting(int descriptor);

  /// One public operation on the volume at a time; readers of contents side by side.
  FairSharedMutex operationLock;
  /// Grows with every change made by any filesystem of the image. Read and written under the lock.
  std::uint64_t changeCount = 0;

private:
  std::mutex claimMutex_;
  int claim_ = -1; ///< descriptor that holds the host's advisory lock
};

/// The state for the image file with this device and inode; made when no filesystem has it open.
std::shared_ptr<SharedVolume> sharedVolumeFor(std::uint64_t device, std::uint64_t inode);

} // namespace tessary
