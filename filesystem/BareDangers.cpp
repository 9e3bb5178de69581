#include "filesystem/BareDangers.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/VolumeRules.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

namespace tessary {

using namespace format;

namespace {

constexpr const char *kWithoutExact = " Without --exact it is safe.";

/// One look for what a bare mount's operations would destroy, by the choices of the bare rules.
class BareDangers final {
public:
  BareDangers(const Volume &volume, const VolumeSurvey &survey, FindingList *findings)
      : volume_(volume), survey_(survey), geometry_(survey.geometry), findings_(*findings) {}

  void add() TESSARY_REQUIRES_SHARED(volume_.lock) {
    addEntries();
    addNextFile();
    addMarksOfFiles();
    addNextFolder();
  }

private:
  void addEntries() TESSARY_REQUIRES_SHARED(volume_.lock);
  void addEntriesOf(const EMU3DirectoryPtr &parent) TESSARY_REQUIRES_SHARED(volume_.lock);
  void addNextFile();
  void addNextFileOver(BlockSpan room);
  void addMarksOfFiles();
  void addMarks(BlockSpan blocks, const std::string &whose, const FindingSubject &subject);
  void addNextFolder();

  const Volume &volume_;
  const VolumeSurvey &survey_;
  const VolumeGeometry &geometry_;
  FindingList &findings_;
};

void BareDangers::addEntries() {
  for (const EMU3DirectoryPtr &folder : survey_.folders)
    addEntriesOf(folder);
}

// An entry counts as free when its first byte or its type byte is 0. In a folder's entry the fifth block
// number begins where the type byte would be: 0 in a folder of up to four blocks.
void BareDangers::addEntriesOf(const EMU3DirectoryPtr &parent) {
  const std::vector<EMU3DirectoryPtr> below = parent->subdirectories();
  if (below.empty()) return;
  std::map<EntryPlace, EMU3DirectoryPtr> folders;
  for (const EMU3DirectoryPtr &folder : below)
    folders.emplace(folder->place(), folder);
  bool isNext = true; // no free entry was met yet
  for (const std::int64_t number : parent->blockList()) {
    const std::optional<Block> block = volume_.entries.read(number);
    if (!block) continue;
    for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
      const EntryPlace place{number, static_cast<std::int64_t>(index)};
      if (!volume_.rules().isFree(volume_, block->data() + index * kDentrySize, place)) continue;
      const auto folder = folders.find(place);
      if (folder != folders.end()) {
        findings_.add(finding::kBareEntry,
                      std::string("The folder’s entry counts as free: ") +
                          (isNext ? "the next new entry in " : "a later new entry in ") +
                          quoted(parent->name()) +
                          " is written over it, and the folder with all that is in "
                          "it is lost." +
                          kWithoutExact,
                      {folder->second, nullptr, place});
      }
      isNext = false;
    }
  }
}

// A new file goes into the slot above the highest that an entry names, however far the files before it reach
// and whatever else lies there.
void BareDangers::addNextFile() {
  std::uint16_t highest = 0;
  for (const EMU3DirectoryPtr &folder : survey_.folders) {
    folder->lookAtFiles([&](const EMU3File &file) { highest = std::max(highest, file.startCluster()); });
  }
  const auto slot = static_cast<std::uint16_t>(highest + 1);
  const std::uint64_t begin = geometry_.slotStartBlock(slot);
  const bool isLast = highest == std::numeric_limits<std::uint16_t>::max();
  if (begin >= geometry_.totalBlocks) {
    if (isLast)
      findings_.add(finding::kSlot, "The highest slot number, 65535, is in use: no new file can be stored.");
    return;
  }
  if (isLast) {
    findings_.add(finding::kBareNextFile,
                  "The highest slot number, 65535, is in use: the next new file is stored in slot 0, from "
                  "block " +
                      std::to_string(begin) + " on, over the table, folders or sounds there." +
                      kWithoutExact);
  }
  addNextFileOver({begin, geometry_.totalBlocks});
  addMarks({begin, geometry_.totalBlocks}, "the next new file", {});
}

void BareDangers::addNextFileOver(BlockSpan room) {
  const std::string from = "The next new file is stored from block " + std::to_string(room.begin) + " on: ";
  for (const FileExtent &extent : survey_.files) {
    const BlockSpan hit{std::max(room.begin, extent.blocks.begin), std::min(room.end, extent.blocks.end)};
    if (hit.begin >= hit.end) continue;
    findings_.add(finding::kBareNextFile,
                  from + "it can overwrite " + blockRange(hit.begin, hit.end) + " of this file." +
                      kWithoutExact,
                  {extent.folder, extent.file, std::nullopt});
  }
  for (const FolderBlock &entry : survey_.folderBlocksIn(room)) {
    findings_.add(finding::kBareNextFile,
                  from + "it can overwrite block " + std::to_string(entry.block) +
                      " of this folder, and what is in it is lost." + kWithoutExact,
                  {entry.folder, nullptr, entry.folder->place()});
  }
  const BlockSpan table{std::max(room.begin, geometry_.fatStartBlock),
                        std::min(room.end, geometry_.tableEndBlock())};
  if (table.begin < table.end) {
    findings_.add(finding::kBareNextFile, from + "it can overwrite " + blockRange(table.begin, table.end) +
                                              " of the allocation table." + kWithoutExact);
  }
  const bool isLostFileThere =
      std::any_of(survey_.lost.files.begin(), survey_.lost.files.end(), [&](const LostFile &file) {
        const std::uint64_t begin = geometry_.slotStartBlock(file.slot);
        return begin < room.end && begin + file.blockCount > room.begin;
      });
  if (isLostFileThere) {
    findings_.add(finding::kBareNextFile,
                  from +
                      "it can overwrite files of a folder that no entry leads to. Bring it back first, with "
                      "“recover”.");
  }
}

// The marks of a file are cleared wherever they would lie, even behind the table.
void BareDangers::addMarksOfFiles() {
  for (const FileExtent &extent : survey_.files) {
    const std::uint64_t begin = geometry_.slotStartBlock(extent.file->startCluster());
    const std::uint64_t count = extent.blocks.end - extent.blocks.begin;
    if (count == 0) continue;
    const FindingSubject subject{extent.folder, extent.file, std::nullopt};
    const std::uint64_t beforeWrap =
        std::min(count, std::uint64_t{0} - begin); // slot 0 may lie below block 0
    const bool wraps = begin != 0 && beforeWrap < count;
    addMarks({begin, begin + (wraps ? beforeWrap : count)}, "this file", subject);
    if (wraps) addMarks({0, count - beforeWrap}, "this file", subject);
  }
}

// The marks of these blocks, as far as they would lie behind the table.
void BareDangers::addMarks(BlockSpan blocks, const std::string &whose, const FindingSubject &subject) {
  const auto tableBlockOf = [&](std::uint64_t block) {
    return geometry_.fatStartBlock + block / kFatEntriesPerBlock;
  };
  const std::uint64_t last = blocks.end - 1; // the end may have wrapped to 0
  const BlockSpan marks{std::max(tableBlockOf(blocks.begin), geometry_.tableEndBlock()),
                        std::min(tableBlockOf(last) + 1, geometry_.totalBlocks)};
  if (marks.begin >= marks.end) return;
  const std::span<const FolderBlock> folders = survey_.folderBlocksIn(marks);
  const FileExtent *const file = survey_.fileIn(marks);
  if (folders.empty() && !file) return;
  const std::string over = folders.empty() ? "the file " + quotedWithFolder(*file->file, *file->folder)
                                           : "block " + std::to_string(folders.front().block) +
                                                 " of the folder " + quoted(folders.front().folder->name());
  findings_.add(finding::kBareMarks,
                "The allocation table is too short: the marks of " + whose + " lie behind it, in " +
                    blockRange(marks.begin, marks.end) + ". Storing or deleting it can write over " + over +
                    "." + kWithoutExact,
                subject);
}

// A new folder gets the first block from the root's on that no folder lists, whatever is in it.
void BareDangers::addNextFolder() {
  std::uint64_t block = geometry_.rootDirBlock;
  for (const FolderBlock &entry : survey_.folderBlocksIn({block, geometry_.dataAreaBlock})) {
    if (entry.block != block) break;
    ++block;
  }
  if (block >= geometry_.dataAreaBlock || block >= geometry_.totalBlocks) return;
  const std::string takes = "The next new folder takes block " + std::to_string(block);
  if (geometry_.isInTable(block)) {
    findings_.add(finding::kBareNextFolder, takes +
                                                ", which is part of the allocation table: what is used "
                                                "would count as free." +
                                                kWithoutExact);
  }
  if (survey_.lost.blocks.contains(static_cast<std::int64_t>(block))) {
    findings_.add(finding::kBareNextFolder,
                  takes +
                      ", which a folder has that no entry leads to: what is in it would be gone. Bring it "
                      "back first, with “recover”.",
                  {nullptr, nullptr, EntryPlace{static_cast<std::int64_t>(block), 0}});
  }
}

} // namespace

void addBareDangers(const Volume &volume, const VolumeSurvey &survey, FindingList *findings)
    TESSARY_NO_THREAD_SAFETY_ANALYSIS { // the volume's lock is held by the caller
  BareDangers(volume, survey, findings).add();
}

} // namespace tessary
