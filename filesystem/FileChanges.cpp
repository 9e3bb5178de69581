#include "filesystem/FileChanges.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/FileReading.h"
#include "filesystem/SpaceAllocation.h"
#include "filesystem/Text.h"
#include "filesystem/TreeEditor.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tessary {

using namespace format;

namespace {

/// Where a new file goes.
struct NewPlace {
  EntryPlace entry;
  std::uint16_t slot = 0;
  std::uint8_t entryId = 0;
};

// A file takes one block at least, also an empty one.
std::uint64_t blocksNeeded(std::uint64_t length) {
  return std::max<std::uint64_t>(length + kBlockSize - 1, kBlockSize) / kBlockSize;
}

// The fields in memory of a file just written. For an empty file they say 1 block, its entry 0.
EMU3FileFields fieldsOfNewFile(const NewFile &file, const NewPlace &place) {
  EMU3FileFields fields;
  fields.name = file.name;
  fields.fileType = file.fileType;
  fields.startCluster = place.slot;
  fields.clusterCount = 1;
  fields.blocksInLastCluster = static_cast<std::uint16_t>(blocksNeeded(file.size));
  const std::uint64_t padded = std::max<std::uint64_t>(file.size + kBlockSize - 1, kBlockSize);
  fields.bytesInLastBlock = static_cast<std::uint16_t>(file.size - (padded & 0xFE00) + kBlockSize);
  fields.fileSize = file.size;
  fields.rawType = kRawTypeBank;
  fields.entryId = place.entryId;
  fields.dentryBlock = place.entry.block;
  fields.dentryOffset = place.entry.index;
  return fields;
}

Dentry dentryOf(const VolumeRules &rules, const NewFile &file, const NewPlace &place) {
  Dentry dentry = dentryForFile(rules.storedName(file.name), place.slot, file.size, place.entryId);
  if (file.wholeName && file.name.size() == kNameSize) {
    std::copy(file.name.begin(), file.name.end(), dentry.begin());
  }
  return dentry;
}

std::optional<NewPlace> findPlace(const Volume &volume, const NewFile &file,
                                  const EMU3DirectoryPtr &inDirectory, EMU3Error *error)
    TESSARY_REQUIRES_SHARED(volume.lock) {
  const auto refused = [&](EngineError reason) {
    fail(error, reason);
    return std::nullopt;
  };
  const std::uint64_t blocks = blocksNeeded(file.size);
  if (blocks > volume.counters.free()) return refused(EngineError::noFreeSpace);
  const std::optional<EntryPlace> entry = findFreeDentry(volume, inDirectory);
  if (!entry) return refused(EngineError::destinationFull);
  const VolumeGeometry geometry = volume.geometry();
  const std::optional<std::uint16_t> slot = volume.rules().slotForNewFile(volume.tree, geometry);
  // The end wraps where the slot is 0; the comparison is one of bytes, and wraps with it.
  if (!slot || volume.image.size() < (geometry.slotStartBlock(*slot) + blocks) * kBlockSize) {
    return refused(EngineError::noFreeSlot);
  }
  return NewPlace{*entry, *slot, nextEntryId(*inDirectory)};
}

// Data first, then the marks of its blocks, the entry last: an entry never names what is not there yet.
bool writeFile(Volume &volume, const NewFile &file, const NewPlace &place, EMU3Error *error)
    TESSARY_REQUIRES(volume.lock) {
  const std::uint64_t firstBlock = volume.geometry().slotStartBlock(place.slot);
  if (!volume.image.writeData(firstBlock, file.data->data(), file.data->size())) {
    return fail(error, EngineError::dataWriteFailed);
  }
  const std::uint64_t faults = volume.image.writeFaults();
  const std::uint64_t usedBefore = volume.counters.used();
  const std::uint64_t freeBefore = volume.counters.free();
  markSlotUsed(volume, place.slot, static_cast<std::uint16_t>(blocksNeeded(file.size)));
  if (volume.image.writeFaults() == faults)
    volume.entries.write(place.entry, dentryOf(volume.rules(), file, place));
  if (volume.image.writeFaults() == faults) return true;
  volume.counters.set(usedBefore, freeBefore);
  return fail(error, EngineError::blockWriteFailed);
}

} // namespace

bool isTooLarge(const Volume &volume, std::uint64_t size) {
  return blocksNeeded(size) > volume.rules().mostBlocksOfAFile();
}

bool mayStoreFile(const Volume &volume, const NewFile &file, const EMU3DirectoryPtr &toDirectory,
                  EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!volume.rules().mayUse(volume.tree, toDirectory)) return fail(error, EngineError::entryNotFound);
  const bool isStoredWhole = file.wholeName && file.name.size() == kNameSize;
  const VolumeRules &rules = volume.rules();
  if (!(isStoredWhole ? rules.mayStoreWholeName(file.name) : rules.mayStoreName(file.name)))
    return fail(error, EngineError::badName);
  if (isTooLarge(volume, file.size)) return fail(error, EngineError::fileTooLarge);
  return true;
}

bool storeFile(Volume &volume, const NewFile &file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  if (!mayStoreFile(volume, file, toDirectory, error)) return false;
  const std::optional<NewPlace> place = findPlace(volume, file, toDirectory, error);
  if (!place || !writeFile(volume, file, *place, error)) return false;
  volume.rules().entryWasTaken(toDirectory, place->entry);
  TreeEditor::appendFile(toDirectory, std::make_shared<EMU3File>(fieldsOfNewFile(file, *place)));
  return true;
}

bool copyFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory,
              EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!mayReadFile(volume, file, error)) return false;
  const ByteBufferPtr data = bytesOfFile(volume, *file);
  // A copy that lacks what could not be read would pass for the whole file, and a move would delete that.
  if (data->size() < contentsOfFile(volume, *file).size()) return fail(error, EngineError::dataWriteFailed);
  return storeFile(volume, {file->name(), file->fileType(), data->size(), data}, toDirectory, error);
}

bool moveFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
              const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!volume.rules().mayUse(volume.tree, fromDirectory, file))
    return fail(error, EngineError::entryNotFound);
  if (fromDirectory == toDirectory) return true;
  return copyFile(volume, file, toDirectory, error) && deleteFile(volume, file, fromDirectory, error);
}

bool deleteFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  if (!volume.rules().mayUse(volume.tree, inDirectory, file)) return fail(error, EngineError::entryNotFound);
  return removeFile(volume, file, inDirectory, error);
}

bool removeFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                EMU3Error *error) {
  const EntryPlace place = file->place();
  if (!volume.entries.contains(place.block)) return fail(error, EngineError::entryNotFound);
  const std::uint64_t faults = volume.image.writeFaults();
  if (!volume.entries.clearEntry(place)) return fail(error, EngineError::blockWriteFailed);
  freeSlot(volume, file->startCluster(), file->blocksInLastCluster());
  TreeEditor::removeFile(inDirectory, file);
  if (volume.image.writeFaults() == faults) return true;
  return fail(error, EngineError::blockWriteFailed);
}

bool renameFile(Volume &volume, const EMU3FilePtr &file, const std::string &newName,
                const EMU3DirectoryPtr &inDirectory, EMU3Error *error) {
  if (volume.isReadOnly()) return fail(error, EngineError::imageIsReadOnly);
  const VolumeRules &rules = volume.rules();
  if (!rules.mayUse(volume.tree, inDirectory, file)) return fail(error, EngineError::entryNotFound);
  if (newName.empty() || utf16Length(newName) > kMaxNameBytes || !rules.mayStoreName(newName)) {
    return fail(error, EngineError::badName);
  }
  const EntryPlace place = file->place();
  if (!volume.entries.contains(place.block)) return fail(error, EngineError::entryNotFound);
  if (!volume.entries.writeName(place, nameFieldForRename(rules.storedName(newName)))) {
    return fail(error, EngineError::blockWriteFailed);
  }
  TreeEditor::setName(*file, newName);
  return true;
}

} // namespace tessary
