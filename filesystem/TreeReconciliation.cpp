#include "filesystem/EMU3Filesystem.h"

#include <algorithm>
#include <map>
#include <utility>

namespace tessary {
namespace {

using Place = std::pair<std::int64_t, std::int64_t>;

bool isSameFolder(const EMU3Directory &known, const EMU3Directory &read) {
  return known.entryId() == read.entryId() && known.blockList() == read.blockList() &&
         known.storedName() == read.storedName();
}

// Keeps from `known` what `read` still holds, in the order known, and appends what is new.
template <typename Pointer, typename IsSame>
std::vector<Pointer> reconciled(const std::vector<Pointer> &known, const std::vector<Pointer> &read,
                                const IsSame &isSame) {
  std::map<Place, Pointer> readAt;
  for (const Pointer &item : read)
    readAt.emplace(Place(item->dentryBlock(), item->dentryOffset()), item);
  std::vector<Pointer> result;
  for (const Pointer &item : known) {
    const auto found = readAt.find({item->dentryBlock(), item->dentryOffset()});
    if (found == readAt.end() || !isSame(item, found->second)) continue;
    result.push_back(item);
    readAt.erase(found);
  }
  for (const Pointer &item : read) {
    if (readAt.contains({item->dentryBlock(), item->dentryOffset()})) result.push_back(item);
  }
  return result;
}

} // namespace

// Another filesystem of the same image has changed it. Files and folders that the image still holds
// stay the objects they are, so whoever refers to them goes on doing so; the rest leaves the tree.
void EMU3Filesystem::_reconcileTree() {
  _scanAllocationTable();
  const auto isSameFile = [this](const EMU3FilePtr &known, const EMU3FilePtr &read) {
    const EMU3FileFields a = known->fields();
    const EMU3FileFields b = read->fields();
    return a.startCluster == b.startCluster && a.fileSize == b.fileSize && a.entryId == b.entryId &&
           a.rawType == b.rawType && (a.name == b.name || _nameReadBack(a.name) == b.name);
  };
  std::vector<std::pair<EMU3DirectoryPtr, EMU3DirectoryPtr>> pending{{rootDirectory(), _freshRoot()}};
  while (!pending.empty()) {
    const auto [known, read] = std::move(pending.back());
    pending.pop_back();
    known->setFiles(reconciled(known->files(), read->files(), isSameFile));
    // A file deleted and replaced by one of the same name and size looks the same but holds other bytes.
    for (const EMU3FilePtr &file : known->files())
      file->setCachedData(nullptr);
    const std::vector<EMU3DirectoryPtr> below = known->subdirectories();
    const std::vector<EMU3DirectoryPtr> readBelow = read->subdirectories();
    std::vector<EMU3DirectoryPtr> kept =
        reconciled(below, readBelow, [&](const EMU3DirectoryPtr &a, const EMU3DirectoryPtr &b) {
          return isSameFolder(*a, *b);
        });
    for (const EMU3DirectoryPtr &folder : kept) {
      if (std::find(below.begin(), below.end(), folder) == below.end()) {
        folder->setParent(known);
        continue;
      }
      const auto twin = std::find_if(readBelow.begin(), readBelow.end(), [&](const EMU3DirectoryPtr &item) {
        return item->dentryBlock() == folder->dentryBlock() && item->dentryOffset() == folder->dentryOffset();
      });
      pending.emplace_back(folder, *twin);
    }
    known->setSubdirectories(std::move(kept));
  }
}

} // namespace tessary
