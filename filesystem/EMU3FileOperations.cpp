#include "filesystem/DeletedEntries.h"
#include "filesystem/EMU3Filesystem.h"
#include "filesystem/HostFile.h"
#include "filesystem/Text.h"

#include <algorithm>
#include <array>
#include <limits>
#include <shared_mutex>
#include <utility>

namespace tessary {
namespace {

using namespace format;

// A file takes one block at least, also an empty one.
std::uint64_t blocksNeeded(std::uint64_t length) {
  return std::max<std::uint64_t>(length + kBlockSize - 1, kBlockSize) / kBlockSize;
}

// The fields in memory of a file just written. For an empty file they say 1 block, its entry 0.
EMU3FileFields fieldsOfNewFile(std::uint64_t length, std::uint16_t slot, std::uint8_t entryId) {
  EMU3FileFields fields;
  fields.startCluster = slot;
  fields.clusterCount = 1;
  fields.blocksInLastCluster = static_cast<std::uint16_t>(blocksNeeded(length));
  const std::uint64_t padded = std::max<std::uint64_t>(length + kBlockSize - 1, kBlockSize);
  fields.bytesInLastBlock = static_cast<std::uint16_t>(length - (padded & 0xFE00) + kBlockSize);
  fields.fileSize = length;
  fields.rawType = kRawTypeBank;
  fields.entryId = entryId;
  return fields;
}

} // namespace

bool EMU3Filesystem::deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                                EMU3Error *error) {
  const Change change(*this);
  return _deleteFile(file, inDirectory, error);
}

bool EMU3Filesystem::copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory,
                              EMU3Error *error) {
  const Change change(*this);
  return _copyFile(file, toDirectory, error);
}

bool EMU3Filesystem::moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                              const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  const Change change(*this);
  return _moveFile(file, fromDirectory, toDirectory, error);
}

bool EMU3Filesystem::renameFile(const EMU3FilePtr &file, const std::string &newName,
                                const EMU3DirectoryPtr &inDirectory, EMU3Error *error) {
  const Change change(*this);
  return _renameFile(file, newName, inDirectory, error);
}

bool EMU3Filesystem::importFileAtURL(const std::string &url, const EMU3DirectoryPtr &toDirectory,
                                     EMU3Error *error) {
  const std::string name = withoutExtension(lastPathComponent(url));
  return _importFile(url, std::string(prefixOfUtf16Units(name, kMaxNameBytes)), false, toDirectory, error);
}

bool EMU3Filesystem::restoreFileAtURL(const std::string &url, const std::string &name,
                                      const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  return _importFile(url, name, true, toDirectory, error);
}

bool EMU3Filesystem::exportFile(const EMU3FilePtr &file, const std::string &toURL, EMU3Error *error) {
  ByteBufferPtr data;
  {
    const std::shared_lock lock(shared_->operationLock);
    if (!_mayReadContents(file, error)) return false;
    data = _bytesOfFile(file);
  }
  return writeHostFileAtomically(toURL, {{data->data(), data->size()}}, error);
}

bool EMU3Filesystem::_deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                                 EMU3Error *error) {
  if (isReadOnly()) return fail(error, _errorCode(kErrorWriteRefused, "Image is read-only"));
  if (isGuarded() && !_holdsFile(inDirectory, file)) {
    return fail(error, _errorCode(kErrorEntryNotFound, "Dentry block not found"));
  }
  return _removeFile(file, inDirectory, error);
}

bool EMU3Filesystem::_removeFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                                 EMU3Error *error) {
  const auto place = static_cast<std::uint64_t>(file->dentryBlock());
  if (!_mutableBlockPtr(place)) return fail(error, _errorCode(kErrorEntryNotFound, "Dentry block not found"));
  const std::uint64_t faults = mapping_->writeFaults();
  if (!mapping_->clearDentry(place, static_cast<std::size_t>(file->dentryOffset()))) {
    return fail(error, _errorCode(kErrorWriteRefused, "Block write failed"));
  }
  _freeSlot(file->startCluster(), file->blocksInLastCluster());
  inDirectory->removeFile(file);
  if (mapping_->writeFaults() == faults) return true;
  return fail(error, _errorCode(kErrorWriteRefused, "Block write failed"));
}

bool EMU3Filesystem::_copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory,
                               EMU3Error *error) {
  if (isReadOnly()) return fail(error, _errorCode(kErrorWriteRefused, "Image is read-only"));
  if (!_mayReadContents(file, error)) return false;
  const ByteBufferPtr data = _bytesOfFile(file);
  // A copy that lacks what could not be read would pass for the whole file, and a move would delete that.
  if (data->size() < _contentsOfFile(file).size()) {
    return fail(error, _errorCode(kErrorWriteRefused, "Data write failed"));
  }
  return _storeFile({file->name(), file->fileType(), data->size(), data}, toDirectory, error);
}

// The host file is read before the lock is taken.
bool EMU3Filesystem::_importFile(const std::string &url, const std::string &name, bool wholeName,
                                 const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  std::uint64_t size = 0;
  if (!hostFileSize(url, &size, error)) return false;
  NewFile file{name, kFileTypeBank, size, nullptr, wholeName};
  if (isGuarded() && !isReadOnly() && blocksNeeded(size) > kMaxFileBlocks) {
    // Refused for its size at the latest, before gigabytes are read for nothing.
    const Change change(*this);
    return _guardsAllow(file, toDirectory, error);
  }
  file.data = readHostFile(url, error);
  if (!file.data) return false;
  file.size = file.data->size();
  const Change change(*this);
  return _storeFile(file, toDirectory, error);
}

bool EMU3Filesystem::_storeFile(const NewFile &file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  if (isReadOnly()) return fail(error, _errorCode(kErrorWriteRefused, "Image is read-only"));
  if (isGuarded() && !_guardsAllow(file, toDirectory, error)) return false;
  const std::optional<NewPlace> place = _findPlace(file, toDirectory, error);
  if (!place || !_writeFile(file, *place, error)) return false;
  if (isGuarded()) forgetDeletedFileAt(*toDirectory, place->dentryBlock, place->dentryOffset);
  EMU3FileFields fields = fieldsOfNewFile(file.size, place->slot, place->entryId);
  fields.name = file.name;
  fields.fileType = file.fileType;
  fields.dentryBlock = place->dentryBlock;
  fields.dentryOffset = place->dentryOffset;
  toDirectory->appendFile(std::make_shared<EMU3File>(std::move(fields)));
  return true;
}

bool EMU3Filesystem::_guardsAllow(const NewFile &file, const EMU3DirectoryPtr &toDirectory,
                                  EMU3Error *error) const {
  if (!_isInTree(toDirectory)) return fail(error, _errorCode(kErrorEntryNotFound, "Dentry block not found"));
  const Dentry dentry = _dentryForNewFile(file, NewPlace{});
  if (!_parseName(dentry.data())) {
    return fail(error, _errorCode(kErrorBadArgument, "Name must be 1–15 characters"));
  }
  if (blocksNeeded(file.size) > kMaxFileBlocks) {
    return fail(error, _errorCode(kErrorOutOfSpace, "File is too large for the volume"));
  }
  return true;
}

std::optional<EMU3Filesystem::NewPlace>
EMU3Filesystem::_findPlace(const NewFile &file, const EMU3DirectoryPtr &inDirectory, EMU3Error *error) const {
  const std::uint64_t blocks = blocksNeeded(file.size);
  NewPlace place;
  if (blocks > freeBlocks_) {
    fail(error, _errorCode(kErrorOutOfSpace, "Not enough free space on image"));
    return std::nullopt;
  }
  if (!_findFreeDentry(inDirectory, &place.dentryBlock, &place.dentryOffset)) {
    fail(error, _errorCode(kErrorDirectoryFull, "Destination directory is full"));
    return std::nullopt;
  }
  const std::optional<std::uint16_t> slot = _allocFileSlot(rootDirectory());
  if (!slot || imageSize() < (_slotStartBlock(*slot) + blocks) * kBlockSize) {
    fail(error, _errorCode(kErrorOutOfSpace, "Image is full (no free slots)"));
    return std::nullopt;
  }
  place.slot = *slot;
  place.entryId = _nextEntryId(inDirectory);
  return place;
}

// Data first, then the marks of its blocks, the entry last: an entry never names what is not there yet.
bool EMU3Filesystem::_writeFile(const NewFile &file, const NewPlace &place, EMU3Error *error) {
  if (!_writeData(*file.data, _slotStartBlock(place.slot))) {
    return fail(error, _errorCode(kErrorWriteRefused, "Data write failed"));
  }
  const std::uint64_t faults = mapping_->writeFaults();
  const std::uint64_t usedBefore = usedBlocks_;
  const std::uint64_t freeBefore = freeBlocks_;
  _markSlotUsed(place.slot, static_cast<std::uint16_t>(blocksNeeded(file.size)));
  if (mapping_->writeFaults() == faults) {
    _writeDentry(_dentryForNewFile(file, place), place.dentryBlock, place.dentryOffset);
  }
  if (mapping_->writeFaults() == faults) return true;
  usedBlocks_ = usedBefore;
  freeBlocks_ = freeBefore;
  return fail(error, _errorCode(kErrorWriteRefused, "Block write failed"));
}

Dentry EMU3Filesystem::_dentryForNewFile(const NewFile &file, const NewPlace &place) const {
  Dentry dentry = _dentryForFile(file.name, place.slot, file.size, place.entryId);
  if (file.wholeName && file.name.size() == kNameSize) {
    std::copy(file.name.begin(), file.name.end(), dentry.begin());
  }
  return dentry;
}

bool EMU3Filesystem::_moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                               const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  if (isReadOnly()) return fail(error, _errorCode(kErrorWriteRefused, "Image is read-only"));
  if (isGuarded() && !_holdsFile(fromDirectory, file)) {
    return fail(error, _errorCode(kErrorEntryNotFound, "Dentry block not found"));
  }
  if (fromDirectory == toDirectory) return true;
  return _copyFile(file, toDirectory, error) && _deleteFile(file, fromDirectory, error);
}

bool EMU3Filesystem::_renameFile(const EMU3FilePtr &file, const std::string &newName,
                                 const EMU3DirectoryPtr &inDirectory, EMU3Error *error) {
  if (isReadOnly()) return fail(error, _errorCode(kErrorWriteRefused, "Image is read-only"));
  if (isGuarded() && !_holdsFile(inDirectory, file)) {
    return fail(error, _errorCode(kErrorEntryNotFound, "Dentry block not found"));
  }
  if (newName.empty() || utf16Length(newName) > kMaxNameBytes || (isGuarded() && !_nameReadBack(newName))) {
    return fail(error, _errorCode(kErrorBadArgument, "Name must be 1–15 characters"));
  }
  const auto place = static_cast<std::uint64_t>(file->dentryBlock());
  if (!_mutableBlockPtr(place)) return fail(error, _errorCode(kErrorEntryNotFound, "Dentry block not found"));
  // No zero byte behind the name here, unlike in a new entry.
  std::array<std::uint8_t, kNameSize> field{};
  field.fill(' ');
  const std::string_view stored = _entryName(newName);
  std::copy(stored.begin(), stored.end(), field.begin());
  if (!mapping_->writeDentryName(place, static_cast<std::size_t>(file->dentryOffset()), field.data())) {
    return fail(error, _errorCode(kErrorWriteRefused, "Block write failed"));
  }
  file->setName(newName);
  return true;
}

} // namespace tessary
