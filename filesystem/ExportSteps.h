#pragma once

#include "banks/BankSamples.h"
#include "filesystem/HostFileGroup.h"
#include "filesystem/ItemStep.h"
#include "filesystem/Volume.h"
#include "tessary/EMU3File.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

/// Steps that write host files.
namespace tessary {

/// The volume that is exported from, and where one command writes its results.
struct ExportFrom {
  std::shared_ptr<Volume> volume;
  std::shared_ptr<ExportTargets> targets;
};

class ExportStep : public ItemStep {
public:
  /// `into` is the folder for a target with a name; null for one with a path.
  ExportStep(ExportFrom from, HostTarget target, HostFolder into)
      : from_(std::move(from)), target_(std::move(target)), into_(std::move(into)) {}

  [[nodiscard]] bool joins(const ItemStep &other) const final;
  [[nodiscard]] std::unique_ptr<StepGroup> startGroup() const final;
  [[nodiscard]] bool begin(StepGroup &group, EMU3Error *error) override;
  void ended(const std::optional<EMU3Error> &error, ItemEnd *end) override;

protected:
  [[nodiscard]] Volume &volume() const { return *from_.volume; }
  [[nodiscard]] std::uint32_t sampleRate() const { return from_.targets->options().sampleRate; }

private:
  [[nodiscard]] virtual bool write(HostFileGroup &group, HostTarget &target, EMU3Error *error) = 0;

  const ExportFrom from_;
  HostTarget target_;
  const HostFolder into_;
};

/// Writes a file's contents.
class ExportFileStep final : public ExportStep {
public:
  ExportFileStep(ExportFrom from, EMU3FilePtr file, HostTarget target, HostFolder into)
      : ExportStep(std::move(from), std::move(target), std::move(into)), file_(std::move(file)) {}

private:
  [[nodiscard]] bool write(HostFileGroup &group, HostTarget &target, EMU3Error *error) override;

  const EMU3FilePtr file_;
};

/// A bank that is read with the first of its samples that is exported, and let go with the last.
class BankToExport final {
public:
  explicit BankToExport(EMU3FilePtr file) : file_(std::move(file)) {}

  [[nodiscard]] const EMU3FilePtr &file() const { return file_; }
  /// Null with the error.
  [[nodiscard]] const SampleBank *read(Volume &volume, EMU3Error *error);

private:
  const EMU3FilePtr file_;
  std::optional<SampleBank> bank_;
};

/// Writes a sample as a WAV file.
class ExportSampleStep final : public ExportStep {
public:
  ExportSampleStep(ExportFrom from, std::shared_ptr<BankToExport> bank, std::uint64_t index,
                   HostTarget target, HostFolder into)
      : ExportStep(std::move(from), std::move(target), std::move(into)), bank_(std::move(bank)),
        index_(index) {}

private:
  [[nodiscard]] bool write(HostFileGroup &group, HostTarget &target, EMU3Error *error) override;

  const std::shared_ptr<BankToExport> bank_;
  const std::uint64_t index_;
};

/// Makes a folder of the host.
class ExportFolderStep final : public ExportStep {
public:
  /// `made` gets the folder's path, or the failure.
  ExportFolderStep(ExportFrom from, HostTarget target, HostFolder into, HostFolder made)
      : ExportStep(std::move(from), std::move(target), std::move(into)), made_(std::move(made)) {}

  [[nodiscard]] bool begin(StepGroup &group, EMU3Error *error) override;

private:
  [[nodiscard]] bool write(HostFileGroup &group, HostTarget &target, EMU3Error *error) override;

  const HostFolder made_;
};

} // namespace tessary
