#include "filesystem/FolderSteps.h"

#include "filesystem/EarlierFiles.h"
#include "filesystem/FolderChanges.h"
#include "filesystem/VolumeRules.h"

#include <cerrno>

namespace tessary {

EMU3DirectoryPtr subfolderNamed(const EMU3Directory &folder, const std::string &name) {
  for (EMU3DirectoryPtr &below : folder.subdirectories())
    if (below->name() == name) return std::move(below);
  return nullptr;
}

// ---- Making

// Says at once that the folder was not made: what goes into it may begin before this step has ended.
bool FolderStep::notMade(const EMU3Error *error) {
  made_->failure = *error;
  return false;
}

bool FolderStep::prepare(EMU3Error *error) {
  if (plan_.failure) fail(error, *plan_.failure);
  return (!plan_.failure && isThere(*to_, error) && readModel(error)) || notMade(error);
}

bool FolderStep::readModel(EMU3Error *error) {
  model_ = plan_.entry;
  if (!plan_.model) return true;
  if (plan_.moved && !mayDeleteFrom(plan_.modelAt, error)) return false;
  Volume &volume = *plan_.modelAt.volume;
  const ReadLock lock(volume.lock);
  if (volume.rules().mayUse(volume, plan_.model->parent(), plan_.model))
    model_ = volume.entries.readEntry(plan_.model->place());
  return model_.has_value() || fail(error, EngineError::entryNotFound);
}

bool FolderStep::begin(StepGroup &group, EMU3Error *error) {
  made_->failure.reset();
  return tryToBegin(group, error) || notMade(error);
}

bool FolderStep::tryToBegin(StepGroup &group, EMU3Error *error) {
  if (!isThere(*to_, error)) return false;
  if (plan_.existing == ExistingFolder::used) made_->folder = subfolderNamed(*to_->folder, nameInEntry());
  if (made_->folder) return true;
  if (!ChangeStep::begin(group, error)) return false;
  made_->folder = change_->folder();
  return true;
}

std::unique_ptr<VolumeChange> FolderStep::makeChange(EMU3Error *) {
  std::unique_ptr<VolumeChange> change =
      model_ ? std::make_unique<CreateFolder>(plan_.name, *model_, to_->folder)
             : std::make_unique<CreateFolder>(plan_.name, to_->folder);
  change_ = change.get();
  return change;
}

// An entry can hold less of a name than was given.
std::string FolderStep::nameInEntry() const {
  return model_ ? plan_.name : nameOnceStored(*at().volume, plan_.name);
}

void FolderStep::ended(const std::optional<EMU3Error> &error, ItemEnd *end) {
  made_->failure = error;
  if (error) keepFolder(plan_.moved);
  if (!error) end->folder = made_->folder;
}

// ---- Deleting what was moved

// A folder in which something was left out stays, which is no failure.
bool EmptiedFolderStep::begin(StepGroup &group, EMU3Error *error) {
  return folder_->kept == MovedFolder::Kept::forLeftOut || ChangeStep::begin(group, error);
}

std::unique_ptr<VolumeChange> EmptiedFolderStep::makeChange(EMU3Error *error) {
  if (folder_->kept == MovedFolder::Kept::no) return std::make_unique<DeleteEmptied>(folder_->folder);
  fail(error, hostError(ENOTEMPTY, folder_->folder->name()));
  return nullptr;
}

void EmptiedFolderStep::ended(const std::optional<EMU3Error> &error, ItemEnd *end) {
  if (error) keepFolder(folder_);
  if (!error) end->folder = made_->folder;
}

} // namespace tessary
