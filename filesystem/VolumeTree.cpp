#include "filesystem/VolumeTree.h"

#include "filesystem/DirectoryBlocks.h"
#include "filesystem/DirectoryEntry.h"
#include "filesystem/DirectorySnapshot.h"
#include "filesystem/FileArena.h"
#include "filesystem/KnownObjects.h"
#include "filesystem/TreeEditor.h"
#include "filesystem/VolumeIndex.h"
#include "filesystem/VolumeRules.h"

#include <algorithm>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tessary {
namespace {

using namespace format;

using BlockSet = std::unordered_set<std::int64_t>;

EMU3DirectoryPtr folderFromDentry(const std::uint8_t *dentry, std::string name, EntryPlace place) {
  auto folder = std::make_shared<EMU3Directory>();
  TreeEditor::setName(*folder, std::move(name));
  TreeEditor::setEntryId(*folder, dentry[kDentryEntryId]);
  TreeEditor::setPlace(*folder, place);
  TreeEditor::setBlockList(*folder, folderBlocks(dentry));
  return folder;
}

// A folder whose reading has begun. The reading goes down into a subfolder at the entry that names it and
// comes back to the entry after it.
struct OpenFolder {
  explicit OpenFolder(EMU3DirectoryPtr opened)
      : directory(std::move(opened)), blockList(directory->blockList()) {}

  EMU3DirectoryPtr directory;
  std::vector<std::int64_t> blockList;
  std::size_t nextBlock = 0;
  std::size_t nextEntry = kDentriesPerBlock; // none left: take the next block
  Block block{};
  std::int64_t blockNumber = 0;
  std::vector<EMU3FilePtr> files;
  std::vector<EMU3DirectoryPtr> subdirectories;
};

/// `read` with what was in the folder before first, in the order that it had.
template <typename Pointer>
std::vector<Pointer> inOrderOf(const std::vector<Pointer> &before, std::vector<Pointer> read) {
  if (before.empty()) return read;
  std::unordered_map<Pointer, std::size_t> ranks;
  for (const Pointer &item : before)
    ranks.emplace(item, ranks.size());
  const auto rankOf = [&](const Pointer &item) {
    const auto rank = ranks.find(item);
    return rank == ranks.end() ? ranks.size() : rank->second;
  };
  std::stable_sort(read.begin(), read.end(),
                   [&](const Pointer &a, const Pointer &b) { return rankOf(a) < rankOf(b); });
  return read;
}

/// Reads folders depth first in on-disk order, with a stack of its own. A damaged volume can name one block
/// in many folders or in a cycle: a block is read by the first folder that reaches it, so the time is linear
/// in the blocks.
class TreeReader final {
public:
  TreeReader(const DirectoryBlocks &blocks, const VolumeRules &rules, BlockSet readBefore = {})
      : blocks_(blocks), rules_(rules), blocksRead_(std::move(readBefore)) {}

  /// Directory blocks that are read are added to this snapshot too.
  void recordIn(DirectorySnapshot *snapshot) { snapshot_ = snapshot; }
  /// An entry that is known gives the object that is known, not a new one.
  void reuse(const KnownObjects *known) { known_ = known; }

  /// Fills the folder, whose block list is known, with all below it.
  void fill(EMU3DirectoryPtr folder) {
    stack_.emplace_back(std::move(folder));
    while (!stack_.empty()) {
      if (stack_.back().nextEntry < kDentriesPerBlock)
        readEntry();
      else if (stack_.back().nextBlock < stack_.back().blockList.size())
        takeNextBlock();
      else
        closeFolder();
    }
  }

  /// Whether a block was passed over because another folder had read it.
  [[nodiscard]] bool metBlockReadBefore() const { return metBlockReadBefore_; }
  /// Whether a block inside the image could not be read.
  [[nodiscard]] bool metUnreadableBlock() const { return metUnreadableBlock_; }

private:
  void takeNextBlock() {
    OpenFolder &folder = stack_.back();
    folder.blockNumber = folder.blockList[folder.nextBlock++];
    if (!blocks_.contains(folder.blockNumber)) return;
    if (!blocksRead_.insert(folder.blockNumber).second) {
      metBlockReadBefore_ = true;
      return;
    }
    const std::optional<Block> block = blocks_.read(folder.blockNumber);
    if (!block) {
      metUnreadableBlock_ = true;
      return;
    }
    if (snapshot_ != nullptr) snapshot_->add(folder.blockNumber, *block);
    folder.block = *block;
    folder.nextEntry = 0;
  }

  void readEntry() {
    OpenFolder &folder = stack_.back();
    const EntryPlace place{folder.blockNumber, static_cast<std::int64_t>(folder.nextEntry)};
    const std::uint8_t *const dentry = folder.block.data() + folder.nextEntry++ * kDentrySize;
    if (dentry[0] == 0) return;
    std::optional<std::string> name = rules_.nameOf(dentry);
    if (!name) return;
    if (isFileDentry(dentry)) {
      EMU3FilePtr file = known_ ? known_->file(place, dentry, folder.directory) : nullptr;
      if (!file) file = arena_.make(fileFieldsOfDentry(dentry, std::move(*name), place));
      folder.files.push_back(std::move(file));
      return;
    }
    EMU3DirectoryPtr below = known_ ? known_->folder(place, dentry, folder.directory) : nullptr;
    if (!below) below = folderFromDentry(dentry, std::move(*name), place);
    folder.subdirectories.push_back(below);
    stack_.emplace_back(std::move(below)); // `folder` and `dentry` are no longer valid
  }

  void closeFolder() {
    OpenFolder &folder = stack_.back();
    const EMU3DirectoryPtr &directory = folder.directory;
    TreeEditor::setFiles(directory, inOrderOf(directory->files(), std::move(folder.files)));
    TreeEditor::setSubdirectories(directory,
                                  inOrderOf(directory->subdirectories(), std::move(folder.subdirectories)));
    stack_.pop_back();
  }

  const DirectoryBlocks &blocks_;
  const VolumeRules &rules_;
  FileArena arena_;
  BlockSet blocksRead_;
  std::vector<OpenFolder> stack_;
  bool metBlockReadBefore_ = false;
  bool metUnreadableBlock_ = false;
  DirectorySnapshot *snapshot_ = nullptr;
  const KnownObjects *known_ = nullptr;
};

} // namespace

bool VolumeTree::read(const DirectoryBlocks &blocks, std::int64_t rootBlock, std::string label,
                      DirectorySnapshot *snapshot) {
  auto root = std::make_shared<EMU3Directory>();
  TreeEditor::setName(*root, std::move(label));
  TreeEditor::setEntryId(*root, kRootEntryId);
  TreeEditor::setBlockList(*root, {rootBlock});
  if (snapshot != nullptr) snapshot->clear();
  TreeReader reader(blocks, rules_);
  reader.recordIn(snapshot);
  reader.fill(root);
  EMU3DirectoryPtr earlier = std::move(root); // released after the lock
  const MutexLock lock(mutex_);
  root_.swap(earlier);
  return !reader.metUnreadableBlock();
}

// Cached contents and bank details are forgotten: a file can hold other bytes though its entry is the same.
bool VolumeTree::readAgain(const DirectoryBlocks &blocks, std::int64_t rootBlock,
                           DirectorySnapshot *snapshot) {
  const EMU3DirectoryPtr top = root();
  const UnchangedObjects known(top, std::exchange(*snapshot, {}));
  TreeEditor::setBlockList(*top, {rootBlock});
  TreeReader reader(blocks, rules_);
  reader.recordIn(snapshot);
  reader.reuse(&known);
  reader.fill(top);
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(top)) {
    for (const EMU3FilePtr &file : folder->files()) {
      TreeEditor::setCachedData(*file, nullptr);
      TreeEditor::setBankDetails(*file, {});
    }
  }
  return !reader.metUnreadableBlock();
}

bool VolumeTree::follow(const DirectoryBlocks &blocks) {
  const EMU3DirectoryPtr top = root();
  const FollowedObjects known(top);
  TreeReader reader(blocks, rules_);
  reader.reuse(&known);
  reader.fill(top);
  return !reader.metUnreadableBlock();
}

EMU3DirectoryPtr VolumeTree::root() const {
  const MutexLock lock(mutex_);
  return root_;
}

bool VolumeTree::contains(const EMU3DirectoryPtr &folder) const {
  const EMU3DirectoryPtr top = root();
  for (EMU3DirectoryPtr inside = folder; inside;) {
    if (inside == top) return true;
    EMU3DirectoryPtr parent = inside->parent();
    if (parent && !parent->containsSubdirectory(inside)) return false;
    inside = std::move(parent);
  }
  return false;
}

bool VolumeTree::contains(const EMU3DirectoryPtr &folder, const EMU3FilePtr &file) const {
  return folder && file->folder() == folder && contains(folder);
}

bool VolumeTree::contains(const EMU3FilePtr &file) const {
  return contains(file->folder());
}

std::unordered_set<std::int64_t> VolumeTree::folderBlocks(const EMU3DirectoryPtr &top) {
  BlockSet found;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(top)) {
    const std::vector<std::int64_t> blocks = folder->blockList();
    found.insert(blocks.begin(), blocks.end());
  }
  return found;
}

void VolumeTree::addFile(const EMU3DirectoryPtr &folder, const EMU3FilePtr &file) {
  TreeEditor::appendFile(folder, file);
  if (index_) index_->fileCame(*file);
}

void VolumeTree::removeFile(const EMU3DirectoryPtr &folder, const EMU3FilePtr &file) {
  if (!folder->containsFile(file)) return;
  TreeEditor::removeFile(folder, file);
  if (index_) index_->fileWent(*file);
}

void VolumeTree::addFolder(const EMU3DirectoryPtr &parent, const EMU3DirectoryPtr &folder) {
  TreeEditor::appendSubdirectory(parent, folder);
  if (!index_) return;
  for (const EMU3DirectoryPtr &inside : directoriesInPreOrder(folder)) {
    index_->folderCame(*inside);
    inside->lookAtFiles([&](const EMU3File &file) { index_->fileCame(file); });
  }
}

void VolumeTree::removeFolder(const EMU3DirectoryPtr &parent, const EMU3DirectoryPtr &folder) {
  if (!parent->containsSubdirectory(folder)) return;
  TreeEditor::removeSubdirectory(parent, folder);
  if (!index_) return;
  for (const EMU3DirectoryPtr &inside : directoriesInPreOrder(folder)) {
    index_->folderWent(*inside);
    inside->lookAtFiles([&](const EMU3File &file) { index_->fileWent(file); });
  }
}

void VolumeTree::setFolderBlocks(const EMU3DirectoryPtr &folder, std::vector<std::int64_t> blocks) {
  if (index_) index_->folderBlocksChanged(folder->blockList(), blocks);
  TreeEditor::setBlockList(*folder, std::move(blocks));
}

void VolumeTree::replaceFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &moved,
                               const EMU3DirectoryPtr &parent) {
  if (const EMU3DirectoryPtr before = folder->parent()) TreeEditor::removeSubdirectory(before, folder);
  std::vector<EMU3FilePtr> files = folder->files();
  std::vector<EMU3DirectoryPtr> below = folder->subdirectories();
  TreeEditor::setFiles(folder, {});
  TreeEditor::setSubdirectories(folder, {});
  TreeEditor::setFiles(moved, std::move(files));
  TreeEditor::setSubdirectories(moved, std::move(below));
  TreeEditor::appendSubdirectory(parent, moved);
  if (index_) index_->folderMoved(folder->place(), moved->place());
}

bool VolumeTree::adoptFolder(const DirectoryBlocks &blocks, EntryPlace place,
                             const EMU3DirectoryPtr &parent) {
  const std::optional<Block> block = blocks.read(place.block);
  if (!block) return false;
  const std::uint8_t *const dentry = block->data() + static_cast<std::size_t>(place.index) * kDentrySize;
  std::optional<std::string> name = rules_.nameOf(dentry);
  if (!name || isFileDentry(dentry)) return false;
  EMU3DirectoryPtr folder = folderFromDentry(dentry, std::move(*name), place);
  TreeReader reader(blocks, rules_, folderBlocks(root()));
  reader.fill(folder);
  if (reader.metBlockReadBefore() || reader.metUnreadableBlock()) return false;
  addFolder(parent, folder);
  return true;
}

} // namespace tessary
