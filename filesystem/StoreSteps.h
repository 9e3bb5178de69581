#pragma once

#include "filesystem/ChangeStep.h"
#include "filesystem/HostImport.h"
#include "filesystem/VolumeRules.h"
#include "tessary/EMU3File.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

/// Steps that store a file whose bytes are read before the volume is taken hold of.
namespace tessary {

class StoreStep : public ChangeStep {
public:
  StoreStep(VolumeAt at, VolumeFolder to)
      : ChangeStep(StepKind::storing, std::move(at)), to_(std::move(to)) {}

  [[nodiscard]] bool prepare(EMU3Error *error) final;

protected:
  /// Null as long as it is not made.
  [[nodiscard]] const EMU3DirectoryPtr &folder() const { return to_->folder; }

private:
  [[nodiscard]] virtual std::optional<NewFile> read(EMU3Error *error) = 0;
  [[nodiscard]] std::unique_ptr<VolumeChange> makeChange(EMU3Error *error) final;

  const VolumeFolder to_;
  std::optional<NewFile> file_;
};

class ImportStep final : public StoreStep {
public:
  ImportStep(VolumeAt at, ImportSource source, VolumeFolder to)
      : StoreStep(std::move(at), std::move(to)), source_(std::move(source)) {}

private:
  [[nodiscard]] std::optional<NewFile> read(EMU3Error *error) override;

  const ImportSource source_;
};

/// Brings a deleted file back.
class RestoreStep final : public StoreStep {
public:
  RestoreStep(VolumeAt at, std::string hostPath, const EntryBytes &entry, VolumeFolder to)
      : StoreStep(std::move(at), std::move(to)), hostPath_(std::move(hostPath)), entry_(entry) {}

private:
  [[nodiscard]] std::optional<NewFile> read(EMU3Error *error) override;

  const std::string hostPath_;
  const EntryBytes entry_;
};

/// A file of another volume.
struct ForeignFile {
  VolumeAt at;
  EMU3FilePtr file;
  EMU3DirectoryPtr directory; ///< that holds it and from which a move deletes it; null for a copy
  MovedFolderPtr tree{};      ///< the folder that it is moved with, if any
};

/// Copies or moves a file from another volume.
class BringStep final : public StoreStep {
public:
  BringStep(VolumeAt at, ForeignFile source, VolumeFolder to)
      : StoreStep(std::move(at), std::move(to)), source_(std::move(source)) {}

  void ended(const std::optional<EMU3Error> &error, ItemEnd *end) override;
  [[nodiscard]] std::unique_ptr<ItemStep> rest() override;

private:
  [[nodiscard]] std::optional<NewFile> read(EMU3Error *error) override;

  const ForeignFile source_;
};

} // namespace tessary
