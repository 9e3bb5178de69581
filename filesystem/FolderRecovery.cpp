#include "filesystem/FolderRecovery.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/EntrySpot.h"
#include "filesystem/VolumeRules.h"
#include "tessary/Text.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <unordered_set>
#include <utility>

namespace tessary {
namespace {

using namespace format;

// A recovery goes by the guarded rules, so that it destroys nothing, however the image is mounted.
const VolumeRules &recoveryRules() {
  return rulesFor(MountRules::guarded);
}

bool isMoreThanSpaces(const std::string &name) {
  return name.find_first_not_of(' ') != std::string::npos;
}

bool isPlainText(const std::string &name) {
  return isMoreThanSpaces(name) && isValidUtf8(name) &&
         std::none_of(name.begin(), name.end(), [](char character) {
           const auto byte = static_cast<std::uint8_t>(character);
           return byte < 0x20 || byte == 0x7F;
         });
}

bool hasKnownType(const std::uint8_t *dentry) {
  const std::uint8_t type = dentry[kDentryRawType];
  return (type >= kRawTypeSystem && type <= kRawTypeOtherBank) ||
         std::equal(kFormatMark.begin(), kFormatMark.end(), dentry + kDentryFormatMark);
}

bool hasPossibleNumbers(const std::uint8_t *dentry, const VolumeGeometry &geometry) {
  const auto slot = std::max<std::uint16_t>(1, readLE16(dentry + kDentryStartCluster));
  return geometry.slotStartBlock(slot) < geometry.totalBlocks &&
         readLE16(dentry + kDentryBytesInLastBlock) <= kBlockSize;
}

bool listsFolderBlocksAlone(const std::uint8_t *dentry, const VolumeGeometry &geometry) {
  const std::vector<std::int64_t> blocks = folderBlocks(dentry);
  return !blocks.empty() && std::all_of(blocks.begin(), blocks.end(), [&](std::int64_t block) {
    return geometry.mayHoldFolder(static_cast<std::uint64_t>(block));
  });
}

// The block numbers of a real folder's entry: some of the seven are 0, or, in the few folders that have seven
// blocks, all differ.
bool hasRoomOrSevenBlocks(const std::uint8_t *dentry, const VolumeGeometry &geometry) {
  std::set<std::uint16_t> numbers;
  for (std::size_t position = 0; position < kFolderBlockCount; ++position)
    numbers.insert(readLE16(dentry + kDentryFolderBlocks + 2 * position));
  if (*numbers.rbegin() > kLastFolderBlock) return false;
  return numbers.contains(0) ||
         (numbers.size() == kFolderBlockCount && listsFolderBlocksAlone(dentry, geometry));
}

bool isLive(const std::uint8_t *dentry) {
  return dentry[0] != 0 && (!isFileDentry(dentry) || dentry[kDentryRawType] != kRawTypeDeleted);
}

// Three signs tell an entry: of a file its type, its numbers and its name; of a folder its blocks, the room
// for more of them, and its name. Two of the three are enough, so that one damaged field hides nothing.
// Random bytes hardly ever show one; text shows the name alone, a regular pattern at most the numbers.
bool isPlausible(const std::uint8_t *dentry, const VolumeGeometry &geometry) {
  const bool isFile = isFileDentry(dentry);
  const bool first = isFile ? hasKnownType(dentry) : listsFolderBlocksAlone(dentry, geometry);
  const bool second = isFile ? hasPossibleNumbers(dentry, geometry) : hasRoomOrSevenBlocks(dentry, geometry);
  const bool third = isPlainText(paddedField(dentry, kNameSize));
  return int{first} + int{second} + int{third} >= 2;
}

// What a block holds that no folder of the tree lists, seen as a folder's.
struct LostBlock {
  LostFolder folder;
  std::vector<LostFile> files;
  std::vector<std::int64_t> blocksBelow; ///< that its subfolders list
};

// Sounds never lie where folders do, but a block there may never have been cleared, or may be one that a
// folder had long ago; the latter reads like a lost folder and is one as far as anyone can tell. Deleted
// entries say nothing either way. Of the live ones at least half must be plausible, and one at least.
std::optional<LostBlock> lostBlockIn(const std::uint8_t *block, const VolumeGeometry &geometry) {
  LostBlock lost;
  std::size_t plausible = 0;
  std::size_t live = 0;
  for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
    const std::uint8_t *const dentry = block + index * kDentrySize;
    if (!isLive(dentry)) continue;
    ++live;
    if (isPlausible(dentry, geometry)) ++plausible;
  }
  if (plausible == 0 || 2 * plausible < live) return std::nullopt;
  for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
    const std::uint8_t *const dentry = block + index * kDentrySize;
    if (!isLive(dentry)) continue;
    lost.folder.names.push_back(*recoveryRules().nameOf(dentry));
    if (isFileDentry(dentry)) {
      ++lost.folder.fileCount;
      lost.files.push_back({std::max<std::uint16_t>(1, readLE16(dentry + kDentryStartCluster)),
                            readLE16(dentry + kDentryBlocksInLastCluster)});
    } else {
      ++lost.folder.folderCount;
      const std::vector<std::int64_t> below = folderBlocks(dentry);
      lost.blocksBelow.insert(lost.blocksBelow.end(), below.begin(), below.end());
    }
  }
  return lost;
}

// Calls `visit` with the blocks of the span that are no holes of a sparse image, in order.
template <typename Visit>
void forEachBlock(const ImageMapping &image, BlockSpan span, CheckProgress *progress, const Visit &visit) {
  const auto [first, end] = span;
  std::uint64_t told = first;
  constexpr std::uint64_t blocksAtOnce = 64;
  std::vector<std::uint8_t> piece(blocksAtOnce * kBlockSize);
  for (std::uint64_t block = image.behindHole(first, end); block < end;
       block = image.behindHole(block, end)) {
    const std::uint64_t wanted = std::min(blocksAtOnce, end - block);
    const std::uint64_t got = image.readPassing(block, 0, piece.data(), wanted * kBlockSize) / kBlockSize;
    for (std::uint64_t i = 0; i < got; ++i)
      visit(block + i, piece.data() + i * kBlockSize);
    block += std::max<std::uint64_t>(got, 1); // passes over one that cannot be read
    if (progress && !progress->went(block - told)) return;
    told = block;
  }
}

using LostBlocks = std::map<std::int64_t, LostBlock>;

LostBlocks lostBlocks(const Volume &volume, const VolumeGeometry &geometry, CheckProgress *progress)
    TESSARY_REQUIRES_SHARED(volume.lock) {
  const std::unordered_set<std::int64_t> owned = VolumeTree::folderBlocks(volume.tree.root());
  LostBlocks found;
  forEachBlock(volume.image, folderGround(geometry), progress,
               [&](std::uint64_t number, const std::uint8_t *bytes) {
                 const auto block = static_cast<std::int64_t>(number);
                 if (owned.contains(block) || !geometry.mayHoldFolder(number)) return;
                 std::optional<LostBlock> lost = lostBlockIn(bytes, geometry);
                 if (!lost) return;
                 lost->folder.block = number;
                 found.emplace(block, *std::move(lost));
               });
  return found;
}

// Takes in all lost blocks that `top` leads to.
void reach(std::int64_t top, const LostBlocks &lost, std::unordered_set<std::int64_t> *reached) {
  std::vector<std::int64_t> pending{top};
  while (!pending.empty()) {
    const std::int64_t block = pending.back();
    pending.pop_back();
    const auto found = lost.find(block);
    if (found == lost.end() || !reached->insert(block).second) continue;
    const std::vector<std::int64_t> &below = found->second.blocksBelow;
    pending.insert(pending.end(), below.begin(), below.end());
  }
}

// Those that no other one contains; of some that contain each other in a circle the first.
std::vector<std::int64_t> topsOf(const LostBlocks &lost) {
  std::unordered_set<std::int64_t> contained;
  for (const auto &[block, folder] : lost) {
    for (const std::int64_t below : folder.blocksBelow) {
      if (below != block) contained.insert(below);
    }
  }
  std::vector<std::int64_t> tops;
  std::unordered_set<std::int64_t> reached;
  for (const bool inCircles : {false, true}) {
    for (const auto &[block, folder] : lost) {
      if (reached.contains(block) || (!inCircles && contained.contains(block))) continue;
      tops.push_back(block);
      reach(block, lost, &reached);
    }
  }
  std::sort(tops.begin(), tops.end());
  return tops;
}

std::optional<EntrySpot> firstEmptyEntry(const Volume &volume, const EMU3DirectoryPtr &folder)
    TESSARY_REQUIRES_SHARED(volume.lock) {
  for (const std::int64_t number : folder->blockList()) {
    const std::optional<Block> block = volume.entries.read(number);
    if (!block) continue;
    for (std::size_t index = 0; index < kDentriesPerBlock; ++index) {
      if ((*block)[index * kDentrySize] == 0)
        return EntrySpot{{number, static_cast<std::int64_t>(index)}, std::nullopt};
    }
  }
  return std::nullopt;
}

// By the bare rules a folder's entry can count as free, so a bare mount takes an empty entry alone. A guarded
// folder may grow, but not into a block of what is brought back.
std::optional<EntrySpot> reallyFreeSpot(const Volume &volume, const EMU3DirectoryPtr &folder,
                                        const LostGround &lost) TESSARY_REQUIRES_SHARED(volume.lock) {
  if (volume.rules().kind() == MountRules::bare) return firstEmptyEntry(volume, folder);
  return findSpot(volume, folder,
                  {std::nullopt, [&](std::int64_t block) { return !lost.blocks.contains(block); }});
}

// The spot for the entry of a lost folder; none, with the error, where it is refused.
std::optional<EntrySpot> spotForLostFolder(const Volume &volume, std::uint64_t block, const std::string &name,
                                           const EMU3DirectoryPtr &inDirectory, EMU3Error *error)
    TESSARY_REQUIRES_SHARED(volume.lock) {
  const auto refused = [&](EngineError reason) {
    fail(error, reason);
    return std::nullopt;
  };
  const LostGround lost = lostGround(volume);
  const bool isLost = std::any_of(lost.folders.begin(), lost.folders.end(),
                                  [&](const LostFolder &folder) { return folder.block == block; });
  if (!isLost || !volume.tree.contains(inDirectory)) return refused(EngineError::entryNotFound);
  if (name.empty() || utf16Length(name) > kMaxNameBytes || !recoveryRules().mayStoreName(name)) {
    return refused(EngineError::badName);
  }
  const std::optional<EntrySpot> spot = reallyFreeSpot(volume, inDirectory, lost);
  if (!spot) return refused(EngineError::parentFull);
  return spot;
}

// Null where no folder of the tree has its entry there.
EMU3DirectoryPtr folderAt(const VolumeTree &tree, EntryPlace place) {
  const std::vector<EMU3DirectoryPtr> folders = directoriesInPreOrder(tree.root());
  const auto found = std::find_if(folders.rbegin(), folders.rend(), [&](const EMU3DirectoryPtr &folder) {
    return folder != tree.root() && folder->place() == place;
  });
  return found == folders.rend() ? nullptr : *found;
}

} // namespace

BlockSpan folderGround(const VolumeGeometry &geometry) {
  const std::uint64_t end = std::min({geometry.dataAreaBlock, geometry.totalBlocks, kLastFolderBlock + 1});
  return {geometry.rootDirBlock, std::max(end, geometry.rootDirBlock)};
}

LostGround lostGround(const Volume &volume, CheckProgress *progress) {
  LostBlocks lost = lostBlocks(volume, volume.geometry(), progress);
  const std::vector<std::int64_t> tops = topsOf(lost);
  LostGround ground;
  ground.files.reserve(
      std::accumulate(lost.begin(), lost.end(), std::size_t{0}, [](std::size_t count, const auto &entry) {
        return count + entry.second.files.size();
      }));
  auto top = tops.begin();
  while (!lost.empty()) { // each is let go as soon as it is taken over: there may be ten thousands
    const auto node = lost.extract(lost.begin());
    LostBlock &folder = node.mapped();
    ground.files.insert(ground.files.end(), folder.files.begin(), folder.files.end());
    ground.blocks.insert(node.key());
    ground.blocks.insert(folder.blocksBelow.begin(), folder.blocksBelow.end());
    if (top == tops.end() || *top != node.key()) continue;
    ground.folders.push_back(std::move(folder.folder));
    ++top;
  }
  return ground;
}

bool RecoverFolder::begin(Volume &volume, EMU3Error *error) {
  const std::optional<EntrySpot> spot = spotForLostFolder(volume, block_, name_, inDirectory_, error);
  if (!spot) return false;
  const Dentry entry = dentryForFolder(recoveryRules().storedName(name_), block_);
  return planEntry(volume, NewEntry(inDirectory_, *spot, entry), error);
}

// Bare, the tree may hold what the image does not, such as a new folder name; that is lost here.
bool RecoverFolder::clearOld(Volume &volume, EMU3Error *) {
  volume.countMarks();
  if (!volume.index || !volume.tree.adoptFolder(volume.entries, entry()->place(), inDirectory_))
    volume.followImage();
  recovered_ = folderAt(volume.tree, entry()->place());
  return true;
}

} // namespace tessary
