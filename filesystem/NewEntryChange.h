#pragma once

#include "filesystem/EntrySpot.h"
#include "filesystem/VolumeChange.h"

#include <optional>
#include <utility>

namespace tessary {

/// A change that writes one new entry: something is stored, made, or goes to another place.
class NewEntryChange : public VolumeChange {
public:
  [[nodiscard]] bool enter(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) final;
  void takeBackBegun(Volume &volume) TESSARY_REQUIRES(volume.lock) final;
  void takeBackEntered(Volume &volume) TESSARY_REQUIRES(volume.lock) final;

protected:
  /// Plans the entry, which the next steps then write. False with the error.
  [[nodiscard]] bool planEntry(Volume &volume, NewEntry entry, EMU3Error *error)
      TESSARY_REQUIRES(volume.lock);
  /// None before it is planned, and where the change needs none.
  [[nodiscard]] const std::optional<NewEntry> &entry() const { return entry_; }

private:
  /// Takes what the entry is of out of the tree again.
  virtual void leaveTree(Volume &) {}
  /// Gives back the room of the contents; only where no entry can lead to them.
  virtual void freeContents(Volume &) {}

  std::optional<NewEntry> entry_;
};

} // namespace tessary
