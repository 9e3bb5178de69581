#include "filesystem/FolderChanges.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/FileChanges.h"
#include "filesystem/SpaceAllocation.h"
#include "filesystem/Text.h"
#include "filesystem/TreeEditor.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace tessary {

using namespace format;

namespace {

EMU3DirectoryPtr newFolder(const std::string &name, EntryPlace place, std::int64_t block) {
  auto folder = std::make_shared<EMU3Directory>();
  TreeEditor::setName(*folder, name);
  TreeEditor::setEntryId(*folder, kFolderId);
  TreeEditor::setPlace(*folder, place);
  TreeEditor::setBlockList(*folder, {block});
  return folder;
}

void removeEmptiedDirectory(Volume &volume, const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &parent)
    TESSARY_REQUIRES(volume.lock) {
  for (const std::int64_t block : directory->blockList())
    volume.entries.clearBlock(block);
  volume.entries.zeroEntry(directory->place());
  if (parent) TreeEditor::removeSubdirectory(parent, directory);
}

} // namespace

bool createDirectory(Volume &volume, const std::string &name, const EMU3DirectoryPtr &inDirectory,
                     EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  const VolumeRules &rules = volume.rules();
  if (!rules.mayUse(volume.tree, inDirectory)) return fail(error, EngineError::entryNotFound);
  if (name.empty() || utf16Length(name) > kMaxNameBytes || !rules.mayStoreName(name)) {
    return fail(error, EngineError::badName);
  }
  const std::optional<EntryPlace> place = findFreeDentry(volume, inDirectory);
  if (!place) return fail(error, EngineError::parentFull);
  const std::uint64_t free = findFreeDirectoryBlock(volume);
  if (free == 0) return fail(error, EngineError::noFreeDirectoryBlock);
  const auto block = static_cast<std::int64_t>(free);
  const std::uint64_t faults = volume.image.writeFaults();
  if (!volume.entries.clearBlock(block)) return fail(error, EngineError::blockWriteFailed);
  volume.entries.write(*place, dentryForFolder(rules.storedName(name), free));
  if (volume.image.writeFaults() != faults) return fail(error, EngineError::blockWriteFailed);
  rules.entryWasTaken(inDirectory, *place);
  TreeEditor::appendSubdirectory(inDirectory, newFolder(name, *place, block));
  return true;
}

bool renameDirectory(Volume &volume, const EMU3DirectoryPtr &directory, const std::string &newName,
                     EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!volume.rules().mayUse(volume.tree, directory)) return fail(error, EngineError::entryNotFound);
  TreeEditor::setName(*directory, newName);
  return true;
}

// With a stack of its own: a damaged volume can nest folders as deep as it has blocks.
bool deleteDirectory(Volume &volume, const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &fromParent,
                     EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!volume.rules().mayUse(volume.tree, fromParent, directory)) {
    return fail(error, EngineError::entryNotFound);
  }
  struct Step {
    EMU3DirectoryPtr folder;
    EMU3DirectoryPtr parent;
    bool isEmptied = false;
  };
  const std::uint64_t faults = volume.image.writeFaults();
  std::vector<Step> pending{{directory, fromParent}};
  while (!pending.empty()) {
    Step &step = pending.back();
    if (step.isEmptied) {
      removeEmptiedDirectory(volume, step.folder, step.parent);
      pending.pop_back();
      continue;
    }
    step.isEmptied = true;
    const EMU3DirectoryPtr folder = step.folder;
    for (const EMU3FilePtr &file : folder->files())
      removeFile(volume, file, folder, nullptr); // one that fails does not keep the others
    const std::vector<EMU3DirectoryPtr> below = folder->subdirectories();
    for (auto next = below.rbegin(); next != below.rend(); ++next)
      pending.push_back({*next, folder});
  }
  if (volume.image.writeFaults() == faults) return true;
  return fail(error, EngineError::blockWriteFailed);
}

} // namespace tessary
