#include "filesystem/FileChanges.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/FileReading.h"
#include "filesystem/TreeEditor.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tessary {

using namespace format;

namespace {

// Blocks: 512 KiB. Contents so long go to the medium while the next are read. Of shorter ones the host writes
// many together when the barrier comes, in less time than one by one.
constexpr std::uint64_t kWorthAnEarlyFlush = 1024;

} // namespace

bool isTooLarge(const Volume &volume, std::uint64_t size) {
  return blocksNeeded(size) > volume.rules().mostBlocksOfAFile();
}

bool mayStoreFile(const Volume &volume, const NewFile &file, const EMU3DirectoryPtr &toDirectory,
                  EMU3Error *error) {
  const VolumeRules &rules = volume.rules();
  if (!rules.mayUse(volume, toDirectory)) return fail(error, EngineError::entryNotFound);
  if (!file.model && !rules.mayStoreName(file.name)) return fail(error, badName(file.name));
  if (isTooLarge(volume, file.size)) return fail(error, EngineError::fileTooLarge);
  return true;
}

// ---- Storing

bool StoreFile::begin(Volume &volume, EMU3Error *error) {
  if (!mayStoreFile(volume, file_, toDirectory_, error)) return false;
  std::optional<NewEntry> planned = findRoom(volume, error);
  if (!planned || !writeContents(volume, *std::move(planned), error)) return false;
  stored_ = std::make_shared<EMU3File>(volume.rules().fieldsOfNewFile(file_, place_, entry()->dentry()));
  volume.tree.addFile(toDirectory_, stored_);
  return true;
}

bool StoreFile::store(Volume &volume, NewFile file, EMU3Error *error) {
  file_ = std::move(file);
  return StoreFile::begin(volume, error);
}

// All of it is found before anything is written.
std::optional<NewEntry> StoreFile::findRoom(const Volume &volume, EMU3Error *error) {
  const auto refused = [&](EngineError reason) {
    fail(error, reason);
    return std::nullopt;
  };
  const std::uint64_t blocks = blocksNeeded(file_.size);
  if (blocks > volume.counters.free()) return refused(EngineError::noFreeSpace);
  const std::optional<EntrySpot> spot = findSpot(volume, toDirectory_);
  if (!spot) return refused(EngineError::destinationFull);
  const std::optional<std::uint16_t> slot = volume.rules().slotForNewFile(volume, blocks);
  if (!slot) return refused(EngineError::noFreeSlot);
  place_ = {spot->place, *slot, nextEntryId(*toDirectory_)};
  return NewEntry(toDirectory_, *spot, volume.rules().entryOfNewFile(file_, place_));
}

bool StoreFile::writeContents(Volume &volume, NewEntry entry, EMU3Error *error) {
  const std::uint64_t firstBlock = volume.geometry().slotStartBlock(place_.slot);
  if (!volume.image.writeData(firstBlock, file_.data->data(), file_.data->size()))
    return fail(error, EngineError::dataWriteFailed);
  const std::uint64_t blocks = blocksNeeded(file_.size);
  if (blocks >= kWorthAnEarlyFlush) volume.image.startFlush(firstBlock, blocks);
  const std::uint64_t faults = volume.image.writeFaults();
  volume.rules().markNewFile(volume, place_.slot, file_.size);
  if (volume.image.writeFaults() == faults && planEntry(volume, std::move(entry), error)) {
    file_.data = nullptr; // written
    return true;
  }
  freeContents(volume);
  return fail(error, EngineError::blockWriteFailed);
}

void StoreFile::leaveTree(Volume &volume) {
  volume.tree.removeFile(toDirectory_, stored_);
}

void StoreFile::freeContents(Volume &volume) {
  volume.rules().unmarkFailedFile(volume, place_.slot, file_.size);
}

// ---- Copying

std::optional<NewFile> copyOf(const Volume &volume, const EMU3FilePtr &file, bool keepsEntry,
                              EMU3Error *error) {
  if (!mayReadFile(volume, file, error)) return std::nullopt;
  const ByteBufferPtr data = volume.rules().contentsForCopy(volume, *file, error);
  if (!data) return std::nullopt;
  NewFile copy{file->name(), file->fileType(), data->size(), data, std::nullopt};
  if (keepsEntry) {
    copy.model = volume.entries.readEntry(file->place());
    if (!copy.model) {
      fail(error, EngineError::entryNotFound);
      return std::nullopt;
    }
  }
  return copy;
}

bool CopyFile::begin(Volume &volume, EMU3Error *error) {
  const VolumeRules &rules = volume.rules();
  if (!mayReadFile(volume, source_, error)) return false;
  if (!rules.mayUse(volume, toDirectory())) return fail(error, EngineError::entryNotFound);
  std::optional<NewFile> copy = copyOf(volume, source_, rules.copiesKeepTheirEntry(), error);
  return copy && store(volume, *std::move(copy), error);
}

// ---- Moving

bool MoveFile::begin(Volume &volume, EMU3Error *error) {
  const VolumeRules &rules = volume.rules();
  if (!rules.mayUse(volume, fromDirectory_, file_) || !rules.mayUse(volume, toDirectory_))
    return fail(error, EngineError::entryNotFound);
  if (fromDirectory_ == toDirectory_) {
    moved_ = file_;
    return true;
  }
  std::optional<Dentry> entry = volume.entries.readEntry(file_->place());
  if (!entry) return fail(error, EngineError::entryNotFound);
  if (!mayChangeEntry(volume, file_->place(), {.file = file_}, error)) return false;
  const std::optional<EntrySpot> spot = findSpot(volume, toDirectory_);
  if (!spot) return fail(error, EngineError::destinationFull);
  setFileEntryId(*entry, nextEntryId(*toDirectory_));
  if (!planEntry(volume, NewEntry(toDirectory_, *spot, *entry), error)) return false;
  moved_ = std::make_shared<EMU3File>(
      fileFieldsOfDentry(entry->data(), *volume.rules().nameOf(entry->data()), spot->place));
  TreeEditor::setBankDetails(*moved_, file_->bankDetails());
  volume.tree.addFile(toDirectory_, moved_);
  return true;
}

// Where the old entry cannot be cleared, the file stays at its old place. An earlier change of the group may
// have moved it elsewhere.
bool MoveFile::clearOld(Volume &volume, EMU3Error *error) {
  if (!entry()) return true;
  if (!volume.rules().mayUse(volume, fromDirectory_, file_)) {
    takeBackEntered(volume);
    return fail(error, EngineError::entryNotFound);
  }
  if (!volume.entries.clearEntry(file_->place())) {
    takeBackEntered(volume);
    return fail(error, EngineError::blockWriteFailed);
  }
  volume.tree.removeFile(fromDirectory_, file_);
  return true;
}

void MoveFile::leaveTree(Volume &volume) {
  volume.tree.removeFile(toDirectory_, moved_);
}

// ---- Deleting

bool DeleteFile::begin(Volume &volume, EMU3Error *error) {
  if (!volume.rules().mayUse(volume, inDirectory_, file_)) return fail(error, EngineError::entryNotFound);
  return mayChangeEntry(volume, file_->place(), {.file = file_}, error);
}

// An earlier change of the group may have deleted it with its folder.
bool DeleteFile::clearOld(Volume &volume, EMU3Error *error) {
  if (!begin(volume, error)) return false;
  return eraseEntryOf(volume, file_, inDirectory_, erased(), error);
}

bool DeleteReplaced::clearOld(Volume &volume, EMU3Error *error) {
  for (const EMU3FilePtr &file : files_) {
    if (!volume.rules().mayUse(volume, inDirectory_, file)) continue;
    if (!mayChangeEntry(volume, file->place(), {.file = file}, error)) return false;
    if (!eraseEntryOf(volume, file, inDirectory_, erased(), error)) return false;
  }
  return true;
}

bool eraseEntryOf(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                  std::vector<EMU3FileFields> *erased, EMU3Error *error) {
  EMU3FileFields fields = file->fields();
  if (!volume.entries.contains(fields.dentryBlock)) return fail(error, EngineError::entryNotFound);
  if (!volume.entries.clearEntry(file->place())) return fail(error, EngineError::blockWriteFailed);
  volume.tree.removeFile(inDirectory, file);
  erased->push_back(std::move(fields));
  return true;
}

// ---- Moving, by the bare rules

bool MoveByCopy::begin(Volume &volume, EMU3Error *error) {
  return copy_.begin(volume, error) && copy_.enter(volume, error) && deletion_.begin(volume, error) &&
         deletion_.clearOld(volume, error) && deletion_.freeOld(volume, error);
}

std::unique_ptr<VolumeChange> moveOf(const Volume &volume, const EMU3FilePtr &file,
                                     const EMU3DirectoryPtr &fromDirectory,
                                     const EMU3DirectoryPtr &toDirectory) {
  if (volume.rules().movesEntryAlone() || fromDirectory == toDirectory)
    return std::make_unique<MoveFile>(file, fromDirectory, toDirectory);
  return std::make_unique<MoveByCopy>(file, fromDirectory, toDirectory);
}

// ---- Renaming

bool RenameFile::begin(Volume &volume, EMU3Error *error) {
  if (!volume.rules().mayUse(volume, inDirectory_, file_)) return fail(error, EngineError::entryNotFound);
  name_ = RenamedEntry(file_->place(), newName_, file_->name());
  return name_.mayWrite(volume, error) && mayChangeEntry(volume, file_->place(), {.file = file_}, error);
}

bool RenameFile::enter(Volume &volume, EMU3Error *error) {
  const std::optional<std::string> shown = name_.write(volume, error);
  if (shown) TreeEditor::setName(*file_, *shown);
  return shown.has_value();
}

void RenameFile::takeBackEntered(Volume &volume) {
  TreeEditor::setName(*file_, name_.takeBack(volume));
}

} // namespace tessary
