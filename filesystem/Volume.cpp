#include "filesystem/Volume.h"

#include "filesystem/DiskFormat.h"
#include "filesystem/Text.h"
#include "filesystem/VolumeRules.h"

#include <utility>

namespace tessary {
namespace {

std::shared_ptr<Volume> newVolume(std::shared_ptr<MountedImage> mounted,
                                  std::unique_ptr<ImageMapping> mapping, const std::string &path,
                                  EMU3Error *error) {
  if (!mapping->isReadOnly() && !mounted->claimForWriting(mapping->descriptor())) mapping->makeReadOnly();
  auto volume = std::make_shared<Volume>(std::move(mounted), std::move(mapping));
  const WriteLock lock(volume->lock);
  return volume->read(volumeLabelOf(path), error) ? volume : nullptr;
}

} // namespace

std::string volumeLabelOf(const std::string &path) {
  std::string label = lastPathComponent(path);
  return label.empty() ? "EMU3 Volume" : label;
}

std::shared_ptr<Volume> Volume::open(const std::string &path, MountRules rules, EMU3Error *error) {
  std::unique_ptr<ImageMapping> mapping = ImageMapping::open(path, error);
  if (!mapping) return nullptr;
  const std::shared_ptr<MountedImage> mounted = MountedImage::of(mapping->device(), mapping->inode(), rules);
  if (!mounted) {
    fail(error, EngineError::mountedWithOtherRules);
    return nullptr;
  }
  if (rules == MountRules::bare) return newVolume(mounted, std::move(mapping), path, error);
  const MutexLock opening(mounted->opening);
  std::shared_ptr<Volume> volume = mounted->guardedVolume.lock();
  if (volume) return volume;
  volume = newVolume(mounted, std::move(mapping), path, error);
  mounted->guardedVolume = volume;
  return volume;
}

Volume::Volume(std::shared_ptr<MountedImage> mounted, std::unique_ptr<ImageMapping> mapping)
    : rules_(rulesFor(mounted->rules())), lock(mounted->operationLock), image(*mapping), table(image),
      index(rules_.keepsIndex() ? std::make_unique<VolumeIndex>(table, counters) : nullptr),
      entries(image, index.get()), tree(rules_, index.get()), mounted_(std::move(mounted)),
      mapping_(std::move(mapping)) {}

bool Volume::read(const std::string &label, EMU3Error *error) {
  const std::optional<VolumeGeometry> geometry = readGeometry(image, error);
  if (!geometry) return false;
  {
    const MutexLock guard(geometryMutex_);
    geometry_ = *geometry;
  }
  table.place(*geometry);
  countMarks();
  readTree(label);
  return true;
}

void Volume::countMarks() {
  const AllocationTable::Scan scan = table.scan(geometry());
  scannedEntries_ = scan.entries;
  if (!index) counters.set(scan.used, scan.used > scan.entries ? 0 : scan.entries - scan.used);
}

void Volume::readTree(const std::string &label) {
  const VolumeGeometry where = geometry();
  tree.read(entries, static_cast<std::int64_t>(where.rootDirBlock), label);
  if (index) index->build(where, tree.root());
}

VolumeGeometry Volume::geometry() const {
  const MutexLock guard(geometryMutex_);
  return geometry_;
}

// The tree guards its root by itself, so that views need not wait for an operation.
EMU3DirectoryPtr Volume::rootDirectory() const TESSARY_NO_THREAD_SAFETY_ANALYSIS {
  return tree.root();
}

} // namespace tessary
