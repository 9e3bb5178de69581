#include "app/DisplayText.h"
#include "app/history/PresenceSteps.h"
#include "app/history/Whereabouts.h"
#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tessary {
namespace {

/// Trees that are brought back together.
class Return final {
public:
  Return(EMU3Filesystem &filesystem, LastingItems &items, const std::vector<KeptTree> &trees)
      : filesystem_(filesystem), items_(items), trees_(trees), operation_(filesystem.manyItems()) {
    for (std::size_t tree = 0; tree < trees.size(); ++tree) {
      operation_->restoreTree(trees[tree].items, trees[tree].in->object());
      treeOfItem_.resize(operation_->progress().items, tree);
    }
    firstItem_.resize(trees.size());
    for (std::size_t item = treeOfItem_.size(); item > 0; --item)
      firstItem_[treeOfItem_[item - 1]] = item - 1;
    errors_.resize(trees.size());
    itemsLeft_.resize(trees.size());
    for (const std::size_t tree : treeOfItem_)
      ++itemsLeft_[tree];
    made_.resize(treeOfItem_.size());
  }

  void run(WorkProgress &progress) {
    ItemsWatcher watcher = progress.watch(*operation_, [this](std::size_t item) { return nameOfItem(item); });
    watcher.ended = [this](const ItemEnd &end) {
      --itemsLeft_[treeOfItem_[end.item]];
      std::optional<EMU3Error> &error = errors_[treeOfItem_[end.item]];
      if (end.error && !error) error = end.error;
      if (!end.error) made_[end.item] = {end.file, end.folder};
    };
    operation_->run(watcher);
    removeParts();
    for (std::size_t item = 0; item < made_.size(); ++item)
      if (isBack(treeOfItem_[item])) tellSteps(item);
  }
  [[nodiscard]] bool isStopped() const { return isCutShort(*operation_); }
  [[nodiscard]] bool isBack(std::size_t tree) const { return !errors_[tree] && itemsLeft_[tree] == 0; }
  [[nodiscard]] const std::optional<EMU3Error> &errorOf(std::size_t tree) const { return errors_[tree]; }
  [[nodiscard]] EMU3FilePtr fileOf(std::size_t tree) const { return made_[firstItem_[tree]].file; }
  [[nodiscard]] EMU3DirectoryPtr folderOf(std::size_t tree) const { return made_[firstItem_[tree]].folder; }

private:
  struct Made {
    EMU3FilePtr file;
    EMU3DirectoryPtr folder;
  };

  [[nodiscard]] std::string nameOfItem(std::size_t item) const {
    const KeptTree &tree = trees_[treeOfItem_[item]];
    const std::size_t inTree = item - firstItem_[treeOfItem_[item]];
    const LastingFile &file = tree.files[inTree];
    return file ? file->object()->name() : tree.folders[inTree]->object()->name();
  }
  // Deletes again what came back of a folder that did not come back whole; its copies are still there.
  void removeParts() {
    const auto removal = filesystem_.manyItems();
    for (std::size_t tree = 0; tree < trees_.size(); ++tree)
      if (const EMU3DirectoryPtr folder = folderOf(tree); folder && !isBack(tree))
        removal->deleteFolder(folder, folder->parent());
    removal->run({});
  }
  void tellSteps(std::size_t item) {
    const KeptTree &tree = trees_[treeOfItem_[item]];
    const std::size_t inTree = item - firstItem_[treeOfItem_[item]];
    if (const LastingFile &file = tree.files[inTree]) items_.became(file->object(), made_[item].file);
    if (const LastingFolder &folder = tree.folders[inTree])
      items_.became(folder->object(), made_[item].folder);
  }

  EMU3Filesystem &filesystem_;
  LastingItems &items_;
  const std::vector<KeptTree> &trees_;
  const std::unique_ptr<ItemsOperation> operation_;
  std::vector<std::size_t> treeOfItem_;
  std::vector<std::size_t> firstItem_;           ///< of each tree
  std::vector<std::optional<EMU3Error>> errors_; ///< of each tree, the first
  std::vector<std::size_t> itemsLeft_;           ///< of each tree, that have not ended
  std::vector<Made> made_;                       ///< by item
};

void setOutlasting(const std::vector<KeptTree> &trees, bool isOutlasting) {
  for (const KeptTree &tree : trees)
    if (tree.copies) tree.copies->setOutlasting(isOutlasting);
}

} // namespace

StepResult BringBackStep::run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const {
  progress.beginPart(QStringLiteral("Restoring"));
  setOutlasting(trees_, true); // whenever the program ends
  Return back(filesystem, items, trees_);
  back.run(progress);
  setOutlasting(trees_, false);
  StepResult result;
  std::vector<KeptTree> notBack;
  std::vector<KeptTree> restored;
  std::vector<TakeAwayStep::File> files;
  std::vector<TakeAwayStep::Folder> folders;
  for (std::size_t i = 0; i < trees_.size(); ++i) {
    const KeptTree &tree = trees_[i];
    if (const std::optional<EMU3Error> &error = back.errorOf(i)) {
      systemLog("Restore import failed: " + error->description());
      result.failures.push_back(failureIn(filesystem, tree.in->object(), tree.name, *error));
    }
    if (!back.isBack(i)) {
      notBack.push_back(tree);
      continue;
    }
    restored.push_back(tree);
    if (tree.isFolder()) {
      folders.push_back({tree.folders.front(), inventoryOf(back.folderOf(i))});
      result.folder = back.folderOf(i);
      continue;
    }
    files.push_back({tree.files.front(), tree.in});
    // Where they came from several folders, those of the first one are shown.
    if (!result.folder) result.folder = tree.in->object();
    if (result.folder == tree.in->object()) result.files.push_back(back.fileOf(i));
  }
  for (const TakeAwayStep::File &file : files)
    filesystem.populateBankMetadata(file.file->object());
  const std::size_t failed = result.failures.size();
  result.outcome = {.done = fileCountOf(restored), .all = fileCountOf(trees_), .isStopped = back.isStopped()};
  result.status = doneText(QStringLiteral("Restored"), restored, result.outcome);
  if (failed > 0 && !result.outcome.isStopped)
    result.status = QStringLiteral("Restored %1 file(s), %2 failed.")
                        .arg(QString::number(result.outcome.done), QString::number(failed));
  result.failed = failuresTitle(QStringLiteral("Restore"), failed, trees_.size());
  setOutlasting(notBack, true); // the window may be closed before the user is told
  if (!notBack.empty()) result.rest = std::make_shared<BringBackStep>(std::move(notBack));
  if (!restored.empty())
    result.counterpart = std::make_shared<TakeAwayStep>(std::move(files), std::move(folders));
  return result;
}

} // namespace tessary
