#include "filesystem/Volume.h"

#include "filesystem/DiskFormat.h"
#include "filesystem/VolumeRules.h"
#include "tessary/Text.h"

#include <utility>

namespace tessary {
std::string volumeLabelOf(const std::string &path) {
  std::string label = lastPathComponent(path);
  return label.empty() ? "EMU3 Volume" : label;
}

std::shared_ptr<Volume> Volume::open(const std::string &path, MountRules rules, ImageClaim claim,
                                     EMU3Error *error) {
  const bool isTrial = claim == ImageClaim::never;
  const auto writes = isTrial ? ImageMapping::Writes::privately : ImageMapping::Writes::toTheFile;
  std::unique_ptr<ImageMapping> mapping = ImageMapping::open(path, writes, error);
  if (!mapping) return nullptr;
  const std::shared_ptr<MountedImage> mounted = MountedImage::of(mapping->device(), mapping->inode(), rules);
  if (!mounted) {
    fail(error, EngineError::mountedWithOtherRules);
    return nullptr;
  }
  if (isTrial) return openTrial(path, mounted, std::move(mapping), error);
  const MutexLock opening(mounted->opening);
  std::shared_ptr<Volume> volume = mounted->guardedVolume.lock();
  const bool isNew = volume == nullptr;
  if (!isNew && (claim == ImageClaim::atFirstChange || !volume->isShared())) return volume;
  if (isNew) volume = std::make_shared<Volume>(mounted, std::move(mapping));
  const WriteLock changing(volume->changing);
  const WriteLock lock(volume->lock);
  if (claim == ImageClaim::whenMounted) static_cast<void>(volume->claim(nullptr));
  if (isNew && !volume->read(volumeLabelOf(path), error)) return nullptr;
  if (rules == MountRules::guarded) mounted->guardedVolume = volume;
  return volume;
}

// A trial shares the locks with the image's other volume and nothing else.
std::shared_ptr<Volume> Volume::openTrial(const std::string &path,
                                          const std::shared_ptr<MountedImage> &mounted,
                                          std::unique_ptr<ImageMapping> mapping, EMU3Error *error) {
  auto volume = std::make_shared<Volume>(mounted, std::move(mapping));
  const WriteLock changing(volume->changing);
  const WriteLock lock(volume->lock);
  volume->isTrial_ = true;
  volume->isClaimed_ = true; // nobody else can change it
  if (!volume->read(volumeLabelOf(path), error)) return nullptr;
  return volume;
}

Volume::Volume(std::shared_ptr<MountedImage> mounted, std::unique_ptr<ImageMapping> mapping)
    : rules_(rulesFor(mounted->rules())), changing(mounted->changeLock), lock(mounted->operationLock),
      image(*mapping), table(image),
      index(rules_.keepsIndex() ? std::make_unique<VolumeIndex>(table, counters) : nullptr),
      entries(image, index.get()), tree(rules_, index.get()), mounted_(std::move(mounted)),
      mapping_(std::move(mapping)) {
  if (rules_.waitsForMedium()) image.flushAtBarriers();
  if (image.isReadOnly()) readOnlyReason_ = ReadOnlyReason::hostFile;
}

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
  const auto rootBlock = static_cast<std::int64_t>(geometry().rootDirBlock);
  tookIn(tree.read(entries, rootBlock, label, snapshotOfShared()));
}

void Volume::followImage() {
  tookIn(tree.follow(entries));
}

// What cannot be read may be in use: nothing can be stored beside it safely.
void Volume::tookIn(bool isTreeReadable) {
  if (!index) return;
  index->build(geometry(), tree.root());
  if (!index->slots().isTableReadable()) return makeReadOnly(ReadOnlyReason::unreadableTable);
  if (!isTreeReadable) makeReadOnly(ReadOnlyReason::unreadableFolder);
}

DirectorySnapshot *Volume::snapshotOfShared() {
  return isShared() && index ? &snapshot_ : nullptr;
}

bool Volume::mayChangeBeside() const {
  return isShared() && rules_.keepsIndex();
}

bool Volume::entryStands(const EMU3File &file) const {
  const EntryPlace place = file.place();
  const std::optional<format::Dentry> before = snapshot_.entry(place);
  const std::optional<format::Dentry> now = entries.readEntry(place);
  return before && now && *before == *now;
}

void Volume::makeReadOnly(ReadOnlyReason reason) {
  readOnlyReason_ = reason;
  image.makeReadOnly();
}

bool Volume::claim(EMU3Error *error) {
  const ReadOnlyReason reason = readOnlyReason_;
  if (reason != ReadOnlyReason::none && reason != ReadOnlyReason::otherProgram)
    return fail(error, rules_.readOnlyError(reason));
  if (isClaimed_) return true;
  if (!mounted_->claimForWriting(image.descriptor())) {
    readOnlyReason_ = ReadOnlyReason::otherProgram;
    return fail(error, rules_.readOnlyError(ReadOnlyReason::otherProgram));
  }
  isClaimed_ = true;
  readOnlyReason_ = ReadOnlyReason::none;
  if (!index || !tree.root()) return true;
  readAgain();
  return !isReadOnly() || fail(error, rules_.readOnlyError(readOnlyReason_));
}

bool Volume::keepsOthersOut(EMU3Error *error) {
  const ReadOnlyReason reason = readOnlyReason_;
  if (reason == ReadOnlyReason::none || reason == ReadOnlyReason::otherProgram) {
    const WriteLock reading(lock);
    return claim(error);
  }
  return isTrial_ || mounted_->claimForWriting(image.descriptor()) ||
         fail(error, rules_.readOnlyError(ReadOnlyReason::otherProgram));
}

// Header, table and tree, as another program may have left them.
void Volume::readAgain() {
  if (const std::optional<VolumeGeometry> now = readGeometry(image, nullptr)) {
    const MutexLock guard(geometryMutex_);
    geometry_ = *now;
  }
  table.place(geometry());
  countMarks();
  const auto rootBlock = static_cast<std::int64_t>(geometry().rootDirBlock);
  tookIn(tree.readAgain(entries, rootBlock, &snapshot_));
  snapshot_.clear(); // from here on nobody else changes the image
}

bool Volume::prepareForChange(const std::string &path, EMU3Error *error) {
  return claim(error) && rules_.mayChangeImageAt(*this, path, error);
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
