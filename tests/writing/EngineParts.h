#pragma once

#include "filesystem/EntrySpot.h"
#include "filesystem/Volume.h"
#include "filesystem/VolumeRules.h"
#include "tests/writing/WritableVolume.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace tessary::test {

/// An image of the builder in a folder of its own, beside the bytes that it should hold.
class WrittenImage {
public:
  explicit WrittenImage(ImageBuilder image) : expected(std::move(image)) { expected.writeTo(path_); }

  const std::string &path() const { return path_; }
  testing::AssertionResult imageIsAsExpected() const { return holdsExactly(path_, expected); }

private:
  TemporaryFolder folder_;
  const std::string path_ = folder_.path("disk.hda");

public:
  ImageBuilder expected; ///< begins as what was written
};

/// The small classes of the engine over one image, each by itself: no volume, no rules, no lock.
class EngineParts : public WrittenImage {
public:
  explicit EngineParts(ImageBuilder image) : WrittenImage(std::move(image)) {
    table.place(geometry);
    tree.read(entries, static_cast<std::int64_t>(geometry.rootDirBlock), "disk.hda");
  }

  EMU3DirectoryPtr root() const { return tree.root(); }

private:
  template <typename Found> static Found orThrow(Found found, const EMU3Error &error) {
    if (!found) throw std::runtime_error(error.description());
    return found;
  }

  EMU3Error error_;
  const std::unique_ptr<ImageMapping> mapping_ = orThrow(ImageMapping::open(path(), &error_), error_);

public:
  ImageMapping &mapping = *mapping_;
  const VolumeGeometry geometry = *orThrow(readGeometry(mapping, &error_), error_);
  AllocationTable table{mapping};
  DirectoryBlocks entries{mapping};
  VolumeTree tree{rulesFor(MountRules::bare), nullptr};
};

/// The engine's volume over one image: what the façade's operations are called with.
class OpenedVolume : public WrittenImage {
public:
  explicit OpenedVolume(ImageBuilder image, MountRules rules = MountRules::bare)
      : WrittenImage(std::move(image)) {
    EMU3Error error;
    volume_ = Volume::open(path(), rules, ImageClaim::whenMounted, &error);
    if (!volume_) throw std::runtime_error(error.description());
  }

  Volume &operator*() const { return *volume_; }
  EMU3DirectoryPtr root() const { return volume_->rootDirectory(); }
  /// Marks a new file of so many blocks; 0 is what 65536 count as.
  void mark(std::uint16_t slot, std::uint16_t blocks) const {
    const WriteLock lock(volume_->lock);
    const std::uint64_t counted = blocks == 0 ? 65536 : blocks;
    volume_->rules().markNewFile(*volume_, slot, counted * kBlockBytes);
  }
  /// Gives back what a deleted file of so many blocks had.
  void giveBack(std::uint16_t slot, std::uint16_t blocks) const {
    const WriteLock lock(volume_->lock);
    EMU3FileFields deleted;
    deleted.startCluster = slot;
    deleted.blocksInLastCluster = blocks;
    for (const BlockRun &run : volume_->rules().freedBlocks(*volume_, {deleted}))
      volume_->rules().clearMarks(*volume_, run);
  }
  Counters counters() const { return {volume_->counters.used(), volume_->counters.free()}; }

private:
  std::shared_ptr<Volume> volume_;
};

} // namespace tessary::test
