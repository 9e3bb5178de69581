#pragma once

#include "filesystem/EMU3Directory.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/EntrySpot.h"
#include "filesystem/VolumeChange.h"
#include "filesystem/VolumeRules.h"

#include <string>
#include <utility>
#include <vector>

/// Changes of folders.
namespace tessary {

class CreateFolder final : public VolumeChange {
public:
  CreateFolder(std::string name, EMU3DirectoryPtr inDirectory)
      : name_(std::move(name)), inDirectory_(std::move(inDirectory)) {}

  /// Null before the change has begun.
  [[nodiscard]] const EMU3DirectoryPtr &created() const { return created_; }

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool enter(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  void takeBackBegun(Volume &volume) TESSARY_REQUIRES(volume.lock) override;
  void takeBackEntered(Volume &volume) TESSARY_REQUIRES(volume.lock) override;

private:
  const std::string name_;
  const EMU3DirectoryPtr inDirectory_;
  NewEntry entry_;
  EMU3DirectoryPtr created_;
};

/// Bare, renames the folder in the tree alone; the image keeps the old name.
class RenameFolder final : public VolumeChange {
public:
  RenameFolder(EMU3DirectoryPtr directory, std::string newName)
      : directory_(std::move(directory)), newName_(std::move(newName)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool enter(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  void takeBackBegun(Volume &) override {}
  void takeBackEntered(Volume &volume) TESSARY_REQUIRES(volume.lock) override;

private:
  const EMU3DirectoryPtr directory_;
  const std::string newName_;
  RenamedEntry name_;
};

/// Moves a folder with everything in it, by its entry. Nothing changes when it is in `toDirectory` already.
class MoveFolder final : public VolumeChange {
public:
  MoveFolder(EMU3DirectoryPtr directory, EMU3DirectoryPtr toDirectory)
      : directory_(std::move(directory)), toDirectory_(std::move(toDirectory)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool enter(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool clearOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  void takeBackBegun(Volume &volume) TESSARY_REQUIRES(volume.lock) override;
  void takeBackEntered(Volume &volume) TESSARY_REQUIRES(volume.lock) override;

private:
  const EMU3DirectoryPtr directory_;
  const EMU3DirectoryPtr toDirectory_;
  bool staysWhereItIs_ = false;
  NewEntry entry_;
};

/// Deletes a folder with everything in it, each folder after everything below it.
class DeleteFolder final : public VolumeChange {
public:
  DeleteFolder(EMU3DirectoryPtr directory, EMU3DirectoryPtr fromParent)
      : directory_(std::move(directory)), fromParent_(std::move(fromParent)) {}

  [[nodiscard]] bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool clearOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  [[nodiscard]] bool freeOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) override;
  void takeBackBegun(Volume &) override {}
  void takeBackEntered(Volume &) override {}

private:
  const EMU3DirectoryPtr directory_;
  const EMU3DirectoryPtr fromParent_;
  std::vector<BlockRun> freed_;
  bool isComplete_ = true;
};

} // namespace tessary
