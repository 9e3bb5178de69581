#include "filesystem/FileChanges.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/EntrySpot.h"
#include "filesystem/FileReading.h"
#include "filesystem/TreeEditor.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tessary {

using namespace format;

namespace {

/// Where a new file goes, all of it found before anything is written.
struct NewFileSpot {
  EntrySpot entry;
  NewFilePlace place;
};

std::optional<NewFileSpot> findRoom(const Volume &volume, const NewFile &file,
                                    const EMU3DirectoryPtr &inDirectory, EMU3Error *error)
    TESSARY_REQUIRES_SHARED(volume.lock) {
  const auto refused = [&](EngineError reason) {
    fail(error, reason);
    return std::nullopt;
  };
  const std::uint64_t blocks = blocksNeeded(file.size);
  if (blocks > volume.counters.free()) return refused(EngineError::noFreeSpace);
  const std::optional<EntrySpot> spot = findSpot(volume, inDirectory);
  if (!spot) return refused(EngineError::destinationFull);
  const std::optional<std::uint16_t> slot = volume.rules().slotForNewFile(volume, blocks);
  if (!slot) return refused(EngineError::noFreeSlot);
  return NewFileSpot{*spot, {spot->place, *slot, nextEntryId(*inDirectory)}};
}

// Data first, then the marks of its blocks, the entry last: an entry never names what is not there yet.
bool writeFile(Volume &volume, const NewFile &file, const Dentry &dentry, const NewFileSpot &spot,
               const EMU3DirectoryPtr &inDirectory, EMU3Error *error) TESSARY_REQUIRES(volume.lock) {
  const std::uint16_t slot = spot.place.slot;
  const std::uint64_t firstBlock = volume.geometry().slotStartBlock(slot);
  if (!volume.image.writeData(firstBlock, file.data->data(), file.data->size())) {
    return fail(error, EngineError::dataWriteFailed);
  }
  const std::uint64_t faults = volume.image.writeFaults();
  volume.rules().markNewFile(volume, slot, file.size);
  if (volume.image.writeFaults() == faults && writeAtSpot(volume, inDirectory, spot.entry, dentry))
    return true;
  volume.rules().unmarkFailedFile(volume, slot, file.size);
  return fail(error, EngineError::blockWriteFailed);
}

// Contents and slot stay where they are: the entry is written at its new place, then the old one cleared.
EMU3FilePtr moveEntry(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                      const EMU3DirectoryPtr &toDirectory, EMU3Error *error) TESSARY_REQUIRES(volume.lock) {
  std::optional<Dentry> entry = volume.entries.readEntry(file->place());
  if (!entry) return refuse<EMU3File>(error, EngineError::entryNotFound);
  const std::optional<EntrySpot> spot = findSpot(volume, toDirectory);
  if (!spot) return refuse<EMU3File>(error, EngineError::destinationFull);
  setFileEntryId(*entry, nextEntryId(*toDirectory));
  if (!writeAtSpot(volume, toDirectory, *spot, *entry))
    return refuse<EMU3File>(error, EngineError::blockWriteFailed);
  if (!volume.entries.clearEntry(file->place())) {
    volume.entries.zeroEntry(spot->place); // the file stays where it was
    return refuse<EMU3File>(error, EngineError::blockWriteFailed);
  }
  auto moved = std::make_shared<EMU3File>(
      fileFieldsOfDentry(entry->data(), *volume.rules().nameOf(entry->data()), spot->place));
  TreeEditor::setBankDetails(*moved, file->bankDetails());
  volume.tree.removeFile(fromDirectory, file);
  volume.tree.addFile(toDirectory, moved);
  return moved;
}

} // namespace

bool isTooLarge(const Volume &volume, std::uint64_t size) {
  return blocksNeeded(size) > volume.rules().mostBlocksOfAFile();
}

bool mayStoreFile(const Volume &volume, const NewFile &file, const EMU3DirectoryPtr &toDirectory,
                  EMU3Error *error) {
  const VolumeRules &rules = volume.rules();
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!rules.mayUse(volume, toDirectory)) return fail(error, EngineError::entryNotFound);
  if (!file.model && !rules.mayStoreName(file.name)) return fail(error, EngineError::badName);
  if (isTooLarge(volume, file.size)) return fail(error, EngineError::fileTooLarge);
  return true;
}

EMU3FilePtr storeFile(Volume &volume, const NewFile &file, const EMU3DirectoryPtr &toDirectory,
                      EMU3Error *error) {
  if (!mayStoreFile(volume, file, toDirectory, error)) return nullptr;
  const std::optional<NewFileSpot> spot = findRoom(volume, file, toDirectory, error);
  if (!spot) return nullptr;
  const VolumeRules &rules = volume.rules();
  const Dentry dentry = rules.entryOfNewFile(file, spot->place);
  if (!writeFile(volume, file, dentry, *spot, toDirectory, error)) return nullptr;
  auto stored = std::make_shared<EMU3File>(rules.fieldsOfNewFile(file, spot->place, dentry));
  volume.tree.addFile(toDirectory, stored);
  return stored;
}

EMU3FilePtr copyFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory,
                     EMU3Error *error) {
  if (volume.isReadOnly()) return refuse<EMU3File>(error, EngineError::imageIsReadOnly);
  if (!mayReadFile(volume, file, error)) return nullptr;
  if (!volume.rules().mayUse(volume, toDirectory)) return refuse<EMU3File>(error, EngineError::entryNotFound);
  const ByteBufferPtr data = volume.rules().contentsForCopy(volume, *file, error);
  if (!data) return nullptr;
  NewFile copy{file->name(), file->fileType(), data->size(), data, std::nullopt};
  if (volume.rules().copiesKeepTheirEntry()) {
    copy.model = volume.entries.readEntry(file->place());
    if (!copy.model) return refuse<EMU3File>(error, EngineError::entryNotFound);
  }
  return storeFile(volume, copy, toDirectory, error);
}

EMU3FilePtr moveFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                     const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  if (volume.isReadOnly()) return refuse<EMU3File>(error, EngineError::imageIsReadOnly);
  const VolumeRules &rules = volume.rules();
  if (!rules.mayUse(volume, fromDirectory, file) || !rules.mayUse(volume, toDirectory)) {
    return refuse<EMU3File>(error, EngineError::entryNotFound);
  }
  if (fromDirectory == toDirectory) return file;
  if (rules.movesEntryAlone()) return moveEntry(volume, file, fromDirectory, toDirectory, error);
  EMU3FilePtr copy = copyFile(volume, file, toDirectory, error);
  return copy && deleteFile(volume, file, fromDirectory, error) ? copy : nullptr;
}

bool deleteFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!volume.rules().mayUse(volume, inDirectory, file)) return fail(error, EngineError::entryNotFound);
  return eraseFile(volume, file, inDirectory, error);
}

bool eraseFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
               EMU3Error *error) {
  const EMU3FileFields fields = file->fields();
  if (!volume.entries.contains(fields.dentryBlock)) return fail(error, EngineError::entryNotFound);
  const std::uint64_t faults = volume.image.writeFaults();
  if (!volume.entries.clearEntry(file->place())) return fail(error, EngineError::blockWriteFailed);
  volume.tree.removeFile(inDirectory, file);
  volume.rules().clearMarksOf(volume, fields);
  if (volume.image.writeFaults() == faults) return true;
  return fail(error, EngineError::blockWriteFailed);
}

bool renameFile(Volume &volume, const EMU3FilePtr &file, const std::string &newName,
                const EMU3DirectoryPtr &inDirectory, EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!volume.rules().mayUse(volume, inDirectory, file)) return fail(error, EngineError::entryNotFound);
  const std::optional<std::string> shown = renameEntry(volume, file->place(), newName, error);
  if (!shown) return false;
  TreeEditor::setName(*file, *shown);
  return true;
}

} // namespace tessary
