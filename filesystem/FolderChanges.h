#pragma once

#include "filesystem/Deletion.h"
#include "filesystem/EntrySpot.h"
#include "filesystem/NewEntryChange.h"
#include "tessary/EMU3Directory.h"
#include "tessary/EMU3Error.h"

#include <optional>
#include <string>
#include <utility>

/// Changes of folders.
namespace tessary {

class CreateFolder final : public NewEntryChange {
public:
  CreateFolder(std::string name, EMU3DirectoryPtr inDirectory)
      : name_(std::move(name)), inDirectory_(std::move(inDirectory)) {}
  /// As a copy of the folder that has this name and entry: all 16 bytes of the name, and the id, are its own.
  CreateFolder(std::string name, const format::Dentry &model, EMU3DirectoryPtr inDirectory)
      : name_(std::move(name)), model_(model), inDirectory_(std::move(inDirectory)) {}

  [[nodiscard]] EMU3DirectoryPtr folder() const override { return created_; }

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

private:
  [[nodiscard]] format::Dentry entryWith(std::int64_t block, const VolumeRules &rules) const;
  void leaveTree(Volume &volume) TESSARY_REQUIRES(volume.lock) override;

  const std::string name_;
  const std::optional<format::Dentry> model_;
  const EMU3DirectoryPtr inDirectory_;
  EMU3DirectoryPtr created_;
};

/// Bare, renames the folder in the tree alone; the image keeps the old name.
class RenameFolder final : public VolumeChange {
public:
  RenameFolder(EMU3DirectoryPtr directory, NewName newName)
      : directory_(std::move(directory)), newName_(std::move(newName)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool enter(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  void takeBackBegun(Volume &) override {}
  void takeBackEntered(Volume &volume) TESSARY_REQUIRES(volume.lock) override;

private:
  const EMU3DirectoryPtr directory_;
  const NewName newName_;
  RenamedEntry name_;
};

/// Moves a folder with everything in it, by its entry. Nothing changes when it is in `toDirectory` already.
class MoveFolder final : public NewEntryChange {
public:
  MoveFolder(EMU3DirectoryPtr directory, EMU3DirectoryPtr toDirectory)
      : directory_(std::move(directory)), toDirectory_(std::move(toDirectory)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool clearOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

  /// The folder at its new place, another object; the same where nothing changes.
  [[nodiscard]] EMU3DirectoryPtr folder() const override { return moved_; }

private:
  [[nodiscard]] bool mayMove(const Volume &volume, EMU3Error *error) const
      TESSARY_REQUIRES_SHARED(volume.lock);

  const EMU3DirectoryPtr directory_;
  const EMU3DirectoryPtr toDirectory_;
  EMU3DirectoryPtr moved_;
};

/// Deletes a folder with everything in it, each folder after everything below it.
class DeleteFolder final : public Deletion {
public:
  DeleteFolder(EMU3DirectoryPtr directory, EMU3DirectoryPtr fromParent)
      : directory_(std::move(directory)), fromParent_(std::move(fromParent)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool clearOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

private:
  const EMU3DirectoryPtr directory_;
  const EMU3DirectoryPtr fromParent_;
};

/// Deletes what is left of a folder that was moved file by file: it, and all below it, when no file is there
/// any more. A folder that has left the tree meanwhile is gone already.
class DeleteEmptied final : public Deletion {
public:
  explicit DeleteEmptied(EMU3DirectoryPtr directory) : directory_(std::move(directory)) {}

  [[nodiscard]] bool begin(Volume &, EMU3Error *) override { return true; }
  [[nodiscard]] bool clearOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;

private:
  const EMU3DirectoryPtr directory_;
};

} // namespace tessary
