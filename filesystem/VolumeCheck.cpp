#include "filesystem/VolumeCheck.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/FolderRecovery.h"
#include "filesystem/Text.h"
#include "filesystem/VolumeRules.h"

#include <algorithm>
#include <map>
#include <utility>

namespace tessary {

using namespace format;

namespace {

constexpr std::size_t kMostFindingsOfAKind = 200;

std::string number(std::uint64_t value) {
  return std::to_string(value);
}

std::string quoted(const std::string &name) {
  return "“" + name + "”";
}

std::string counted(std::uint64_t count, const std::string &what) {
  return number(count) + " " + what + (count == 1 ? "" : "s");
}

} // namespace

/// One look over a volume.
class VolumeCheck final {
public:
  explicit VolumeCheck(const Volume &volume)
      : volume_(volume), geometry_(volume.geometry()),
        folders_(directoriesInPreOrder(volume.rootDirectory())) {}

  std::vector<VolumeFinding> run() TESSARY_REQUIRES_SHARED(volume_.lock) {
    checkHeader();
    checkTable();
    checkFolderBlocks();
    collectFiles();
    checkEntries();
    checkOverlaps();
    checkMarks();
    checkLostFolders();
    addOverflowNotes();
    return std::move(findings_);
  }

private:
  struct Extent {
    std::uint64_t begin = 0; ///< first block of the contents
    std::uint64_t end = 0;   ///< behind the last
    EMU3DirectoryPtr folder;
    EMU3FilePtr file;
  };

  void add(std::string kind, std::string message, EMU3DirectoryPtr folder = nullptr,
           EMU3FilePtr file = nullptr, std::optional<EntryPlace> place = std::nullopt) {
    if (++counts_[kind] > kMostFindingsOfAKind) return;
    if (file && !place) place = file->place();
    findings_.push_back({std::move(kind), std::move(message), std::move(folder), std::move(file), place});
  }

  void addOverflowNotes() {
    for (const auto &[kind, count] : counts_) {
      if (count <= kMostFindingsOfAKind) continue;
      findings_.push_back({kind, "There are " + number(count - kMostFindingsOfAKind) + " more of this kind.",
                           nullptr, nullptr, std::nullopt});
    }
  }

  void checkHeader();
  void checkTable();
  void checkFolderBlocks();
  void collectFiles();
  void checkEntries() TESSARY_REQUIRES_SHARED(volume_.lock);
  void checkHiddenEntry(const EMU3DirectoryPtr &folder, const std::uint8_t *dentry, EntryPlace place);
  void checkFile(const Extent &extent);
  void checkOverlaps();
  void checkMarks() TESSARY_REQUIRES_SHARED(volume_.lock);
  std::vector<bool> ownedBlocks(std::uint64_t count) const;
  void checkLostFolders() TESSARY_REQUIRES_SHARED(volume_.lock);

  std::uint64_t blocksInsideImage(const Extent &extent) const {
    const std::uint64_t total = geometry_.totalBlocks;
    return std::min(extent.end, total) - std::min(extent.begin, total);
  }

  const Volume &volume_;
  const VolumeGeometry geometry_;
  std::vector<EMU3DirectoryPtr> folders_;
  std::vector<Extent> files_;
  std::map<std::int64_t, EMU3DirectoryPtr> folderOfBlock_;
  std::map<std::string, std::size_t> counts_;
  std::vector<VolumeFinding> findings_;
};

void VolumeCheck::checkHeader() {
  const std::uint64_t total = geometry_.totalBlocks;
  const auto outside = [&](const char *what, std::uint64_t block) {
    if (block < total) return;
    add("harm-header", std::string("The header puts ") + what + " at block " + number(block) +
                           ", but the image ends after block " + number(total - 1) + ".");
  };
  outside("the root folder", geometry_.rootDirBlock);
  outside("the sounds", geometry_.dataAreaBlock);
  outside("the allocation table", geometry_.fatStartBlock);
  if (geometry_.dataAreaBlock <= geometry_.rootDirBlock) {
    add("harm-header", "The header puts the sounds (block " + number(geometry_.dataAreaBlock) +
                           ") before the root folder (block " + number(geometry_.rootDirBlock) +
                           "): a new file can overwrite folders.");
  }
  if (geometry_.fatStartBlock == geometry_.rootDirBlock ||
      geometry_.fatStartBlock == geometry_.dataAreaBlock) {
    add("harm-header", "The allocation table begins where the header also puts something else, at block " +
                           number(geometry_.fatStartBlock) + ".");
  }
  if (geometry_.slotSizeBlocks > total) {
    add("oddity-header", "A slot of " + number(geometry_.slotSizeBlocks) +
                             " blocks is larger than the whole image: it holds one file at most.");
  }
}

void VolumeCheck::checkTable() {
  if (geometry_.describedBlocks() >= geometry_.totalBlocks) return;
  add("oddity-short-table", "The allocation table is too short for the volume: it describes " +
                                number(geometry_.describedBlocks()) + " of " + number(geometry_.totalBlocks) +
                                " blocks. Files beyond are safe here, since slots are chosen by the files.");
}

void VolumeCheck::checkFolderBlocks() {
  for (const EMU3DirectoryPtr &folder : folders_) {
    const EntryPlace place = folder->place();
    for (const std::int64_t block : folder->blockList()) {
      if (static_cast<std::uint64_t>(block) >= geometry_.totalBlocks) {
        add("harm-folder-outside",
            "The folder’s block " + std::to_string(block) +
                " lies behind the end of the image: what was in it is missing.",
            folder, nullptr, place);
        continue;
      }
      const auto [known, isFirst] = folderOfBlock_.emplace(block, folder);
      if (isFirst) continue;
      const std::string owner = known->second == folder
                                    ? "twice by this folder"
                                    : "by the folder " + quoted(known->second->name()) + " too";
      add("harm-shared-folder-block",
          "Block " + std::to_string(block) + " is listed " + owner + ": a change in one changes the other.",
          folder, nullptr, place);
    }
  }
}

void VolumeCheck::collectFiles() {
  for (const EMU3DirectoryPtr &folder : folders_) {
    for (const EMU3FilePtr &file : folder->allFiles()) {
      const std::uint64_t begin = geometry_.slotStartBlock(std::max<std::uint16_t>(file->startCluster(), 1));
      files_.push_back({begin, begin + file->blocksInLastCluster(), folder, file});
    }
  }
}

void VolumeCheck::checkEntries() {
  for (const auto &[number, folder] : folderOfBlock_) {
    const std::optional<Block> block = volume_.entries.read(number);
    if (!block) continue;
    for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
      const std::uint8_t *const dentry = block->data() + index * kDentrySize;
      if (dentry[0] == 0 || nameOfDentry(dentry)) continue;
      checkHiddenEntry(folder, dentry, {number, static_cast<std::int64_t>(index)});
    }
  }
  for (const Extent &extent : files_)
    checkFile(extent);
}

// An entry whose name is no text is not shown, and the choice of a slot for a new file does not see it.
void VolumeCheck::checkHiddenEntry(const EMU3DirectoryPtr &folder, const std::uint8_t *dentry,
                                   EntryPlace place) {
  const bool isFile = isFileDentry(dentry);
  if (isFile && dentry[kDentryRawType] == kRawTypeDeleted) {
    return add("oddity-name", "A deleted entry’s name is no text.", folder, nullptr, place);
  }
  if (volume_.rules().nameOf(dentry)) {
    return add("oddity-name", "The entry’s name is no text; what cannot be shown of it is shown as codes.",
               folder, nullptr, place);
  }
  add("harm-name",
      std::string(isFile ? "A file’s" : "A folder’s") +
          " name is no text, so it is not shown, and new sounds may be stored over what it holds.",
      folder, nullptr, place);
}

void VolumeCheck::checkFile(const Extent &extent) {
  const std::uint64_t missing = extent.end - extent.begin - blocksInsideImage(extent);
  if (missing > 0) {
    add("harm-past-end",
        "The file reaches past the end of the image: the last " + counted(missing, "block") +
            " of it are missing.",
        extent.folder, extent.file);
  }
  const std::uint16_t blocks = extent.file->blocksInLastCluster();
  const std::uint16_t bytes = extent.file->bytesInLastBlock();
  if (bytes > kBlockSize || (blocks > 0 && bytes == 0)) {
    add("oddity-size",
        "The entry counts " + number(bytes) + " bytes in the file’s last block; 1 to 512 make sense.",
        extent.folder, extent.file);
  }
  if (extent.file->startCluster() == 0) {
    add("oddity-slot", "The entry names slot 0; it is read as slot 1.", extent.folder, extent.file);
  }
}

// Each file is compared with the one before it that reaches furthest, so a volume full of files that all
// claim the same blocks takes no longer than any other.
void VolumeCheck::checkOverlaps() {
  std::vector<const Extent *> sorted;
  for (const Extent &extent : files_) {
    if (extent.begin < extent.end) sorted.push_back(&extent);
  }
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Extent *a, const Extent *b) { return a->begin < b->begin; });
  const Extent *furthest = nullptr;
  for (const Extent *extent : sorted) {
    if (furthest && extent->begin < furthest->end) {
      add("harm-overlap",
          "The file shares " + counted(std::min(extent->end, furthest->end) - extent->begin, "block") +
              " with " + quoted(furthest->file->name()) + " in the folder " +
              quoted(furthest->folder->name()) + ": changing or deleting one damages the other.",
          extent->folder, extent->file);
    }
    if (!furthest || extent->end > furthest->end) furthest = extent;
  }
  for (const Extent *extent : sorted) {
    const auto block = folderOfBlock_.lower_bound(static_cast<std::int64_t>(extent->begin));
    if (block == folderOfBlock_.end() || static_cast<std::uint64_t>(block->first) >= extent->end) continue;
    add("harm-overlap",
        "The file lies over block " + std::to_string(block->first) + " of the folder " +
            quoted(block->second->name()) + ": changing one damages the other.",
        extent->folder, extent->file);
  }
}

// What files own: their blocks, and the whole slots that they or their cluster count reach into. Ends and
// beginnings are counted first, so that many files claiming the same blocks cost no more than one.
std::vector<bool> VolumeCheck::ownedBlocks(std::uint64_t count) const {
  std::vector<std::int64_t> change(count + 1, 0);
  const std::uint64_t slotSize = geometry_.slotSizeBlocks;
  for (const Extent &extent : files_) {
    if (extent.begin >= count) continue;
    const std::uint64_t blocks = extent.end - extent.begin;
    const std::uint64_t slots =
        std::max<std::uint64_t>({1, extent.file->clusterCount(), (blocks + slotSize - 1) / slotSize});
    ++change[extent.begin];
    --change[extent.begin + std::min(slots * slotSize, count - extent.begin)];
  }
  std::vector<bool> owned(count);
  std::int64_t owners = 0;
  for (std::uint64_t block = 0; block < count; ++block) {
    owners += change[block];
    owned[block] = owners > 0;
  }
  return owned;
}

void VolumeCheck::checkMarks() {
  const std::uint64_t count = std::min(geometry_.describedBlocks(), geometry_.totalBlocks);
  std::vector<std::uint64_t> unmarkedBefore(count + 1, 0); // number of unmarked blocks below each block
  for (std::uint64_t block = 0; block < count; ++block) {
    unmarkedBefore[block + 1] = unmarkedBefore[block] + (volume_.table.mark(block) == 0 ? 1 : 0);
  }
  for (const Extent &extent : files_) {
    const std::uint64_t unmarked =
        unmarkedBefore[std::min(extent.end, count)] - unmarkedBefore[std::min(extent.begin, count)];
    if (unmarked == 0) continue;
    add("harm-unmarked",
        counted(unmarked, "block") + " of the file not marked as used in the allocation table: a sampler may "
                                     "store something else there.",
        extent.folder, extent.file);
  }
  const std::vector<bool> owned = ownedBlocks(count);
  std::uint64_t unowned = 0;
  std::uint64_t first = 0;
  for (std::uint64_t block = geometry_.dataAreaBlock; block < count; ++block) {
    if (unmarkedBefore[block + 1] != unmarkedBefore[block] || owned[block]) continue;
    if (unowned++ == 0) first = block;
  }
  if (unowned == 0) return;
  add("oddity-unowned-marks", counted(unowned, "block") + " marked as used but part of no file, from block " +
                                  number(first) + " on: space that a sampler will not use.");
}

void VolumeCheck::checkLostFolders() {
  for (const LostFolder &lost : lostFolders(volume_)) {
    add("harm-lost-folder",
        "No entry leads to the folder in block " + number(lost.block) + " any more; it holds " +
            counted(lost.fileCount, "file") + " and " + counted(lost.folderCount, "folder") +
            ", the first is " + quoted(lost.names.front()) +
            ". The command “recover” brings it back; a new folder may be made over it.",
        nullptr, nullptr, EntryPlace{static_cast<std::int64_t>(lost.block), 0});
  }
}

// The check looks at the very volume whose lock the caller holds, which the analysis cannot see.
std::vector<VolumeFinding> checkVolume(const Volume &volume) TESSARY_NO_THREAD_SAFETY_ANALYSIS {
  return VolumeCheck(volume).run();
}

} // namespace tessary
