#include "filesystem/VolumeIndex.h"

namespace tessary {

void VolumeIndex::build(const VolumeGeometry &geometry, const EMU3DirectoryPtr &root) {
  folders_.clear();
  sharedBlocks_ = 0;
  places_.clear();
  nameBlocks(root->blockList()); // the root has no entry
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root)) {
    if (folder == root) continue;
    nameBlocks(folder->blockList());
    places_.insert(folder->place());
  }
  slots_.build(geometry, root);
}

void VolumeIndex::fileCame(const EMU3File &file) {
  slots_.fileCame(file.entry());
}

void VolumeIndex::fileWent(const EMU3File &file) {
  slots_.fileWent(file.entry());
}

void VolumeIndex::folderCame(const EMU3Directory &folder) {
  places_.insert(folder.place());
  folderBlocksChanged({}, folder.blockList());
}

void VolumeIndex::folderWent(const EMU3Directory &folder) {
  places_.erase(folder.place());
  folderBlocksChanged(folder.blockList(), {});
}

void VolumeIndex::folderMoved(EntryPlace before, EntryPlace after) {
  places_.erase(before);
  places_.insert(after);
}

void VolumeIndex::folderBlocksChanged(const std::vector<std::int64_t> &before,
                                      const std::vector<std::int64_t> &after) {
  nameBlocks(after);
  forgetBlocks(before);
  slots_.folderBlocksCame(after);
  slots_.folderBlocksWent(before);
}

void VolumeIndex::nameBlocks(const std::vector<std::int64_t> &blocks) {
  for (const std::int64_t block : blocks)
    if (++folders_[block] == 2) ++sharedBlocks_;
}

void VolumeIndex::forgetBlocks(const std::vector<std::int64_t> &blocks) {
  for (const std::int64_t block : blocks) {
    const auto entry = folders_.find(block);
    if (entry == folders_.end()) continue;
    if (--entry->second == 1) --sharedBlocks_;
    if (entry->second == 0) folders_.erase(entry);
  }
}

} // namespace tessary
