#pragma once

#include "filesystem/Deletion.h"
#include "filesystem/EntrySpot.h"
#include "filesystem/NewEntryChange.h"
#include "filesystem/VolumeRules.h"
#include "tessary/EMU3Error.h"
#include "tessary/EMU3File.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Changes of files.
namespace tessary {

/// Whether the volume would refuse the file whatever its contents; false with the reason.
[[nodiscard]] bool mayStoreFile(const Volume &volume, const NewFile &file,
                                const EMU3DirectoryPtr &toDirectory, EMU3Error *error)
    TESSARY_REQUIRES_SHARED(volume.lock);
/// What a copy of the file is made of: its contents, read whole, and with `keepsEntry` its entry. None, with
/// the error, where the contents may not be passed on.
[[nodiscard]] std::optional<NewFile> copyOf(const Volume &volume, const EMU3FilePtr &file, bool keepsEntry,
                                            EMU3Error *error) TESSARY_REQUIRES_SHARED(volume.lock);
/// Whether a file of that many bytes would be refused for its size by the rules of the mount.
[[nodiscard]] bool isTooLarge(const Volume &volume, std::uint64_t size);

/// Stores contents as a new file.
class StoreFile : public NewEntryChange {
public:
  StoreFile(NewFile file, EMU3DirectoryPtr toDirectory)
      : file_(std::move(file)), toDirectory_(std::move(toDirectory)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

  [[nodiscard]] EMU3FilePtr file() const override { return stored_; }

protected:
  explicit StoreFile(EMU3DirectoryPtr toDirectory) : toDirectory_(std::move(toDirectory)) {}
  [[nodiscard]] const EMU3DirectoryPtr &toDirectory() const { return toDirectory_; }
  /// Stores this one.
  [[nodiscard]] bool store(Volume &volume, NewFile file, EMU3Error *error) TESSARY_REQUIRES(volume.lock);

private:
  /// A new file's entry; none, with the error, where there is no room.
  [[nodiscard]] std::optional<NewEntry> findRoom(const Volume &volume, EMU3Error *error)
      TESSARY_REQUIRES_SHARED(volume.lock);
  [[nodiscard]] bool writeContents(Volume &volume, NewEntry entry, EMU3Error *error)
      TESSARY_REQUIRES(volume.lock);
  void leaveTree(Volume &volume) TESSARY_REQUIRES(volume.lock) override;
  void freeContents(Volume &volume) TESSARY_REQUIRES(volume.lock) override;

  NewFile file_;
  const EMU3DirectoryPtr toDirectory_;
  NewFilePlace place_;
  EMU3FilePtr stored_;
};

/// Copies a file inside the volume.
class CopyFile final : public StoreFile {
public:
  CopyFile(EMU3FilePtr file, EMU3DirectoryPtr toDirectory)
      : StoreFile(std::move(toDirectory)), source_(std::move(file)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

private:
  const EMU3FilePtr source_;
};

/// Moves a file inside the volume by its entry: contents and slot stay where they are. Nothing changes when
/// it is in the folder already.
class MoveFile final : public NewEntryChange {
public:
  MoveFile(EMU3FilePtr file, EMU3DirectoryPtr fromDirectory, EMU3DirectoryPtr toDirectory)
      : file_(std::move(file)), fromDirectory_(std::move(fromDirectory)),
        toDirectory_(std::move(toDirectory)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool clearOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

  /// The file at its new place, another object; the same where nothing changes.
  [[nodiscard]] EMU3FilePtr file() const override { return moved_; }

private:
  void leaveTree(Volume &volume) TESSARY_REQUIRES(volume.lock) override;

  const EMU3FilePtr file_;
  const EMU3DirectoryPtr fromDirectory_;
  const EMU3DirectoryPtr toDirectory_;
  EMU3FilePtr moved_;
};

/// Deletes files that others have replaced. Those that have left the folder meanwhile are passed over.
class DeleteReplaced final : public Deletion {
public:
  DeleteReplaced(std::vector<EMU3FilePtr> files, EMU3DirectoryPtr inDirectory)
      : files_(std::move(files)), inDirectory_(std::move(inDirectory)) {}

  [[nodiscard]] bool begin(Volume &, EMU3Error *) override { return true; }
  [[nodiscard]] bool clearOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

private:
  const std::vector<EMU3FilePtr> files_;
  const EMU3DirectoryPtr inDirectory_;
};

/// Deletes a file.
class DeleteFile final : public Deletion {
public:
  DeleteFile(EMU3FilePtr file, EMU3DirectoryPtr inDirectory)
      : file_(std::move(file)), inDirectory_(std::move(inDirectory)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool clearOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

private:
  const EMU3FilePtr file_;
  const EMU3DirectoryPtr inDirectory_;
};

/// The bare rules' move: copies the file and deletes the original, at once.
class MoveByCopy final : public VolumeChange {
public:
  MoveByCopy(EMU3FilePtr file, EMU3DirectoryPtr fromDirectory, const EMU3DirectoryPtr &toDirectory)
      : copy_(file, toDirectory), deletion_(std::move(file), std::move(fromDirectory)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  void takeBackBegun(Volume &) override {}
  void takeBackEntered(Volume &) override {}
  [[nodiscard]] EMU3FilePtr file() const override { return copy_.file(); }

private:
  CopyFile copy_;
  DeleteFile deletion_;
};

/// A move as the volume's rules make it.
[[nodiscard]] std::unique_ptr<VolumeChange> moveOf(const Volume &volume, const EMU3FilePtr &file,
                                                   const EMU3DirectoryPtr &fromDirectory,
                                                   const EMU3DirectoryPtr &toDirectory);

class RenameFile final : public VolumeChange {
public:
  RenameFile(EMU3FilePtr file, NewName newName, EMU3DirectoryPtr inDirectory)
      : file_(std::move(file)), newName_(std::move(newName)), inDirectory_(std::move(inDirectory)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool enter(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  void takeBackBegun(Volume &) override {}
  void takeBackEntered(Volume &volume) TESSARY_REQUIRES(volume.lock) override;

private:
  const EMU3FilePtr file_;
  const NewName newName_;
  const EMU3DirectoryPtr inDirectory_;
  RenamedEntry name_;
};

/// Clears a file's entry and takes the file out of its folder, which is known to hold it; appends the fields
/// of the entry to `erased`. False, with the error, when the entry could not be cleared.
[[nodiscard]] bool eraseEntryOf(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                                std::vector<EMU3FileFields> *erased, EMU3Error *error)
    TESSARY_REQUIRES(volume.lock);

} // namespace tessary
