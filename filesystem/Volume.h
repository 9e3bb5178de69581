#pragma once

#include "filesystem/AllocationTable.h"
#include "filesystem/DirectoryBlocks.h"
#include "filesystem/DirectorySnapshot.h"
#include "filesystem/ImageMapping.h"
#include "filesystem/MountedImage.h"
#include "filesystem/VolumeGeometry.h"
#include "filesystem/VolumeIndex.h"
#include "filesystem/VolumeTree.h"
#include "tessary/EMU3Error.h"
#include "tessary/MountRules.h"
#include "tessary/Mutex.h"
#include "tessary/ReadOnlyReason.h"

#include <atomic>
#include <memory>
#include <string>

namespace tessary {

class VolumeRules;

/// One image, mapped and read: what stands behind the filesystem objects of the image. All guarded ones share
/// one volume; a bare one has a volume, and so a tree, of its own, and shares the lock alone.
///
/// Two locks. `changing` belongs to the one who changes the image, through all steps of a change: a
/// `ChangeGroup` holds it alone; what looks at the whole image (check, lost folders) holds it shared. `lock`
/// is held for one step alone (`WriteLock`), or for reading contents (`ReadLock`): never while the medium is
/// waited for, and never across work on host files. So who only reads waits for neither. Functions over a
/// volume say in their declarations which they need, and clang checks it: FileChanges.h, FolderChanges.h,
/// FileReading.h, VolumeCheck.h, FolderRecovery.h.
class Volume final {
public:
  /// Opens, maps and reads the image at a path of the host, or joins the guarded volume that this process has
  /// of it. Null with code 1 or 2.
  static std::shared_ptr<Volume> open(const std::string &path, MountRules rules, ImageClaim claim,
                                      EMU3Error *error);

  Volume(std::shared_ptr<MountedImage> mounted, std::unique_ptr<ImageMapping> mapping);
  Volume(const Volume &) = delete;
  Volume &operator=(const Volume &) = delete;

  /// Reads header, table and tree anew. False with code 1, and nothing changed.
  bool read(const std::string &label, EMU3Error *error) TESSARY_REQUIRES(lock);
  /// Counts the table's marks anew; bare, the figures follow from them.
  void countMarks() TESSARY_REQUIRES(lock);
  /// Brings the tree in line with the image after changes that it was not told of one by one; files and
  /// folders that are still there stay the objects they are.
  void followImage() TESSARY_REQUIRES(lock);

  /// Claims the image for changes, unless this process has it: then reads the tree anew, since another
  /// program may have changed it; files and folders whose entries stand as they stood stay the objects they
  /// are. False with code 3 when the image is read-only, above all since another program has it open for
  /// changes.
  [[nodiscard]] bool claim(EMU3Error *error) TESSARY_REQUIRES(changing, lock);
  /// Keeps other programs from changing the image, also where this one may not change it either. False with
  /// code 3 when one of them has it open for changes.
  [[nodiscard]] bool keepsOthersOut(EMU3Error *error) TESSARY_REQUIRES(changing);
  /// What precedes each change: `claim`, and by the guarded rules `path` must still lead to the image,
  /// code 3.
  [[nodiscard]] bool prepareForChange(const std::string &path, EMU3Error *error)
      TESSARY_REQUIRES(changing, lock);
  [[nodiscard]] bool isOfSameImage(const Volume &other) const { return mounted_ == other.mounted_; }
  /// Whether what is changed stays in this volume: what would be written to the host is not written either.
  [[nodiscard]] bool isTrial() const { return isTrial_; }
  /// Whether another program may change the image at any time, since this one has not claimed it.
  [[nodiscard]] bool isShared() const { return !isClaimed_; }
  /// The same, where the volume looks out for it: not by the bare rules.
  [[nodiscard]] bool mayChangeBeside() const;
  /// Whether the file's entry stands on the image as it did when the tree was read.
  [[nodiscard]] bool entryStands(const EMU3File &file) const TESSARY_REQUIRES_SHARED(lock);
  /// From now on nothing is changed any more.
  void makeReadOnly(ReadOnlyReason reason) TESSARY_REQUIRES(lock);

  // What never changes, or may be read without the lock.
  [[nodiscard]] const VolumeRules &rules() const { return rules_; }
  [[nodiscard]] ReadOnlyReason readOnlyReason() const { return readOnlyReason_; }
  [[nodiscard]] bool isReadOnly() const { return readOnlyReason_ != ReadOnlyReason::none; }
  [[nodiscard]] VolumeGeometry geometry() const;
  [[nodiscard]] std::uint64_t totalClusters() const { return scannedEntries_; } ///< entries the scan found
  [[nodiscard]] EMU3DirectoryPtr rootDirectory() const;

private:
  const VolumeRules &rules_;

public:
  /// The image's change lock, and its operation lock.
  FairSharedMutex &changing;
  FairSharedMutex &lock;
  /// Where contents are read and written; marks and entries go through the two below.
  ImageMapping &image;
  AllocationTable table TESSARY_GUARDED_BY(lock);
  /// Changed under the lock, read from any thread.
  BlockCounters counters;
  /// Null in a bare volume, whose rules look at the tree itself.
  const std::unique_ptr<VolumeIndex> index TESSARY_PT_GUARDED_BY(lock);
  DirectoryBlocks entries TESSARY_GUARDED_BY(lock);
  VolumeTree tree TESSARY_GUARDED_BY(lock);

private:
  static std::shared_ptr<Volume> openTrial(const std::string &path,
                                           const std::shared_ptr<MountedImage> &mounted,
                                           std::unique_ptr<ImageMapping> mapping, EMU3Error *error);
  void readTree(const std::string &label) TESSARY_REQUIRES(lock);
  void readAgain() TESSARY_REQUIRES(lock);
  void tookIn(bool isTreeReadable) TESSARY_REQUIRES(lock);
  [[nodiscard]] DirectorySnapshot *snapshotOfShared() TESSARY_REQUIRES(lock);

  std::atomic<ReadOnlyReason> readOnlyReason_ = ReadOnlyReason::none;
  std::atomic<bool> isClaimed_ = false;
  bool isTrial_ = false; ///< set before anyone else has the volume
  /// As long as the image is not claimed.
  DirectorySnapshot snapshot_ TESSARY_GUARDED_BY(lock);
  mutable Mutex geometryMutex_;
  VolumeGeometry geometry_ TESSARY_GUARDED_BY(geometryMutex_);
  std::atomic<std::uint64_t> scannedEntries_ = 0;
  const std::shared_ptr<MountedImage> mounted_;
  const std::unique_ptr<ImageMapping> mapping_;
};

/// The label of the volume at this path: the image's file name, extension included.
[[nodiscard]] std::string volumeLabelOf(const std::string &path);

} // namespace tessary
