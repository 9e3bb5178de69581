#include "filesystem/ExportSteps.h"

#include "filesystem/FileExport.h"
#include "filesystem/VolumeRules.h"

namespace tessary {

bool ExportStep::joins(const ItemStep &other) const {
  const auto *step = dynamic_cast<const ExportStep *>(&other);
  return step != nullptr && step->from_.volume == from_.volume && step->from_.targets == from_.targets;
}

std::unique_ptr<StepGroup> ExportStep::startGroup() const {
  const auto mode = from_.volume->isTrial() ? HostFileGroup::Mode::trial : HostFileGroup::Mode::writing;
  return std::make_unique<HostFileGroup>(from_.volume->rules(), *from_.targets, mode);
}

bool ExportStep::begin(StepGroup &group, EMU3Error *error) {
  if (into_) {
    if (!isThere(*into_, error)) return false;
    target_.folder = into_->folder;
  }
  return write(dynamic_cast<HostFileGroup &>(group), target_, error);
}

void ExportStep::ended(const std::optional<EMU3Error> &error, ItemEnd *end) {
  if (error) return;
  end->isLeftOut = target_.isLeftOut;
  if (target_.isLeftOut) return;
  end->hostPath = target_.path;
  end->bytes = target_.bytes;
}

bool ExportFileStep::write(HostFileGroup &group, HostTarget &target, EMU3Error *error) {
  const ByteBufferPtr bytes = readForExport(volume(), file_, error);
  return bytes && group.beginFile(target, {{bytes->data(), bytes->size()}}, error);
}

const SampleBank *BankToExport::read(Volume &volume, EMU3Error *error) {
  if (!bank_) bank_ = readSampleBank(volume, file_, error);
  return bank_ ? &*bank_ : nullptr;
}

bool ExportSampleStep::write(HostFileGroup &group, HostTarget &target, EMU3Error *error) {
  const SampleBank *bank = bank_->read(volume(), error);
  if (bank == nullptr) return false;
  const std::optional<WavOfSample> wav = WavOfSample::of(*bank, index_, sampleRate(), error);
  return wav && group.beginFile(target, wav->parts(), error);
}

// Says at once that the folder was not made: what goes into it may begin before this step has ended.
bool ExportFolderStep::begin(StepGroup &group, EMU3Error *error) {
  if (ExportStep::begin(group, error)) return true;
  made_->failure = *error;
  return false;
}

bool ExportFolderStep::write(HostFileGroup &group, HostTarget &target, EMU3Error *error) {
  if (!group.beginFolder(target, error)) return false;
  made_->folder = target.path;
  return true;
}

} // namespace tessary
