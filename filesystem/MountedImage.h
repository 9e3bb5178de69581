#pragma once

#include "filesystem/FairSharedMutex.h"
#include "tessary/MountRules.h"
#include "tessary/Mutex.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tessary {

class Volume;

/// What a process holds once for an image file that it has mounted, however often: the rules of the mount,
/// the lock of its operations, the claim that keeps other programs from writing, and the one volume of a
/// guarded mount.
class MountedImage final {
public:
  /// What the process holds for the image file with this device and inode; made, with these rules, when the
  /// process has not mounted it yet. Null when it is mounted by the other rules.
  static std::shared_ptr<MountedImage> of(std::uint64_t device, std::uint64_t inode, MountRules rules);

  /// Whether the file at this path of the host is an image that this process has mounted.
  [[nodiscard]] static bool isMounted(const std::string &path);

  explicit MountedImage(MountRules rules) : rules_(rules) {}
  ~MountedImage();
  MountedImage(const MountedImage &) = delete;
  MountedImage &operator=(const MountedImage &) = delete;

  [[nodiscard]] MountRules rules() const { return rules_; }

  /// Claims the image for changes by this process, for as long as it has it mounted. False when another
  /// process has it open for changes: two programs would undo each other's allocation. `descriptor` is the
  /// image, open for writing; it stays the caller's. Where the host has no such locks the claim succeeds.
  [[nodiscard]] bool claimForWriting(int descriptor);

  /// One step of one change at a time; readers of contents side by side. Never held while the medium is
  /// waited for.
  FairSharedMutex operationLock;
  /// Held by the one who changes the image, for the whole of a change or of several that go to the medium
  /// together; shared by those who look at the image as a whole. Taken before `operationLock`.
  FairSharedMutex changeLock;

  /// Held while a guarded volume is looked up or read for the first time.
  Mutex opening;
  /// The volume that all guarded handles share, as long as there is one.
  std::weak_ptr<Volume> guardedVolume TESSARY_GUARDED_BY(opening);

private:
  const MountRules rules_;
  Mutex claimMutex_;
  int claim_ TESSARY_GUARDED_BY(claimMutex_) = -1; ///< descriptor that holds the host's advisory lock
};

} // namespace tessary
