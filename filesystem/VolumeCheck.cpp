#include "filesystem/VolumeCheck.h"

#include "filesystem/BareDangers.h"
#include "filesystem/CheckProgress.h"
#include "filesystem/DirectoryEntry.h"
#include "filesystem/FindingList.h"
#include "filesystem/VolumeRules.h"
#include "filesystem/VolumeSurvey.h"

#include <algorithm>
#include <utility>

namespace tessary {

using namespace format;

namespace {

std::string number(std::uint64_t value) {
  return std::to_string(value);
}

/// Goes once through the table's marks and compares them with what owns the blocks. Memory in proportion to
/// the owners.
class MarkComparison final {
public:
  /// `owners` are sorted by their beginnings. Marks of blocks below `dataArea` need no owner. `questions` is
  /// about how many spans will be asked for.
  MarkComparison(std::vector<BlockSpan> owners, std::uint64_t dataArea, std::size_t questions)
      : owners_(std::move(owners)), unowned_(dataArea) {
    positions_.reserve(2 * questions);
  }

  /// Asks for the number of unmarked blocks in a span.
  void ask(BlockSpan span) {
    positions_.push_back({span.begin, 0});
    positions_.push_back({span.end, 0});
  }

  void compare(const AllocationTable &table, std::uint64_t described, CheckProgress *progress) {
    constexpr std::uint64_t tableBlocksAtOnce = 128;
    constexpr std::uint64_t marksAtOnce = tableBlocksAtOnce * kFatEntriesPerBlock;
    std::sort(positions_.begin(), positions_.end(), isBelow);
    auto next = positions_.begin();
    std::uint64_t marked = 0;
    const auto visit = [&](const MarkedRun &run) {
      for (; next != positions_.end() && next->block <= run.first; ++next)
        next->marked = marked;
      for (; next != positions_.end() && next->block < run.first + run.count; ++next)
        next->marked = marked + next->block - run.first;
      marked += run.count; // what cannot be read is not said to be unmarked
      if (run.isReadable)
        countUnowned({run.first, run.first + run.count});
      else
        unreadable_ += run.count;
    };
    for (std::uint64_t first = 0; first < described; first += marksAtOnce) {
      table.forEachMarkedRun(first, std::min(first + marksAtOnce, described), visit);
      if (!progress->went(tableBlocksAtOnce)) return;
    }
    for (; next != positions_.end(); ++next)
      next->marked = marked;
  }

  std::uint64_t unmarkedIn(BlockSpan span) const {
    return span.end - span.begin - (markedBelow(span.end) - markedBelow(span.begin));
  }
  std::uint64_t unreadableMarks() const { return unreadable_; }
  std::uint64_t unownedMarks() const { return unownedMarks_; }
  std::uint64_t firstUnowned() const { return firstUnowned_; }

private:
  struct Position {
    std::uint64_t block = 0;
    std::uint64_t marked = 0; ///< how many blocks below it are
  };
  static bool isBelow(const Position &a, const Position &b) { return a.block < b.block; }

  /// How many blocks below a block that was asked for are marked.
  std::uint64_t markedBelow(std::uint64_t block) const {
    return std::lower_bound(positions_.begin(), positions_.end(), Position{block, 0}, isBelow)->marked;
  }

  void countUnowned(BlockSpan run) {
    unowned_ = std::max(unowned_, run.begin);
    for (; owner_ < owners_.size() && owners_[owner_].begin < run.end; ++owner_) {
      const BlockSpan &owner = owners_[owner_];
      if (owner.begin > unowned_) addUnowned({unowned_, owner.begin});
      unowned_ = std::max(unowned_, owner.end); // behind this run too, where it goes on
    }
    if (unowned_ < run.end) addUnowned({unowned_, run.end});
  }

  void addUnowned(BlockSpan span) {
    if (unownedMarks_ == 0) firstUnowned_ = span.begin;
    unownedMarks_ += span.end - span.begin;
  }

  const std::vector<BlockSpan> owners_;
  std::size_t owner_ = 0;
  std::uint64_t unowned_;           ///< below it all marks have been looked at
  std::vector<Position> positions_; ///< that were asked for
  std::uint64_t unownedMarks_ = 0;
  std::uint64_t firstUnowned_ = 0;
  std::uint64_t unreadable_ = 0;
};

/// The entry at that place of the folder's blocks: the file, or the folder below, that the tree shows for it.
FindingSubject shownAt(const EMU3DirectoryPtr &folder, EntryPlace place) {
  for (const EMU3FilePtr &file : folder->files())
    if (file->place() == place) return {folder, file, place};
  for (const EMU3DirectoryPtr &below : folder->subdirectories())
    if (below->place() == place) return {below, nullptr, place};
  return {folder, nullptr, place};
}

/// Which slots files reach into: in memory and time that do not grow with how far they reach, or how many
/// there are.
class ReachedSlots final {
public:
  void add(std::uint16_t slot, std::uint64_t count) {
    ++changes_[slot];
    --changes_[slot + std::min(count, kMostSlots)];
  }
  /// Calls `visit` with the first of each run of slots that are reached, and with the one behind its last.
  template <typename Visit> void forEachRun(const Visit &visit) const {
    std::int64_t files = 0; // that reach the slot
    std::uint64_t first = 0;
    for (std::uint64_t slot = 0; slot < changes_.size(); ++slot) {
      const bool wasReached = files > 0;
      files += changes_[slot];
      if (!wasReached && files > 0) first = slot;
      if (wasReached && files == 0) visit(first, slot);
    }
  }

private:
  static constexpr std::uint64_t kMostSlots = 65535; // a field of 16 bits; also the highest slot's number
  /// By slot, how many more files reach it than the one before.
  std::vector<std::int32_t> changes_ = std::vector<std::int32_t>(2 * kMostSlots + 1);
};

/// One look over a volume.
class VolumeCheck final {
public:
  VolumeCheck(const Volume &volume, CheckProgress *progress) TESSARY_REQUIRES_SHARED(volume.lock)
      : volume_(volume), progress_(progress), survey_(volume, progress), geometry_(survey_.geometry),
        readableBlocks_(volume.image.blocksStillThere()) {}

  /// None where it was stopped: what is found then says nothing of the whole.
  std::optional<std::vector<VolumeFinding>> run() TESSARY_REQUIRES_SHARED(volume_.lock) {
    if (progress_->isStopped()) return std::nullopt;
    checkHeader();
    checkTablePlace();
    if (!checkFolders()) return std::nullopt;
    checkFiles();
    checkOverlaps();
    if (!checkMarks()) return std::nullopt;
    checkLostFolders();
    if (volume_.rules().kind() == MountRules::bare) addBareDangers(volume_, survey_, &findings_);
    return findings_.take();
  }

private:
  void checkHeader();
  void checkTablePlace();
  // False when the check is to stop.
  [[nodiscard]] bool checkFolders() TESSARY_REQUIRES_SHARED(volume_.lock);
  [[nodiscard]] bool checkMarks() TESSARY_REQUIRES_SHARED(volume_.lock);
  /// `isRepeated` where the folder lists the block before.
  void checkFolderBlock(const EMU3DirectoryPtr &folder, std::uint64_t block, bool isRepeated)
      TESSARY_REQUIRES_SHARED(volume_.lock);
  void checkEntriesOf(const EMU3DirectoryPtr &folder, std::uint64_t block, const Block &entries);
  void checkName(const EMU3DirectoryPtr &folder, const std::uint8_t *dentry, EntryPlace place);
  void checkFiles();
  void checkContents(const FileExtent &extent);
  void checkNumbers(const FileExtent &extent);
  void checkOverlaps();
  [[nodiscard]] std::vector<BlockSpan> owners() const;
  void checkLostFolders();

  /// What of a span the table describes.
  [[nodiscard]] BlockSpan described(BlockSpan span) const {
    const std::uint64_t end = geometry_.describedBlocks();
    return {std::min(span.begin, end), std::min(span.end, end)};
  }

  const Volume &volume_;
  CheckProgress *const progress_;
  const VolumeSurvey survey_;
  const VolumeGeometry &geometry_;
  const std::uint64_t readableBlocks_;
  FindingList findings_;
};

void VolumeCheck::checkHeader() {
  const std::uint64_t total = geometry_.totalBlocks;
  const auto outside = [&](const char *what, std::uint64_t block) {
    if (block < total) return;
    findings_.add(finding::kHeader, std::string("The header puts ") + what + " at block " + number(block) +
                                        ", but the image ends after block " + number(total - 1) +
                                        ": part of the image is missing, or the header is damaged. Change "
                                        "nothing, and look for another copy.");
  };
  outside("the root folder", geometry_.rootDirBlock);
  outside("the sounds", geometry_.dataAreaBlock);
  outside("the allocation table", geometry_.fatStartBlock);
  if (geometry_.dataAreaBlock <= geometry_.rootDirBlock) {
    findings_.add(finding::kHeader, "The header puts the sounds (block " + number(geometry_.dataAreaBlock) +
                                        ") before the root folder (block " + number(geometry_.rootDirBlock) +
                                        "): a sampler may store a sound over folders. Export what you can.");
  }
  if (geometry_.fatStartBlock == geometry_.rootDirBlock ||
      geometry_.fatStartBlock == geometry_.dataAreaBlock) {
    findings_.add(finding::kHeader,
                  "The allocation table begins where the header also puts something else, at block " +
                      number(geometry_.fatStartBlock) +
                      ": a sampler that marks blocks there damages it. Export what you can.");
  }
  if (geometry_.slotSizeBlocks > total) {
    findings_.add(finding::kOddHeader,
                  "A slot of " + number(geometry_.slotSizeBlocks) +
                      " blocks is larger than the whole image: it holds one file at most.");
  }
}

void VolumeCheck::checkTablePlace() {
  const std::uint64_t total = geometry_.totalBlocks;
  const BlockSpan table{geometry_.fatStartBlock, geometry_.tableEndBlock()};
  if (table.begin < total && table.end > total) {
    findings_.add(finding::kTableOutside,
                  "The allocation table goes on behind the end of the image, to block " +
                      number(table.end - 1) + ": the marks there are missing. Look for a whole copy.");
  }
  if (const FileExtent *file = survey_.fileIn({table.begin, std::min(table.end, total)})) {
    findings_.add(finding::kTableInFile,
                  "The allocation table (" + blockRange(table.begin, table.end) +
                      ") lies inside the file: storing or deleting any file changes the sound. Export the "
                      "file, then delete it.",
                  {file->folder, file->file, std::nullopt});
  }
  if (geometry_.describedBlocks() >= total) return;
  findings_.add(finding::kShortTable,
                "The allocation table is too short for the volume: it describes " +
                    number(geometry_.describedBlocks()) + " of " + number(total) +
                    " blocks. The rest cannot be marked; a sampler may leave it unused or not see that it "
                    "is used. Here slots are chosen by the files.");
}

bool VolumeCheck::checkFolders() {
  for (const EMU3DirectoryPtr &folder : survey_.folders) {
    const std::vector<std::int64_t> blocks = folder->blockList();
    if (blocks.empty()) {
      findings_.add(finding::kNoBlocks, "The folder has no block to hold entries: it is empty.",
                    {folder, nullptr, folder->place()});
    }
    for (auto block = blocks.begin(); block != blocks.end(); ++block)
      checkFolderBlock(folder, static_cast<std::uint64_t>(*block),
                       std::find(blocks.begin(), block, *block) != block);
    for (const EMU3FilePtr &file : folder->files()) {
      if (!file->isDeleted()) continue;
      findings_.add(
          finding::kDeletedEntry,
          "The entry is deleted but has kept its name. Its room comes back when something new takes "
          "its place.",
          {folder, file, std::nullopt});
    }
    if (!progress_->went(blocks.size())) return false;
  }
  return true;
}

void VolumeCheck::checkFolderBlock(const EMU3DirectoryPtr &folder, std::uint64_t block, bool isRepeated) {
  const FindingSubject subject{folder, nullptr, folder->place()};
  const std::string name = "Block " + number(block) + " of the folder ";
  if (block >= geometry_.totalBlocks) {
    findings_.add(finding::kFolderOutside,
                  "The folder’s block " + number(block) +
                      " lies behind the end of the image: what was in it is missing. Look for a whole copy.",
                  subject);
    return;
  }
  const EMU3DirectoryPtr &owner = survey_.folderBlocksIn({block, block + 1}).front().folder;
  if (owner != folder || isRepeated) {
    const std::string also =
        owner == folder ? "twice by this folder" : "by the folder " + quoted(owner->name()) + " too";
    findings_.add(finding::kFolderShared,
                  "Block " + number(block) + " is listed " + also +
                      ": what is changed or deleted in one changes in the other. Export what they hold, then "
                      "delete both.",
                  subject);
    return;
  }
  if (geometry_.isInTable(block)) {
    findings_.add(finding::kFolderInTable,
                  name +
                      "lies in the allocation table: marks are read as entries and entries as marks, and a "
                      "sampler that stores a file destroys the folder. Export what is in it.",
                  subject);
  }
  if (const FileExtent *file = survey_.fileIn({block, block + 1})) {
    findings_.add(finding::kFolderInFile,
                  name + "lies inside the file " + quotedWithFolder(*file->file, *file->folder) +
                      ": a new entry in the folder is written into the sound. Export both, then delete the "
                      "file.",
                  subject);
  } else if (block >= geometry_.dataAreaBlock) {
    findings_.add(finding::kFolderInData,
                  name + "lies where files are stored: a sampler may store a sound over it. Move what is in "
                         "the folder into a new one, then delete it.",
                  subject);
  }
  const std::optional<Block> entries = volume_.entries.read(static_cast<std::int64_t>(block));
  if (entries) return checkEntriesOf(folder, block, *entries);
  findings_.add(finding::kFolderUnreadable,
                name + "cannot be read: what is in it is not shown. Change nothing; copy the image from its "
                       "medium again.",
                subject);
}

void VolumeCheck::checkEntriesOf(const EMU3DirectoryPtr &folder, std::uint64_t block, const Block &entries) {
  for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
    const std::uint8_t *const dentry = entries.data() + index * kDentrySize;
    if (dentry[0] == 0 || nameOfDentry(dentry)) continue;
    checkName(folder, dentry, {static_cast<std::int64_t>(block), static_cast<std::int64_t>(index)});
  }
}

// Names an entry whose name is no text.
void VolumeCheck::checkName(const EMU3DirectoryPtr &folder, const std::uint8_t *dentry, EntryPlace place) {
  const bool isFile = isFileDentry(dentry);
  const bool isShown = volume_.rules().nameOf(dentry).has_value();
  if (isFile && dentry[kDentryRawType] == kRawTypeDeleted) {
    if (isShown) return; // told as any other deleted entry
    findings_.add(finding::kDeletedEntry, "The entry is deleted but has kept a name that is no text.",
                  {folder, nullptr, place});
    return;
  }
  if (isShown) {
    findings_.add(
        finding::kName,
        "The entry’s name is no text; what cannot be shown of it is shown as codes. A new name puts "
        "it right.",
        shownAt(folder, place));
    return;
  }
  findings_.add(finding::kHiddenEntry,
                std::string(isFile ? "A file’s" : "A folder’s") +
                    " name is no text, so it is not shown, and something new may be stored over what it "
                    "leads to. Without --exact it is shown and protected; rename it there.",
                {folder, nullptr, place});
}

void VolumeCheck::checkFiles() {
  for (const FileExtent &extent : survey_.files) {
    checkContents(extent);
    checkNumbers(extent);
  }
}

void VolumeCheck::checkContents(const FileExtent &extent) {
  const auto [begin, end] = extent.blocks;
  const std::uint64_t total = geometry_.totalBlocks;
  const FindingSubject subject{extent.folder, extent.file, std::nullopt};
  if (end > begin && end > total) {
    findings_.add(finding::kPastEnd,
                  "The file reaches past the end of the image: the last " +
                      counted(end - std::max(begin, total), "block") +
                      " of it are missing, and it cannot be exported. Look for a whole copy of the image.",
                  subject);
  }
  const std::uint64_t unreadable =
      std::min(end, total) - std::clamp(readableBlocks_, std::min(begin, total), std::min(end, total));
  if (unreadable > 0) {
    findings_.add(finding::kContentsUnreadable,
                  counted(unreadable, "block") +
                      " of the file cannot be read: the image was cut short while it is open. It cannot be "
                      "exported until the image is whole again.",
                  subject);
  }
}

void VolumeCheck::checkNumbers(const FileExtent &extent) {
  const FindingSubject subject{extent.folder, extent.file, std::nullopt};
  const EMU3FileFields fields = extent.file->fields();
  const bool hasBlocks = fields.blocksInLastCluster > 0;
  if (fields.bytesInLastBlock > kBlockSize || (hasBlocks && fields.bytesInLastBlock == 0)) {
    findings_.add(finding::kSize,
                  "The entry counts " + number(fields.bytesInLastBlock) +
                      " bytes in the file’s last block; 1 to 512 make sense. The file may seem shorter or "
                      "longer than it is.",
                  subject);
  }
  if (fields.startCluster == 0) {
    findings_.add(finding::kSlot, "The entry names slot 0; it is read as slot 1.", subject);
  }
  const std::uint64_t reach = geometry_.slotSizeBlocks * fields.clusterCount;
  if (fields.clusterCount > 1 &&
      extent.blocks.begin + reach >= geometry_.totalBlocks + geometry_.slotSizeBlocks) {
    findings_.add(finding::kClusters,
                  "The entry counts " + number(fields.clusterCount) +
                      " slots, more than there are from its own on: no other file is stored in them.",
                  subject);
  }
}

// Each file is compared with the one before it that reaches furthest, so a volume full of files that all
// claim the same blocks takes no longer than any other.
void VolumeCheck::checkOverlaps() {
  const FileExtent *furthest = nullptr;
  for (const FileExtent &extent : survey_.files) {
    const auto [begin, end] = extent.blocks;
    if (begin == end) continue;
    if (furthest && begin < furthest->blocks.end) {
      const BlockSpan shared{begin, std::min(end, furthest->blocks.end)};
      findings_.add(
          finding::kOverlap,
          "The file shares " + counted(shared.end - shared.begin, "block") + " (" +
              blockRange(shared.begin, shared.end) + ") with " +
              quotedWithFolder(*furthest->file, *furthest->folder) +
              ": one of the two is damaged already, or will be when a sampler stores it anew. Listen "
              "to both, export the good one, delete both, import it again.",
          {extent.folder, extent.file, std::nullopt});
    }
    if (!furthest || end > furthest->blocks.end) furthest = &extent;
  }
}

// The slots that files reach into, files of lost folders included, the table and folders' blocks.
std::vector<BlockSpan> VolumeCheck::owners() const {
  const std::uint64_t slotSize = geometry_.slotSizeBlocks;
  const auto slotsFor = [&](std::uint64_t blocks) {
    return std::max<std::uint64_t>(1, (blocks + slotSize - 1) / slotSize);
  };
  ReachedSlots reached;
  for (const FileExtent &extent : survey_.files) {
    const EMU3FileEntry &file = extent.file->entry();
    reached.add(std::max<std::uint16_t>(1, file.startCluster),
                std::max<std::uint64_t>(file.clusterCount, slotsFor(file.blocksInLastCluster)));
  }
  for (const LostFile &file : survey_.lost.files)
    reached.add(file.slot, slotsFor(file.blockCount));
  std::vector<BlockSpan> spans{{geometry_.fatStartBlock, geometry_.tableEndBlock()}};
  reached.forEachRun([&](std::uint64_t first, std::uint64_t end) {
    spans.push_back(
        {geometry_.dataAreaBlock + slotSize * (first - 1), geometry_.dataAreaBlock + slotSize * (end - 1)});
  });
  for (const FolderBlock &entry : survey_.folderBlocks) { // mostly one after another
    if (spans.back().end == entry.block)
      ++spans.back().end;
    else
      spans.push_back({entry.block, entry.block + 1});
  }
  std::sort(spans.begin(), spans.end(),
            [](const BlockSpan &a, const BlockSpan &b) { return a.begin < b.begin; });
  return spans;
}

bool VolumeCheck::checkMarks() {
  MarkComparison marks(owners(), geometry_.dataAreaBlock, survey_.files.size());
  for (const FileExtent &extent : survey_.files)
    marks.ask(described(extent.blocks));
  marks.compare(volume_.table, geometry_.describedBlocks(), progress_);
  if (progress_->isStopped()) return false;
  if (marks.unreadableMarks() > 0) {
    findings_.add(finding::kTableUnreadable,
                  "The allocation table cannot be read where it has the marks of " +
                      counted(marks.unreadableMarks(), "block") +
                      ": what is free there is not known. Change nothing; copy the image from its medium "
                      "again.");
  }
  for (const FileExtent &extent : survey_.files) {
    const std::uint64_t unmarked = marks.unmarkedIn(described(extent.blocks));
    if (unmarked == 0) continue;
    findings_.add(
        finding::kUnmarked,
        counted(unmarked, "block") +
            " of the file not marked as used in the allocation table: a sampler may store something "
            "else there. Copy the file here, then delete this one.",
        {extent.folder, extent.file, std::nullopt});
  }
  if (marks.unownedMarks() == 0) return true;
  findings_.add(finding::kUnownedMarks,
                counted(marks.unownedMarks(), "block") + " marked as used but part of no file, from block " +
                    number(marks.firstUnowned()) + " on: room that is not used, and no harm.");
  return true;
}

/// Of the volume, that a check looks through: where folders may lie, the folders' own, the table's.
std::uint64_t blocksToCheck(const Volume &volume) TESSARY_REQUIRES_SHARED(volume.lock) {
  const VolumeGeometry &geometry = volume.geometry();
  const BlockSpan ground = folderGround(geometry);
  std::uint64_t blocks = ground.end - ground.begin + geometry.describedBlocks() / kFatEntriesPerBlock;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.tree.root()))
    blocks += folder->blockList().size();
  return blocks;
}

void VolumeCheck::checkLostFolders() {
  for (const LostFolder &lost : survey_.lost.folders) {
    findings_.add(finding::kLostFolder,
                  "No entry leads to the folder in block " + number(lost.block) + " any more; it holds " +
                      counted(lost.fileCount, "file") + " and " + counted(lost.folderCount, "folder") +
                      ", the first is " + quoted(lost.names.front()) +
                      ". A sampler may make a new folder over it and store over its files. The command "
                      "“recover” brings it back.",
                  {nullptr, nullptr, EntryPlace{static_cast<std::int64_t>(lost.block), 0}});
  }
}

} // namespace

// The check looks at the very volume whose lock the caller holds, which the analysis cannot see.
std::optional<std::vector<VolumeFinding>>
checkVolume(const Volume &volume, const CheckWatcher &watcher) TESSARY_NO_THREAD_SAFETY_ANALYSIS {
  CheckProgress progress(watcher, blocksToCheck(volume));
  std::optional<std::vector<VolumeFinding>> findings = VolumeCheck(volume, &progress).run();
  if (findings) progress.finish();
  return findings;
}

} // namespace tessary
