#include "filesystem/FolderChanges.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/EntrySpot.h"
#include "filesystem/FileChanges.h"
#include "filesystem/TreeEditor.h"
#include "filesystem/VolumeRules.h"

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
                  std::vector<BlockRun> *freed) TESSARY_REQUIRES(volume.lock) {
  for (const EMU3FilePtr &file : folder->files()) {
    if (kept.untouched.contains(file->dentryBlock()))
      volume.tree.removeFile(folder, file);
    else if (volume.rules().mayErase(*file))
      static_cast<void>(eraseEntryOf(volume, file, folder, freed, nullptr));
  }
}

// Each folder after everything below it, with a stack of its own: a damaged volume can nest folders as deep
// as it has blocks.
void removeTree(Volume &volume, const EMU3DirectoryPtr &top, const EMU3DirectoryPtr &parent,
                std::vector<BlockRun> *freed) TESSARY_REQUIRES(volume.lock) {
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
    eraseFilesOf(volume, folder, kept, freed);
    const std::vector<EMU3DirectoryPtr> below = folder->subdirectories();
    for (auto next = below.rbegin(); next != below.rend(); ++next)
      pending.push_back({*next, folder});
  }
}

bool isInside(EMU3DirectoryPtr directory, const EMU3DirectoryPtr &folder) {
  while (directory && directory != folder)
    directory = directory->parent();
  return directory != nullptr;
}

} // namespace

// ---- Creating

bool CreateFolder::begin(Volume &volume, EMU3Error *error) {
  const VolumeRules &rules = volume.rules();
  if (!rules.mayUse(volume, inDirectory_)) return fail(error, EngineError::entryNotFound);
  if (!mayGiveName(volume, name_, error)) return false;
  const std::optional<EntrySpot> spot = findSpot(volume, inDirectory_);
  if (!spot) return fail(error, EngineError::parentFull);
  DirectoryBlockWish wish;
  if (spot->growth) wish.except = spot->growth->block;
  const std::optional<std::int64_t> block = rules.findDirectoryBlock(volume, wish);
  if (!block) return fail(error, EngineError::noFreeDirectoryBlock);
  const Dentry dentry = dentryForFolder(rules.storedName(name_), static_cast<std::uint64_t>(*block));
  entry_ = NewEntry(inDirectory_, *spot, dentry);
  if (!volume.entries.clearBlock(*block) || !entry_.plan(volume))
    return fail(error, EngineError::blockWriteFailed);
  created_ = folderObject(rules.nameAfterStoring(name_, dentry.data()), kFolderId, spot->place, {*block});
  volume.tree.addFolder(inDirectory_, created_);
  return true;
}

bool CreateFolder::enter(Volume &volume, EMU3Error *error) {
  if (entry_.write(volume)) return true;
  takeBackEntered(volume);
  return fail(error, EngineError::blockWriteFailed);
}

void CreateFolder::takeBackBegun(Volume &volume) {
  volume.tree.removeFolder(inDirectory_, created_);
  entry_.giveUp(volume);
}

void CreateFolder::takeBackEntered(Volume &volume) {
  volume.tree.removeFolder(inDirectory_, created_);
  entry_.erase(volume);
}

// ---- Renaming

bool RenameFolder::begin(Volume &volume, EMU3Error *error) {
  if (!volume.rules().mayUse(volume, directory_->parent(), directory_))
    return fail(error, EngineError::entryNotFound);
  name_ = RenamedEntry(directory_->place(), newName_, directory_->name());
  return !volume.rules().storesFolderNames() || name_.mayWrite(volume, error);
}

bool RenameFolder::enter(Volume &volume, EMU3Error *error) {
  std::optional<std::string> shown = newName_;
  if (volume.rules().storesFolderNames()) shown = name_.write(volume, error);
  if (shown) TreeEditor::setName(*directory_, *shown);
  return shown.has_value();
}

void RenameFolder::takeBackEntered(Volume &volume) {
  TreeEditor::setName(*directory_, name_.takeBack(volume));
}

// ---- Moving

bool MoveFolder::begin(Volume &volume, EMU3Error *error) {
  const VolumeRules &rules = volume.rules();
  const EMU3DirectoryPtr parent = directory_->parent();
  if (!parent || !rules.mayUse(volume, parent, directory_) || !rules.mayUse(volume, toDirectory_))
    return fail(error, EngineError::entryNotFound);
  if (isInside(toDirectory_, directory_)) return fail(error, EngineError::folderIntoItself);
  staysWhereItIs_ = parent == toDirectory_;
  if (staysWhereItIs_) return true;
  const std::optional<Dentry> entry = volume.entries.readEntry(directory_->place());
  if (!entry) return fail(error, EngineError::entryNotFound);
  const std::optional<EntrySpot> spot = findSpot(volume, toDirectory_);
  if (!spot) return fail(error, EngineError::destinationFull);
  entry_ = NewEntry(toDirectory_, *spot, *entry);
  return entry_.plan(volume) || fail(error, EngineError::blockWriteFailed);
}

bool MoveFolder::enter(Volume &volume, EMU3Error *error) {
  if (staysWhereItIs_ || entry_.write(volume)) return true;
  takeBackEntered(volume);
  return fail(error, EngineError::blockWriteFailed);
}

// What is in the folder stays where it is. Where the old entry cannot be cleared the folder does too.
bool MoveFolder::clearOld(Volume &volume, EMU3Error *error) {
  if (staysWhereItIs_) return true;
  if (!volume.entries.zeroEntry(directory_->place())) {
    takeBackEntered(volume);
    return fail(error, EngineError::blockWriteFailed);
  }
  const EMU3DirectoryPtr moved =
      folderObject(directory_->name(), directory_->entryId(), entry_.place(), directory_->blockList());
  volume.tree.replaceFolder(directory_, moved, toDirectory_);
  return true;
}

void MoveFolder::takeBackBegun(Volume &volume) {
  if (!staysWhereItIs_) entry_.giveUp(volume);
}

void MoveFolder::takeBackEntered(Volume &volume) {
  if (!staysWhereItIs_) entry_.erase(volume);
}

// ---- Deleting

bool DeleteFolder::begin(Volume &volume, EMU3Error *error) {
  return volume.rules().mayUse(volume, fromParent_, directory_) || fail(error, EngineError::entryNotFound);
}

// One entry that cannot be cleared does not keep the others, but the deletion has failed then.
bool DeleteFolder::clearOld(Volume &volume, EMU3Error *error) {
  if (!begin(volume, error)) return false;
  const std::uint64_t faults = volume.image.writeFaults();
  removeTree(volume, directory_, fromParent_, &freed_);
  isComplete_ = volume.image.writeFaults() == faults;
  return true;
}

bool DeleteFolder::freeOld(Volume &volume, EMU3Error *error) {
  const std::uint64_t faults = volume.image.writeFaults();
  for (const BlockRun &run : freed_)
    volume.rules().clearMarks(volume, run);
  if (isComplete_ && volume.image.writeFaults() == faults) return true;
  return fail(error, EngineError::blockWriteFailed);
}

} // namespace tessary
