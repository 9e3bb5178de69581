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
void eraseFilesOf(Volume &volume, const EMU3DirectoryPtr &folder, const BlocksToKeep &kept)
    TESSARY_REQUIRES(volume.lock) {
  for (const EMU3FilePtr &file : folder->files()) {
    if (kept.untouched.contains(file->dentryBlock()))
      volume.tree.removeFile(folder, file);
    else if (volume.rules().mayErase(*file))
      eraseFile(volume, file, folder, nullptr);
  }
}

// Each folder after everything below it, with a stack of its own: a damaged volume can nest folders as deep
// as it has blocks.
void removeTree(Volume &volume, const EMU3DirectoryPtr &top, const EMU3DirectoryPtr &parent)
    TESSARY_REQUIRES(volume.lock) {
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
    eraseFilesOf(volume, folder, kept);
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

EMU3DirectoryPtr createDirectory(Volume &volume, const std::string &name, const EMU3DirectoryPtr &inDirectory,
                                 EMU3Error *error) {
  if (volume.isReadOnly()) return refuse<EMU3Directory>(error, EngineError::imageIsReadOnly);
  const VolumeRules &rules = volume.rules();
  if (!rules.mayUse(volume, inDirectory)) return refuse<EMU3Directory>(error, EngineError::entryNotFound);
  if (!mayGiveName(volume, name, error)) return nullptr;
  const std::optional<EntrySpot> spot = findSpot(volume, inDirectory);
  if (!spot) return refuse<EMU3Directory>(error, EngineError::parentFull);
  DirectoryBlockWish wish;
  if (spot->growth) wish.except = spot->growth->block;
  const std::optional<std::int64_t> block = rules.findDirectoryBlock(volume, wish);
  if (!block) return refuse<EMU3Directory>(error, EngineError::noFreeDirectoryBlock);
  const Dentry dentry = dentryForFolder(rules.storedName(name), static_cast<std::uint64_t>(*block));
  if (!volume.entries.clearBlock(*block) || !writeAtSpot(volume, inDirectory, *spot, dentry)) {
    return refuse<EMU3Directory>(error, EngineError::blockWriteFailed);
  }
  EMU3DirectoryPtr folder =
      folderObject(rules.nameAfterStoring(name, dentry.data()), kFolderId, spot->place, {*block});
  volume.tree.addFolder(inDirectory, folder);
  return folder;
}

bool renameDirectory(Volume &volume, const EMU3DirectoryPtr &directory, const std::string &newName,
                     EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!volume.rules().mayUse(volume, directory->parent(), directory)) {
    return fail(error, EngineError::entryNotFound);
  }
  std::string shown = newName;
  if (volume.rules().storesFolderNames()) {
    std::optional<std::string> stored = renameEntry(volume, directory->place(), newName, error);
    if (!stored) return false;
    shown = *std::move(stored);
  }
  TreeEditor::setName(*directory, std::move(shown));
  return true;
}

// The entry is written at its new place, then the old one cleared; what is in the folder stays where it is.
EMU3DirectoryPtr moveDirectory(Volume &volume, const EMU3DirectoryPtr &directory,
                               const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  if (volume.isReadOnly()) return refuse<EMU3Directory>(error, EngineError::imageIsReadOnly);
  const VolumeRules &rules = volume.rules();
  const EMU3DirectoryPtr parent = directory->parent();
  if (!parent || !rules.mayUse(volume, parent, directory) || !rules.mayUse(volume, toDirectory)) {
    return refuse<EMU3Directory>(error, EngineError::entryNotFound);
  }
  if (isInside(toDirectory, directory)) return refuse<EMU3Directory>(error, EngineError::folderIntoItself);
  if (parent == toDirectory) return directory;
  const std::optional<Dentry> entry = volume.entries.readEntry(directory->place());
  if (!entry) return refuse<EMU3Directory>(error, EngineError::entryNotFound);
  const std::optional<EntrySpot> spot = findSpot(volume, toDirectory);
  if (!spot) return refuse<EMU3Directory>(error, EngineError::destinationFull);
  if (!writeAtSpot(volume, toDirectory, *spot, *entry))
    return refuse<EMU3Directory>(error, EngineError::blockWriteFailed);
  if (!volume.entries.zeroEntry(directory->place())) {
    volume.entries.zeroEntry(spot->place); // the folder stays where it was
    return refuse<EMU3Directory>(error, EngineError::blockWriteFailed);
  }
  EMU3DirectoryPtr moved =
      folderObject(directory->name(), directory->entryId(), spot->place, directory->blockList());
  volume.tree.replaceFolder(directory, moved, toDirectory);
  return moved;
}

bool deleteDirectory(Volume &volume, const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &fromParent,
                     EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!volume.rules().mayUse(volume, fromParent, directory)) {
    return fail(error, EngineError::entryNotFound);
  }
  const std::uint64_t faults = volume.image.writeFaults();
  removeTree(volume, directory, fromParent);
  if (volume.image.writeFaults() == faults) return true;
  return fail(error, EngineError::blockWriteFailed);
}

} // namespace tessary
