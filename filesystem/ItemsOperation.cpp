#include "filesystem/ItemsOperation.h"

#include "filesystem/ChangeGroup.h"
#include "filesystem/FileChanges.h"
#include "filesystem/HostImport.h"

#include <exception>
#include <utility>

namespace tessary {
namespace {

// Of a group, unless one file alone has more: what a slow card takes in about a second.
constexpr std::uint64_t kMostBytes = 8ULL << 20;
constexpr std::size_t kMostItems = 64;

std::uint64_t sizeOfHostFile(const std::string &path) {
  const std::optional<HostFile> file = HostFile::open(path, nullptr);
  return file ? file->size() : 0;
}

bool isForLackOfRoom(const EMU3Error &error) {
  return error.domain == kEngineErrorDomain &&
         (error.code == kErrorOutOfSpace || error.code == kErrorDirectoryFull) &&
         error.message != engineError(EngineError::fileTooLarge).message;
}

} // namespace

ItemsOperation::ItemsOperation(std::shared_ptr<Volume> volume, std::string imagePath)
    : volume_(std::move(volume)), imagePath_(std::move(imagePath)) {}

ItemsOperation::~ItemsOperation() = default;

void ItemsOperation::importFile(const std::string &hostPath, const EMU3DirectoryPtr &toDirectory) {
  add([this, hostPath, toDirectory](
          EMU3Error *error) { return importOf(*volume_, imagePath_, hostPath, toDirectory, error); },
      sizeOfHostFile(hostPath));
}

void ItemsOperation::restoreFile(const std::string &hostPath, const EntryBytes &entry,
                                 const EMU3DirectoryPtr &toDirectory) {
  add(
      [this, hostPath, entry, toDirectory](EMU3Error *error) {
        return restorationOf(*volume_, imagePath_, hostPath, entry, toDirectory, error);
      },
      sizeOfHostFile(hostPath));
}

void ItemsOperation::copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory) {
  add([file, toDirectory](EMU3Error *) { return std::make_unique<CopyFile>(file, toDirectory); },
      file->fileSize());
}

void ItemsOperation::moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                              const EMU3DirectoryPtr &toDirectory) {
  add([this, file, fromDirectory,
       toDirectory](EMU3Error *) { return moveOf(*volume_, file, fromDirectory, toDirectory); },
      volume_->rules().movesEntryAlone() ? 0 : file->fileSize());
}

void ItemsOperation::deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory) {
  add([file, inDirectory](EMU3Error *) { return std::make_unique<DeleteFile>(file, inDirectory); }, 0);
}

void ItemsOperation::add(Maker make, std::uint64_t bytes) {
  items_.push_back({std::move(make), bytes});
  ++progress_.items;
  progress_.bytes += bytes;
}

void ItemsOperation::run(const ItemsWatcher &watcher) {
  bool goesOn = true;
  while (goesOn && next_ < items_.size()) {
    std::vector<InHand> group = takeGroup();
    goesOn = doGroup(&group, watcher);
    tell(group, watcher);
  }
}

// Host files are read here, before the image is taken hold of.
std::vector<ItemsOperation::InHand> ItemsOperation::takeGroup() {
  std::vector<InHand> group;
  std::uint64_t bytes = 0;
  while (next_ < items_.size() && group.size() < kMostItems &&
         (group.empty() || bytes + items_[next_].bytes <= kMostBytes)) {
    Item &item = items_[next_];
    InHand taken{{next_, std::nullopt, nullptr}, nullptr, item.bytes};
    EMU3Error error;
    taken.change = item.make(&error);
    if (!taken.change) taken.end.error = std::move(error);
    item.make = nullptr;
    bytes += item.bytes;
    group.push_back(std::move(taken));
    ++next_;
  }
  return group;
}

// What there is no room for may have it when the others of the group are done: these may make some. False
// when it was stopped; what was not begun has left the group then.
bool ItemsOperation::doGroup(std::vector<InHand> *group, const ItemsWatcher &watcher) const {
  ChangeGroup changes(*volume_, imagePath_);
  std::vector<InHand *> begun;
  std::size_t taken = 0;
  for (InHand &item : *group) {
    if (watcher.isToStop && watcher.isToStop()) break;
    ++taken;
    if (watcher.began) watcher.began(item.end.item);
    if (!item.change) continue;
    EMU3Error error;
    bool isBegun = changes.begin(*item.change, &error);
    if (!isBegun && changes.size() > 0 && isForLackOfRoom(error)) {
      complete(&changes, &begun);
      isBegun = changes.begin(*item.change, &error);
    }
    if (!isBegun) item.end.error = std::move(error);
    if (changes.size() > begun.size()) begun.push_back(&item); // bare, it is done already
  }
  complete(&changes, &begun);
  const bool isWhole = taken == group->size();
  group->erase(group->begin() + static_cast<std::ptrdiff_t>(taken), group->end());
  return isWhole;
}

void ItemsOperation::complete(ChangeGroup *changes, std::vector<InHand *> *begun) {
  changes->complete();
  for (std::size_t i = 0; i < begun->size(); ++i)
    (*begun)[i]->end.error = changes->failure(i);
  begun->clear();
}

void ItemsOperation::tell(const std::vector<InHand> &group, const ItemsWatcher &watcher) {
  for (const InHand &item : group) {
    ItemEnd end = item.end;
    if (!end.error) end.file = item.change->file();
    ++progress_.itemsEnded;
    progress_.bytesDone += item.bytes;
    if (watcher.ended) watcher.ended(end);
  }
  if (watcher.progressed) watcher.progressed(progress_);
}

} // namespace tessary
