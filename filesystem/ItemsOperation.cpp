#include "tessary/ItemsOperation.h"

#include "filesystem/FileChanges.h"
#include "filesystem/FolderChanges.h"
#include "filesystem/ItemTrees.h"
#include "filesystem/ItemsWork.h"
#include "filesystem/StoreSteps.h"
#include "filesystem/VolumeRules.h"
#include "tessary/EMU3Filesystem.h"
#include "tessary/HostTree.h"

#include <chrono>
#include <utility>

namespace tessary {
namespace {

constexpr std::size_t kMostItems = 64; // of a group

/// How many bytes a group may have, unless one file alone has more. Other changes of the image wait for a
/// group, so it is to reach the medium in less than a second: begins with what a slow card takes, doubles
/// after a quick group and halves after a slow one.
class GroupSize final {
public:
  [[nodiscard]] std::uint64_t mostBytes() const { return mostBytes_; }
  void begin() { begin_ = std::chrono::steady_clock::now(); }
  void end() {
    constexpr std::chrono::milliseconds quick(200);
    constexpr std::chrono::milliseconds slow(1000);
    const auto time = std::chrono::steady_clock::now() - begin_;
    if (time < quick && mostBytes_ < kMost) mostBytes_ *= 2;
    if (time > slow && mostBytes_ > kFewest) mostBytes_ /= 2;
  }

private:
  static constexpr std::uint64_t kFewest = 8ULL << 20;
  static constexpr std::uint64_t kMost = 32ULL << 20; // they are in memory meanwhile

  std::uint64_t mostBytes_ = kFewest;
  std::chrono::steady_clock::time_point begin_;
};

Item itemOf(const EMU3FilePtr &file) {
  return {.file = file, .bytes = file->fileSize()};
}

Item itemOfHost(const std::string &path) {
  return {.hostPath = path, .bytes = sizeOfHostFile(path)};
}

HostTarget targetAt(const std::string &path) {
  return {.folder = "", .path = path};
}

HostTarget targetIn(const std::string &folder, HostName name) {
  return {.folder = folder, .name = std::move(name)};
}

} // namespace

struct ItemsOperation::Parts {
  explicit Parts(VolumeAt where) : at(std::move(where)) {}

  [[nodiscard]] ExportFrom from() const { return {at.volume, targets}; }
  [[nodiscard]] TreeDestination destination(ExistingFolder existing = ExistingFolder::doubled) const {
    return {at, existing, earlier};
  }
  void addImport(Item item, ImportSource source, const EMU3DirectoryPtr &to);
  void addNewName(const EMU3FilePtr &file, const NewName &name, const EMU3DirectoryPtr &in);
  void addNewName(const EMU3DirectoryPtr &folder, const NewName &name);
  void addSample(const EMU3FilePtr &bank, std::uint64_t index, HostTarget target);
  void tell(std::vector<ItemTurn> *group, const ItemsWatcher &watcher);

  const VolumeAt at;
  const std::shared_ptr<ExportTargets> targets = std::make_shared<ExportTargets>();
  std::shared_ptr<EarlierFiles> earlier; ///< null where files that are there do not matter
  std::weak_ptr<BankToExport> lastBank;  ///< of the sample added last
  ItemsPlan plan;
};

ItemsOperation::ItemsOperation(const VolumeAt &at) : parts_(std::make_unique<Parts>(at)) {}

ItemsOperation::~ItemsOperation() = default;

const Item &ItemsOperation::item(std::size_t number) const {
  return parts_->plan.item(number);
}

const ItemsProgress &ItemsOperation::progress() const {
  return parts_->plan.progress();
}

// ---- Into the volume

void ItemsOperation::setExisting(ExistingFile existing) {
  if (existing != ExistingFile::isKept) parts_->earlier = std::make_shared<EarlierFiles>(existing);
}

void ItemsOperation::setExportOptions(const ExportOptions &options) {
  parts_->targets->setOptions(options);
}

void ItemsOperation::Parts::addImport(Item item, ImportSource source, const EMU3DirectoryPtr &to) {
  planImport(&plan, destination(), std::move(item), std::move(source), folderThatIsThere(to));
}

void ItemsOperation::importFile(const std::string &hostPath, const EMU3DirectoryPtr &to) {
  parts_->addImport(itemOfHost(hostPath), {.hostPath = hostPath}, to);
}

void ItemsOperation::importFileAs(const std::string &name, const std::string &hostPath,
                                  const EMU3DirectoryPtr &to) {
  parts_->addImport(itemOfHost(hostPath), {.hostPath = hostPath, .name = name}, to);
}

void ItemsOperation::importBytes(const std::string &name, ByteBufferPtr bytes, const EMU3DirectoryPtr &to) {
  const std::uint64_t size = bytes->size();
  parts_->addImport({.bytes = size}, {.name = name, .bytes = std::move(bytes)}, to);
}

void ItemsOperation::importFolder(const std::string &hostPath, const EMU3DirectoryPtr &to,
                                  ExistingFolder existing) {
  planImport(&parts_->plan, parts_->destination(existing), hostPath, folderThatIsThere(to));
}

void ItemsOperation::restoreFile(const std::string &hostPath, const EntryBytes &entry,
                                 const EMU3DirectoryPtr &to) {
  parts_->plan.add(itemOfHost(hostPath),
                   std::make_unique<RestoreStep>(parts_->at, hostPath, entry, folderThatIsThere(to)));
}

void ItemsOperation::restoreTree(const StoredTree &tree, const EMU3DirectoryPtr &to) {
  planRestoration(&parts_->plan, parts_->at, tree, folderThatIsThere(to));
}

VolumeAt ItemsOperation::placeOf(const EMU3FilesystemPtr &source) const {
  return source ? source->at() : parts_->at;
}

void ItemsOperation::copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &to,
                              const EMU3FilesystemPtr &source) {
  parts_->plan.add(itemOf(file),
                   copyStep(parts_->destination(), placeOf(source), file, folderThatIsThere(to)));
}

void ItemsOperation::copyFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &to,
                                ExistingFolder existing, const EMU3FilesystemPtr &source) {
  planCopy(&parts_->plan, parts_->destination(existing), placeOf(source), folder, folderThatIsThere(to));
}

void ItemsOperation::moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &from,
                              const EMU3DirectoryPtr &to, const EMU3FilesystemPtr &source) {
  planMove(&parts_->plan, parts_->destination(), {placeOf(source), file, from}, folderThatIsThere(to),
           std::nullopt);
}

void ItemsOperation::moveFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &to,
                                ExistingFolder existing, const EMU3FilesystemPtr &source) {
  planMove(&parts_->plan, parts_->destination(existing), placeOf(source), folder, to);
}

void ItemsOperation::Parts::addNewName(const EMU3FilePtr &file, const NewName &name,
                                       const EMU3DirectoryPtr &in) {
  plan.add({.file = file}, std::make_unique<SimpleStep>(StepKind::renaming, at, [=](EMU3Error *) {
             return std::make_unique<RenameFile>(file, name, in);
           }));
}

void ItemsOperation::Parts::addNewName(const EMU3DirectoryPtr &folder, const NewName &name) {
  plan.add({.folder = folder, .isFolder = true},
           std::make_unique<SimpleStep>(StepKind::renaming, at, [=](EMU3Error *) {
             return std::make_unique<RenameFolder>(folder, name);
           }));
}

void ItemsOperation::renameFile(const EMU3FilePtr &file, const std::string &name,
                                const EMU3DirectoryPtr &in) {
  parts_->addNewName(file, {.given = name}, in);
}

void ItemsOperation::renameFolder(const EMU3DirectoryPtr &folder, const std::string &name) {
  parts_->addNewName(folder, {.given = name});
}

void ItemsOperation::restoreName(const EMU3FilePtr &file, const EntryBytes &earlier,
                                 const EMU3DirectoryPtr &in) {
  parts_->addNewName(file, {.earlier = earlier}, in);
}

void ItemsOperation::restoreName(const EMU3DirectoryPtr &folder, const EntryBytes &earlier) {
  parts_->addNewName(folder, {.earlier = earlier});
}

void ItemsOperation::deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &from) {
  Item item = itemOf(file);
  item.bytes = 0;
  parts_->plan.add(std::move(item),
                   std::make_unique<SimpleStep>(StepKind::deleting, parts_->at, [file, from](EMU3Error *) {
                     return std::make_unique<DeleteFile>(file, from);
                   }));
}

void ItemsOperation::deleteFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &from) {
  parts_->plan.add({.folder = folder, .isFolder = true},
                   std::make_unique<SimpleStep>(StepKind::deleting, parts_->at, [folder, from](EMU3Error *) {
                     return std::make_unique<DeleteFolder>(folder, from);
                   }));
}

// ---- Out of the volume

void ItemsOperation::exportFile(const EMU3FilePtr &file, const std::string &hostPath) {
  parts_->plan.add(itemOf(file),
                   std::make_unique<ExportFileStep>(parts_->from(), file, targetAt(hostPath), nullptr));
}

void ItemsOperation::exportFileInto(const EMU3FilePtr &file, const std::string &hostFolder) {
  HostTarget target = targetIn(hostFolder, exportedFileName(file->name()));
  parts_->plan.add(itemOf(file),
                   std::make_unique<ExportFileStep>(parts_->from(), file, std::move(target), nullptr));
}

void ItemsOperation::exportFolderInto(const EMU3DirectoryPtr &folder, const std::string &hostFolder,
                                      const ExistingOnHost &existing) {
  planExport(&parts_->plan, parts_->from(), folder, folderThatIsThere(hostFolder), existing);
}

void ItemsOperation::exportSample(const EMU3FilePtr &bank, std::uint64_t index, const std::string &hostPath) {
  parts_->addSample(bank, index, targetAt(hostPath));
}

void ItemsOperation::exportSampleInto(const EMU3FilePtr &bank, std::uint64_t index, const std::string &name,
                                      const std::string &hostFolder) {
  parts_->addSample(bank, index, targetIn(hostFolder, exportedSampleName(bank->name(), name)));
}

// A bank is read with the first of its samples, so its bytes count as those of that sample's item.
void ItemsOperation::Parts::addSample(const EMU3FilePtr &bank, std::uint64_t index, HostTarget target) {
  Item item{.file = bank};
  std::shared_ptr<BankToExport> toExport = lastBank.lock();
  if (!toExport || toExport->file() != bank) {
    toExport = std::make_shared<BankToExport>(bank);
    lastBank = toExport;
    item.bytes = bank->fileSize();
  }
  target.failure = EngineError::sampleWriteFailed;
  plan.add(std::move(item), std::make_unique<ExportSampleStep>(from(), std::move(toExport), index,
                                                               std::move(target), nullptr));
}

// ---- Doing it

void ItemsOperation::run(const ItemsWatcher &watcher) {
  bool goesOn = true;
  GroupSize size;
  while (goesOn && !parts_->plan.isDone()) {
    std::vector<ItemTurn> group = parts_->plan.takeGroup(kMostItems, size.mostBytes());
    size.begin();
    goesOn = doTogether(&group, watcher);
    size.end();
    parts_->tell(&group, watcher);
  }
}

void ItemsOperation::Parts::tell(std::vector<ItemTurn> *group, const ItemsWatcher &watcher) {
  for (ItemTurn &turn : *group) {
    if (!plan.isItemOver(turn)) continue;
    turn.end.error = std::move(turn.error);
    if (watcher.ended) watcher.ended(turn.end);
  }
  if (watcher.progressed) watcher.progressed(plan.progress());
}

} // namespace tessary
