#include "filesystem/FolderChanges.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/EntrySpot.h"
#include "filesystem/FileChanges.h"
#include "filesystem/TreeEditor.h"
#include "filesystem/VolumeRules.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace tessary {

using namespace format;

namespace {

EMU3DirectoryPtr folderObject(std::string name, std::uint8_t entryId, EntryPlace place,
                              std::vector<std::int64_t> blocks) {
  auto folder = std::make_shared<EMU3Directory>();
  TreeEditor::setName(*folder, std::move(name));
  TreeEditor::setEntryId(*folder, entryId);
  TreeEditor::setPlace(*folder, place);
  TreeEditor::setBlockList(*folder, std::move(blocks));
  return folder;
}

void removeEmptied(Volume &volume, const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &parent,
                   const BlocksToKeep &kept) TESSARY_REQUIRES(volume.lock) {
  for (const std::int64_t block : folder->blockList()) {
    if (!kept.uncleared.contains(block)) volume.entries.clearBlock(block);
  }
  if (!kept.untouched.contains(folder->dentryBlock())) volume.entries.zeroEntry(folder->place());
  if (parent) volume.tree.removeFolder(parent, folder);
}

// One file that cannot be deleted does not keep the others.
void eraseFilesOf(Volume &volume, const EMU3DirectoryPtr &folder, const BlocksToKeep &kept,
                  std::vector<EMU3FileFields> *erased) TESSARY_REQUIRES(volume.lock) {
  for (const EMU3FilePtr &file : folder->files()) {
    if (kept.untouched.contains(file->dentryBlock()))
      volume.tree.removeFile(folder, file);
    else if (volume.rules().mayErase(*file))
      static_cast<void>(eraseEntryOf(volume, file, folder, erased, nullptr));
  }
}

// Each folder after everything below it, with a stack of its own: a damaged volume can nest folders as deep
// as it has blocks.
void removeTree(Volume &volume, const EMU3DirectoryPtr &top, const EMU3DirectoryPtr &parent,
                std::vector<EMU3FileFields> *erased) TESSARY_REQUIRES(volume.lock) {
  struct Step {
    EMU3DirectoryPtr folder;
    EMU3DirectoryPtr parent;
    bool isEmptied = false;
  };
  const BlocksToKeep kept = volume.rules().blocksToKeep(volume, directoriesInPreOrder(top));
  std::vector<Step> pending{{top, parent}};
  while (!pending.empty()) {
    Step &step = pending.back();
    if (step.isEmptied) {
      removeEmptied(volume, step.folder, step.parent, kept);
      pending.pop_back();
      continue;
    }
    step.isEmptied = true;
    const EMU3DirectoryPtr folder = step.folder;
    eraseFilesOf(volume, folder, kept, erased);
    const std::vector<EMU3DirectoryPtr> below = folder->subdirectories();
    for (auto next = below.rbegin(); next != below.rend(); ++next)
      pending.push_back({*next, folder});
  }
}

// One entry that cannot be cleared does not keep the others. False when there was one.
bool clearTree(Volume &volume, const EMU3DirectoryPtr &top, const EMU3DirectoryPtr &parent,
               std::vector<EMU3FileFields> *erased) TESSARY_REQUIRES(volume.lock) {
  const std::uint64_t faults = volume.image.writeFaults();
  removeTree(volume, top, parent, erased);
  return volume.image.writeFaults() == faults;
}

// From the bottom up, so that nothing is taken out of the tree twice.
void detachTree(Volume &volume, const EMU3DirectoryPtr &top, const EMU3DirectoryPtr &parent)
    TESSARY_REQUIRES(volume.lock) {
  std::vector<EMU3DirectoryPtr> folders = directoriesInPreOrder(top);
  while (!folders.empty()) {
    const EMU3DirectoryPtr folder = std::move(folders.back());
    folders.pop_back();
    for (const EMU3FilePtr &file : folder->files())
      volume.tree.removeFile(folder, file);
    volume.tree.removeFolder(folder == top ? parent : folder->parent(), folder);
  }
}

bool holdsNoFile(const EMU3DirectoryPtr &top) {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(top))
    if (folder->totalFileCount() > 0) return false;
  return true;
}

} // namespace

// ---- Creating

bool CreateFolder::begin(Volume &volume, EMU3Error *error) {
  const VolumeRules &rules = volume.rules();
  if (!rules.mayUse(volume, inDirectory_)) return fail(error, EngineError::entryNotFound);
  if (!model_ && !mayGiveName(volume, name_, error)) return false;
  const std::optional<EntrySpot> spot = findSpot(volume, inDirectory_);
  if (!spot) return fail(error, EngineError::parentFull);
  DirectoryBlockWish wish;
  if (spot->growth) wish.except = spot->growth->block;
  const std::optional<std::int64_t> block = rules.findDirectoryBlock(volume, wish);
  if (!block) return fail(error, EngineError::noFreeDirectoryBlock);
  const Dentry dentry = entryWith(*block, rules);
  if (!volume.entries.clearBlock(*block)) return fail(error, EngineError::blockWriteFailed);
  if (!planEntry(volume, NewEntry(inDirectory_, *spot, dentry), error)) return false;
  created_ = folderObject(rules.nameAfterStoring(name_, dentry.data()), dentry[kDentryEntryId], spot->place,
                          {*block});
  volume.tree.addFolder(inDirectory_, created_);
  return true;
}

Dentry CreateFolder::entryWith(std::int64_t block, const VolumeRules &rules) const {
  const auto number = static_cast<std::uint64_t>(block);
  if (!model_) return dentryForFolder(rules.storedName(name_), number);
  Dentry dentry = dentryForFolder({}, number);
  std::copy_n(model_->begin(), kDentryFolderBlocks, dentry.begin());
  return dentry;
}

// Later changes of the group may have put something into it.
void CreateFolder::leaveTree(Volume &volume) {
  detachTree(volume, created_, inDirectory_);
}

// ---- Renaming

bool RenameFolder::begin(Volume &volume, EMU3Error *error) {
  if (!volume.rules().mayUse(volume, directory_->parent(), directory_))
    return fail(error, EngineError::entryNotFound);
  name_ = RenamedEntry(directory_->place(), newName_, directory_->name());
  if (!volume.rules().storesFolderNames()) return true;
  return name_.mayWrite(volume, error) && mayChangeEntry(volume, directory_->place(), {}, error);
}

bool RenameFolder::enter(Volume &volume, EMU3Error *error) {
  std::optional<std::string> shown;
  if (volume.rules().storesFolderNames())
    shown = name_.write(volume, error);
  else
    shown = newName_.earlier ? nameOfEarlier(volume, *newName_.earlier, error) : newName_.given;
  if (shown) TreeEditor::setName(*directory_, *shown);
  return shown.has_value();
}

void RenameFolder::takeBackEntered(Volume &volume) {
  TreeEditor::setName(*directory_, name_.takeBack(volume));
}

// ---- Moving

bool MoveFolder::mayMove(const Volume &volume, EMU3Error *error) const {
  const VolumeRules &rules = volume.rules();
  const EMU3DirectoryPtr parent = directory_->parent();
  if (!parent || !rules.mayUse(volume, parent, directory_) || !rules.mayUse(volume, toDirectory_))
    return fail(error, EngineError::entryNotFound);
  return !isInside(toDirectory_, directory_) || fail(error, EngineError::folderIntoItself);
}

bool MoveFolder::begin(Volume &volume, EMU3Error *error) {
  if (!mayMove(volume, error)) return false;
  if (directory_->parent() == toDirectory_) {
    moved_ = directory_;
    return true;
  }
  if (!mayChangeEntry(volume, directory_->place(), {}, error)) return false;
  const std::optional<Dentry> entry = volume.entries.readEntry(directory_->place());
  if (!entry) return fail(error, EngineError::entryNotFound);
  const std::optional<EntrySpot> spot = findSpot(volume, toDirectory_);
  if (!spot) return fail(error, EngineError::destinationFull);
  return planEntry(volume, NewEntry(toDirectory_, *spot, *entry), error);
}

// What is in the folder stays in its blocks. Where the old entry cannot be cleared, the folder stays at its
// old place. So it does where an earlier change of the group has made the move impossible: has moved one of
// the two folders elsewhere, or the destination into the folder itself.
bool MoveFolder::clearOld(Volume &volume, EMU3Error *error) {
  if (!entry()) return true;
  if (!mayMove(volume, error)) {
    takeBackEntered(volume);
    return false;
  }
  if (!volume.entries.zeroEntry(directory_->place())) {
    takeBackEntered(volume);
    return fail(error, EngineError::blockWriteFailed);
  }
  moved_ = folderObject(directory_->name(), directory_->entryId(), entry()->place(), directory_->blockList());
  volume.tree.replaceFolder(directory_, moved_, toDirectory_);
  return true;
}

// ---- Deleting

bool DeleteFolder::begin(Volume &volume, EMU3Error *error) {
  if (!volume.rules().mayUse(volume, fromParent_, directory_)) return fail(error, EngineError::entryNotFound);
  return mayChangeEntry(volume, directory_->place(), {.below = directory_}, error);
}

bool DeleteFolder::clearOld(Volume &volume, EMU3Error *error) {
  if (!begin(volume, error)) return false;
  if (!clearTree(volume, directory_, fromParent_, erased())) isIncomplete();
  return true;
}

bool DeleteEmptied::clearOld(Volume &volume, EMU3Error *error) {
  const EMU3DirectoryPtr parent = directory_->parent();
  if (!parent || !volume.rules().mayUse(volume, parent, directory_)) return true;
  if (!holdsNoFile(directory_)) return fail(error, hostError(ENOTEMPTY, directory_->name()));
  if (!mayChangeEntry(volume, directory_->place(), {}, error)) return false;
  if (!clearTree(volume, directory_, parent, erased())) isIncomplete();
  return true;
}

} // namespace tessary
