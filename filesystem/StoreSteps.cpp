#include "filesystem/StoreSteps.h"

#include "filesystem/FileChanges.h"
#include "filesystem/HostImport.h"
#include "filesystem/UndisturbedReading.h"

namespace tessary {
namespace {

/// What was read of a file to copy it; none where that failed.
struct Copy {
  std::optional<NewFile> file;

  bool operator==(const Copy &other) const {
    if (!file || !other.file) return file.has_value() == other.file.has_value();
    return file->model == other.file->model && *file->data == *other.file->data;
  }
};

} // namespace

bool StoreStep::prepare(EMU3Error *error) {
  if (!isThere(*to_, error)) return false;
  lookForEarlier();
  if (isLeftOut()) return true;
  file_ = read(error);
  return file_.has_value();
}

std::unique_ptr<VolumeChange> StoreStep::makeChange(EMU3Error *error) {
  if (!isThere(*to_, error)) return nullptr;
  return std::make_unique<StoreFile>(*file_, folder());
}

std::optional<NewFile> ImportStep::read(EMU3Error *error) {
  return readForImport(*at().volume, at().imagePath, source_, folder(), error);
}

std::optional<NewFile> RestoreStep::read(EMU3Error *error) {
  return readForRestoration(*at().volume, at().imagePath, hostPath_, entry_, folder(), error);
}

std::optional<NewFile> BringStep::read(EMU3Error *error) {
  if (source_.directory && !mayDeleteFrom(source_.at, error)) return std::nullopt;
  const bool keepsEntry = at().volume->rules().copiesKeepTheirEntry();
  Volume &from = *source_.at.volume;
  return readUndisturbed(from, source_.file, error,
                         [&] {
                           from.lock.assertHeldShared();
                           return Copy{copyOf(from, source_.file, keepsEntry, error)};
                         })
      .value_or(Copy{})
      .file;
}

void BringStep::ended(const std::optional<EMU3Error> &error, ItemEnd *end) {
  if (error) keepFolder(source_.tree);
  if (isLeftOut()) keepFolder(source_.tree, MovedFolder::Kept::forLeftOut);
  StoreStep::ended(error, end);
}

std::unique_ptr<ItemStep> BringStep::rest() {
  if (isLeftOut()) return nullptr;
  std::unique_ptr<ItemStep> replacing = StoreStep::rest();
  if (!source_.directory) return replacing;
  auto moving = std::make_unique<SimpleStep>(
      StepKind::deleting, source_.at,
      [source = source_](EMU3Error *) { return std::make_unique<DeleteFile>(source.file, source.directory); },
      source_.tree);
  moving->setNext(std::move(replacing));
  return moving;
}

} // namespace tessary
