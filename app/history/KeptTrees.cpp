#include "app/history/KeptTrees.h"

#include "app/DisplayText.h"
#include "tessary/ItemsOperation.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <utility>

namespace tessary {
namespace {

bool isIncomplete(const EMU3Error &error) {
  return error.description() == engineError(EngineError::contentsIncomplete).description();
}

bool isLackOfRoom(const EMU3Error &error) {
  return error.domain == kHostErrorDomain && (error.code == ENOSPC || error.code == EDQUOT);
}

template <typename OnFile> void forEachFile(const ItemsToDelete &toDelete, const OnFile &onFile) {
  for (const PlacedFile &placed : toDelete.files)
    onFile(placed.file);
  for (const EMU3DirectoryPtr &top : toDelete.folders)
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(top))
      for (const EMU3FilePtr &file : folder->allFiles())
        onFile(file);
}

std::uint64_t bytesOf(const ItemsToDelete &toDelete) {
  std::uint64_t bytes = 0;
  forEachFile(toDelete, [&](const EMU3FilePtr &file) { bytes += file->fileSize(); });
  return bytes;
}

std::vector<ItemFailure> failuresOfAll(const ItemsToDelete &toDelete, const EMU3Error &error) {
  std::vector<ItemFailure> failures;
  for (const PlacedFile &placed : toDelete.files)
    failures.push_back(ItemFailure::of(placed.file->name(), error));
  for (const EMU3DirectoryPtr &folder : toDelete.folders)
    failures.push_back(ItemFailure::of(folder->name(), error));
  return failures;
}

/// The copying of what is to be deleted: the contents of all files of its trees lie side by side.
class Copying final {
public:
  Copying(EMU3Filesystem &filesystem, LastingItems &items, std::shared_ptr<const UndoCopies> copies)
      : filesystem_(filesystem), items_(items), copies_(std::move(copies)),
        operation_(filesystem.manyItems()) {}

  void add(const PlacedFile &placed) {
    Tree tree{.name = placed.file->name(), .in = placed.folder};
    if (const std::optional<EntryBytes> entry = filesystem_.entryOfFile(placed.file, &tree.error))
      tree.entries.push_back({.file = placed.file, .entry = *entry});
    add(std::move(tree));
  }
  void add(const EMU3DirectoryPtr &folder) {
    Tree tree{.name = folder->name(), .in = folder->parent()};
    tree.entries = filesystem_.entriesOfTree(folder, &tree.error);
    add(std::move(tree));
  }
  void run(WorkProgress &progress) {
    ends_.resize(operation_->progress().items);
    ItemsWatcher watcher = progress.watch(*operation_);
    watcher.ended = [this](const ItemEnd &end) {
      ends_[end.item].hostPath = end.hostPath;
      if (end.error) ends_[end.item].error = copies_->copyingFailed(*end.error);
    };
    operation_->run(watcher);
  }
  [[nodiscard]] bool isStopped() const { return isCutShort(*operation_); }
  [[nodiscard]] std::optional<EMU3Error> lackOfRoom() const {
    for (const End &end : ends_)
      if (end.error && isLackOfRoom(*end.error)) return end.error;
    return std::nullopt;
  }
  /// What was added as the `number`-th; none with the error.
  [[nodiscard]] std::optional<KeptTree> tree(std::size_t number, EMU3Error *error) const {
    const Tree &tree = trees_[number];
    if (tree.error.isSet()) {
      fail(error, tree.error);
      return std::nullopt;
    }
    KeptTree kept{.name = tree.name, .in = items_.of(tree.in), .copies = copies_};
    std::size_t copy = tree.firstCopy;
    for (const TreeEntry &entry : tree.entries) {
      const End end = entry.file ? ends_[copy++] : End();
      if (end.error) {
        fail(error, *end.error);
        return std::nullopt;
      }
      kept.items.push_back({entry.folder, entry.entry, end.hostPath});
      kept.files.push_back(entry.file ? items_.of(entry.file) : nullptr);
      kept.folders.push_back(entry.directory ? items_.of(entry.directory) : nullptr);
    }
    return kept;
  }

private:
  struct End {
    std::optional<EMU3Error> error{};
    std::string hostPath{};
  };
  struct Tree {
    std::string name{};
    EMU3DirectoryPtr in{};
    std::vector<TreeEntry> entries{};
    std::size_t firstCopy = 0; ///< item of the operation
    EMU3Error error{};         ///< of reading its entries
  };

  void add(Tree tree) {
    tree.firstCopy = operation_->progress().items;
    for (const TreeEntry &entry : tree.entries)
      if (entry.file) operation_->exportFileInto(entry.file, copies_->folder());
    trees_.push_back(std::move(tree));
  }

  EMU3Filesystem &filesystem_;
  LastingItems &items_;
  const std::shared_ptr<const UndoCopies> copies_;
  const std::unique_ptr<ItemsOperation> operation_;
  std::vector<Tree> trees_;
  std::vector<End> ends_; ///< by item
};

} // namespace

std::size_t KeptTree::fileCount() const {
  return static_cast<std::size_t>(
      std::count_if(files.begin(), files.end(), [](const LastingFile &file) { return file != nullptr; }));
}

std::size_t fileCountOf(const std::vector<KeptTree> &trees) {
  std::size_t files = 0;
  for (const KeptTree &tree : trees)
    files += tree.fileCount();
  return files;
}

QString doneText(const QString &done, const std::vector<KeptTree> &trees, const WorkOutcome &outcome) {
  if (!outcome.isStopped && trees.size() == 1 && trees.front().isFolder())
    return QStringLiteral("%1 folder '%2'.").arg(done, displayText(trees.front().name));
  return outcomeText(done, outcome);
}

std::size_t ItemsToDelete::fileCount() const {
  std::size_t count = 0;
  forEachFile(*this, [&](const EMU3FilePtr &) { ++count; });
  return count;
}

Keeping keep(EMU3Filesystem &filesystem, LastingItems &items, const ItemsToDelete &toDelete,
             WorkProgress &progress) {
  Keeping keeping;
  if (toDelete.count() == 0) return keeping;
  EMU3Error error;
  std::shared_ptr<const UndoCopies> copies = UndoCopies::make(bytesOf(toDelete), &error);
  if (!copies) {
    keeping.failures = failuresOfAll(toDelete, error);
    return keeping;
  }
  Copying copying(filesystem, items, std::move(copies));
  for (const PlacedFile &placed : toDelete.files)
    copying.add(placed);
  for (const EMU3DirectoryPtr &folder : toDelete.folders)
    copying.add(folder);
  copying.run(progress);
  keeping.isStopped = copying.isStopped();
  if (keeping.isStopped) return keeping;
  if (const std::optional<EMU3Error> lack = copying.lackOfRoom()) {
    keeping.failures = failuresOfAll(toDelete, *lack);
    return keeping;
  }
  std::size_t number = 0;
  /// Whether the next of those can be deleted.
  const auto isKept = [&](const std::string &name, const auto &onIncomplete) {
    std::optional<KeptTree> tree = copying.tree(number++, &error);
    const bool isThere = tree.has_value();
    if (isThere)
      keeping.trees.push_back(*std::move(tree));
    else if (isIncomplete(error))
      onIncomplete();
    else
      keeping.failures.push_back(ItemFailure::of(name, error));
    return isThere;
  };
  for (const PlacedFile &placed : toDelete.files)
    if (isKept(placed.file->name(), [&] { keeping.incompleteFiles.push_back(placed); }))
      keeping.toDelete.files.push_back(placed);
  for (const EMU3DirectoryPtr &folder : toDelete.folders)
    if (isKept(folder->name(), [&] { keeping.incompleteFolders.push_back(folder); }))
      keeping.toDelete.folders.push_back(folder);
  return keeping;
}

} // namespace tessary
