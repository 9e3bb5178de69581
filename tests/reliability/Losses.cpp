#include "tests/reliability/Losses.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace tessary::test {
namespace {

constexpr std::size_t kNameBytes = 16;

std::string wordsFor(Place place, const ImageReading::Entry &entry) {
  return std::string(entry.isFolder ? "folder " : "file ") + std::to_string(place.first) + ":" +
         std::to_string(place.second);
}

bool isLive(const ImageReading::Entry &entry) {
  return entry.isFolder || entry.isLiveFile();
}

bool isInside(const ImageReading &volume, Place place, Place folder) {
  while (place != folder) {
    const auto entry = volume.entries.find(place);
    if (entry == volume.entries.end()) return false; // the root
    place = entry->second.parent;
  }
  return true;
}

// The root included.
std::set<Place> withItsFolders(const ImageReading &volume, Place place) {
  std::set<Place> places{place};
  for (auto entry = volume.entries.find(place); entry != volume.entries.end();
       entry = volume.entries.find(entry->second.parent))
    places.insert(entry->second.parent);
  return places;
}

// Harm that an operation does, not what was lost already or what only a sampler destroys.
bool namesDanger(const VolumeFinding &finding) {
  constexpr std::array dangers{finding::kTableInFile,  finding::kFolderShared, finding::kFolderInTable,
                               finding::kFolderInFile, finding::kFolderInData, finding::kBareEntry,
                               finding::kBareNextFile, finding::kBareMarks,    finding::kBareNextFolder};
  return std::any_of(dangers.begin(), dangers.end(),
                     [&](const FindingKind &kind) { return kind.word == finding.kind; });
}

// What the operation takes away or moves elsewhere.
bool isAskedToGo(const ImageReading &before, Place place, const Operation &operation) {
  switch (operation.kind) {
  case OperationKind::moveFile:
  case OperationKind::deleteFile:
  case OperationKind::moveFolder:
    return place == operation.item;
  case OperationKind::deleteFolder:
    return isInside(before, place, operation.item);
  default:
    return false;
  }
}

bool isRenamed(Place place, const Operation &operation) {
  return place == operation.item &&
         (operation.kind == OperationKind::renameFile || operation.kind == OperationKind::renameFolder);
}

// Whether the folder has the same blocks and perhaps more.
bool hasGrown(const RawEntry &before, const RawEntry &after) {
  if (!readsAsFolder(after) || !std::equal(before.begin(), before.begin() + 18, after.begin())) return false;
  for (std::size_t offset = 18; offset < before.size(); offset += 2) {
    const std::uint16_t block = wordAt(before, offset);
    if (block >= 1 && block <= 0x7FFF && wordAt(after, offset) != block) return false;
  }
  return true;
}

bool isEntryKept(Place place, const RawEntry &before, const RawEntry &after, const Operation &operation) {
  const std::size_t first = isRenamed(place, operation) ? kNameBytes : 0;
  if (std::equal(before.begin() + static_cast<std::ptrdiff_t>(first), before.end(),
                 after.begin() + static_cast<std::ptrdiff_t>(first)))
    return true;
  return place == operation.folder && hasGrown(before, after);
}

/// Counts the blocks' owners: each live file, each folder, the table, the header.
class Owners {
public:
  explicit Owners(const ImageReading &volume) : volume_(volume) {
    add(0, 1, "the header");
    add(volume.tableStart, volume.tableEnd, "the table");
    for (const auto &[place, blocks] : volume.folders)
      for (const std::uint64_t block : blocks)
        add(block, block + 1, "folder " + std::to_string(place.first) + ":" + std::to_string(place.second));
    for (const auto &[place, entry] : volume.entries) {
      if (!entry.isLiveFile()) continue;
      const auto [first, end] = volume.contentsOf(entry.bytes);
      add(first, end, wordsFor(place, entry));
    }
  }

  [[nodiscard]] const std::vector<std::string> &claimedTwice() const { return twice_; }

private:
  void add(std::uint64_t first, std::uint64_t end, const std::string &owner) {
    for (std::uint64_t block = first; block < std::min(end, volume_.totalBlocks); ++block) {
      const auto [known, isFirst] = owners_.emplace(block, owner);
      if (isFirst) continue;
      twice_.push_back("block " + std::to_string(block) + " is of " + known->second + " and " + owner);
      return;
    }
  }

  const ImageReading &volume_;
  std::map<std::uint64_t, std::string> owners_;
  std::vector<std::string> twice_;
};

} // namespace

std::vector<Loss> lossesOf(const ImageReading &before, const ImageReading &after,
                           const Operation &operation) {
  std::vector<Loss> lost;
  if (before.isVolume && !after.isVolume) lost.push_back({{0, 0}, "the volume has no signature any more"});
  for (const auto &[place, entry] : before.entries) {
    if (!isLive(entry) || isAskedToGo(before, place, operation)) continue;
    const auto add = [&, at = place, words = wordsFor(place, entry)](const char *what) {
      lost.push_back({at, words + what});
    };
    const auto found = after.entries.find(place);
    if (found == after.entries.end() || found->second.isFolder != entry.isFolder || !isLive(found->second))
      add(" is gone");
    else if (!isEntryKept(place, entry.bytes, found->second.bytes, operation))
      add(" has another entry");
    else if (!entry.isFolder && before.bytesOf(entry.bytes) != after.bytesOf(found->second.bytes))
      add(" has other bytes");
  }
  return lost;
}

bool isWarnedOf(const Loss &loss, const Operation &operation, const ImageReading &before,
                const std::vector<VolumeFinding> &findings) {
  std::set<Place> concerned = withItsFolders(before, loss.place);
  concerned.merge(withItsFolders(before, operation.item));
  concerned.merge(withItsFolders(before, operation.folder));
  for (const auto &[place, entry] : before.entries)
    if (isAskedToGo(before, place, operation)) concerned.insert(place);
  return std::any_of(findings.begin(), findings.end(), [&](const VolumeFinding &finding) {
    if (!namesDanger(finding)) return false;
    if (finding.file) return concerned.contains(placeOf(*finding.file));
    return !finding.folder || concerned.contains(placeOf(*finding.folder));
  });
}

std::vector<std::string> damageOf(const ImageReading &volume) {
  std::vector<std::string> found = Owners(volume).claimedTwice();
  if (volume.tableStart >= volume.totalBlocks || volume.tableEnd > volume.totalBlocks)
    found.emplace_back("marks lie outside");
  if (volume.rootBlock >= volume.totalBlocks || volume.dataBlock >= volume.totalBlocks)
    found.emplace_back("parts of the volume lie outside");
  if (volume.hiddenEntries > 0) found.emplace_back("entries are not shown");
  for (const auto &[place, blocks] : volume.folders)
    for (const std::uint64_t block : blocks)
      if (block >= volume.totalBlocks) found.push_back("block " + std::to_string(block) + " lies outside");
  for (const auto &[place, entry] : volume.entries)
    if (entry.isLiveFile() && !volume.isWhole(entry.bytes))
      found.push_back(wordsFor(place, entry) + " is not whole");
  for (std::uint64_t block = 1; block < volume.totalBlocks; ++block) {
    if (!volume.mayHoldFolder(block) || volume.isNamed(block)) continue;
    for (std::size_t index = 0; index < 16; ++index) {
      const RawEntry entry = volume.entryAt({block, index});
      const bool isKnownFile = entry[26] >= 0x80 && entry[26] <= 0x83;
      if (entry[0] == 0 || (!isKnownFile && !readsAsFolder(entry))) continue;
      found.push_back("nothing leads to block " + std::to_string(block));
      break;
    }
  }
  return found;
}

std::vector<std::string> unprotectedIn(const ImageReading &volume) {
  std::vector<std::string> found;
  const auto look = [&](std::uint64_t block, const std::string &words) {
    if (!volume.isDescribed(block) || volume.tableBlockOf(block) >= volume.totalBlocks) return true;
    if (volume.mark(block) != 0) return true;
    found.push_back(words + ", block " + std::to_string(block));
    return false;
  };
  for (const auto &[place, entry] : volume.entries) {
    if (!entry.isLiveFile()) continue;
    const auto [first, end] = volume.contentsOf(entry.bytes);
    for (std::uint64_t block = first; block < end && look(block, wordsFor(place, entry)); ++block) {
    }
  }
  for (const auto &[place, blocks] : volume.folders)
    for (const std::uint64_t block : blocks)
      if (block >= volume.dataBlock && block < volume.totalBlocks) look(block, "folder");
  return found;
}

} // namespace tessary::test
