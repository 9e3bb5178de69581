#pragma once

#include "filesystem/AllocationTable.h"
#include "filesystem/DirectoryBlocks.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/ImageMapping.h"
#include "filesystem/MountRules.h"
#include "filesystem/MountedImage.h"
#include "filesystem/Mutex.h"
#include "filesystem/VolumeGeometry.h"
#include "filesystem/VolumeIndex.h"
#include "filesystem/VolumeTree.h"

#include <memory>
#include <string>

namespace tessary {

class VolumeRules;

/// One image, mapped and read: what stands behind the filesystem objects of the image. All guarded ones share
/// one volume; a bare one has a volume, and so a tree, of its own, and shares the lock alone.
///
/// An operation takes `lock`, alone for a change (`WriteLock`), shared for reading contents (`ReadLock`), and
/// calls one of the functions over a volume: FileChanges.h, FolderChanges.h, FileReading.h, VolumeCheck.h,
/// FolderRecovery.h. Their declarations say which of the two they need, and clang checks it. The lock is held
/// for one operation and never across work on host files.
class Volume final {
public:
  /// Opens, maps and reads the image at a path of the host, or joins the guarded volume that this process has
  /// of it. Null with code 1 or 2.
  static std::shared_ptr<Volume> open(const std::string &path, MountRules rules, EMU3Error *error);

  Volume(std::shared_ptr<MountedImage> mounted, std::unique_ptr<ImageMapping> mapping);
  Volume(const Volume &) = delete;
  Volume &operator=(const Volume &) = delete;

  /// Reads header, table and tree anew. False with code 1, and nothing changed.
  bool read(const std::string &label, EMU3Error *error) TESSARY_REQUIRES(lock);
  /// Counts the table's marks anew; bare, the figures follow from them.
  void countMarks() TESSARY_REQUIRES(lock);
  /// Reads the tree alone anew.
  void readTree(const std::string &label) TESSARY_REQUIRES(lock);

  // What never changes, or may be read without the lock.
  [[nodiscard]] const VolumeRules &rules() const { return rules_; }
  [[nodiscard]] bool isReadOnly() const { return image.isReadOnly(); }
  [[nodiscard]] VolumeGeometry geometry() const;
  [[nodiscard]] std::uint64_t totalClusters() const { return scannedEntries_; } ///< entries the scan found
  [[nodiscard]] EMU3DirectoryPtr rootDirectory() const;

private:
  const VolumeRules &rules_;

public:
  /// The image's operation lock.
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
  mutable Mutex geometryMutex_;
  VolumeGeometry geometry_ TESSARY_GUARDED_BY(geometryMutex_);
  std::atomic<std::uint64_t> scannedEntries_ = 0;
  const std::shared_ptr<MountedImage> mounted_;
  const std::unique_ptr<ImageMapping> mapping_;
};

/// The label of the volume at this path: the image's file name, extension included.
[[nodiscard]] std::string volumeLabelOf(const std::string &path);

} // namespace tessary
