#include "filesystem/NewEntryChange.h"

namespace tessary {

bool NewEntryChange::planEntry(Volume &volume, NewEntry entry, EMU3Error *error) {
  if (!entry.plan(volume)) return fail(error, EngineError::blockWriteFailed);
  entry_ = std::move(entry);
  return true;
}

// Where the entry could not be written, nothing leads to the contents.
bool NewEntryChange::enter(Volume &volume, EMU3Error *error) {
  if (!entry_ || entry_->write(volume)) return true;
  takeBackEntered(volume);
  freeContents(volume);
  return fail(error, EngineError::blockWriteFailed);
}

void NewEntryChange::takeBackBegun(Volume &volume) {
  if (!entry_) return;
  leaveTree(volume);
  entry_->giveUp(volume);
  freeContents(volume);
}

// The contents keep their marks: the medium may have the entry.
void NewEntryChange::takeBackEntered(Volume &volume) {
  if (!entry_) return;
  leaveTree(volume);
  entry_->erase(volume);
}

} // namespace tessary
