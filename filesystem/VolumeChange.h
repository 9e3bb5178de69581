#pragma once

#include "filesystem/Volume.h"
#include "tessary/EMU3Error.h"

namespace tessary {

/// One change of a volume, in the four steps that reach the medium one after another, so that a power cut at
/// any moment loses nothing: between two of them a `ChangeGroup` waits for the medium. Each step changes the
/// image and the tree.
///
/// A step returns false, with the error, when it fails; the change is over then, and what it had done is
/// taken back as far as it may be. Steps that a change does not need succeed without doing anything.
class VolumeChange {
public:
  VolumeChange() = default;
  virtual ~VolumeChange() = default;
  VolumeChange(const VolumeChange &) = delete;
  VolumeChange &operator=(const VolumeChange &) = delete;

  /// Finds all that the change needs and refuses what must be refused, with nothing changed. Then writes
  /// what nothing leads to yet: contents, their marks, empty directory blocks. New files and folders are in
  /// the tree from here on, so that the next change of the group plans with them.
  [[nodiscard]] virtual bool begin(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) = 0;
  /// Writes entries.
  [[nodiscard]] virtual bool enter(Volume &, EMU3Error *) { return true; }
  /// Clears entries: of what was moved away or deleted.
  [[nodiscard]] virtual bool clearOld(Volume &, EMU3Error *) { return true; }
  /// Clears the marks of what was deleted.
  [[nodiscard]] virtual bool freeOld(Volume &, EMU3Error *) { return true; }

  /// What came to be in the volume; null where that is no file, and before the change has begun.
  [[nodiscard]] virtual EMU3FilePtr file() const { return nullptr; }
  /// The same of folders.
  [[nodiscard]] virtual EMU3DirectoryPtr folder() const { return nullptr; }

  /// The medium did not take what `begin` wrote: the change is taken back.
  virtual void takeBackBegun(Volume &volume) TESSARY_REQUIRES(volume.lock) = 0;
  /// The medium did not take what `enter` wrote. Entries that are already cleared stay cleared, so there is
  /// nothing of the kind for the later steps.
  virtual void takeBackEntered(Volume &volume) TESSARY_REQUIRES(volume.lock) = 0;
};

} // namespace tessary
