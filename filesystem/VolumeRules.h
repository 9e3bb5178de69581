#pragma once

#include "banks/BankSamples.h"
#include "filesystem/DiskFormat.h"
#include "filesystem/Volume.h"
#include "tessary/ByteBuffer.h"
#include "tessary/EMU3Directory.h"
#include "tessary/EMU3Error.h"
#include "tessary/EMU3File.h"
#include "tessary/EntryPlace.h"
#include "tessary/MountRules.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace tessary {

/// Where a new file goes.
struct NewFilePlace {
  EntryPlace entry;
  std::uint16_t slot = 0;
  std::uint8_t entryId = 0;
};

/// What a new file is made of.
struct NewFile {
  std::string name;
  std::int64_t fileType = kFileTypeBank; ///< EMU3FileType
  std::uint64_t size = 0;                ///< bytes
  ByteBufferPtr data;                    ///< `size` bytes; null as long as only its refusal is asked for
  /// The entry to make the new one from: guarded, all of it but slot, sizes and id; bare, the 16 bytes of its
  /// name. None for an import.
  std::optional<format::Dentry> model;
};

/// Blocks in a row.
struct BlockRun {
  std::uint64_t first = 0;
  std::uint64_t count = 0;
};

/// A block that a full folder gets: its number goes into this one of the seven positions of the folder's
/// entry.
struct FolderGrowth {
  std::int64_t block = 0;
  std::size_t position = 0;
};

/// What a directory block to be found must be like: not `except`, which has another use already, and one
/// whose number `suits`.
struct DirectoryBlockWish {
  std::optional<std::int64_t> except;
  std::function<bool(std::int64_t)> suits;
};

/// The live files that a change itself is about: one file, or all below a folder. What they hold protects no
/// entry from that change. Null where it is about none.
struct OwnFiles {
  EMU3FilePtr file = nullptr;
  EMU3DirectoryPtr below = nullptr;
};

/// Directory blocks of folders that are being deleted, of which not all is to go.
struct BlocksToKeep {
  std::unordered_set<std::int64_t> uncleared; ///< the entries in them go, the blocks stay
  std::unordered_set<std::int64_t> untouched; ///< the entries stay too
};

/// What the operations of a volume ask where the bare and the guarded rules differ. One object a mount,
/// chosen at mounting, without state of its own; whoever asks holds the volume's lock.
class VolumeRules {
public:
  VolumeRules() = default;
  virtual ~VolumeRules() = default;
  VolumeRules(const VolumeRules &) = delete;
  VolumeRules &operator=(const VolumeRules &) = delete;

  [[nodiscard]] virtual MountRules kind() const = 0;
  /// Whether the mount keeps a `VolumeIndex`.
  [[nodiscard]] virtual bool keepsIndex() const = 0;

  /// Whether a change is done only when the medium has it.
  [[nodiscard]] virtual bool waitsForMedium() const = 0;

  /// Whether the image that stands at this path of the host may be changed as this volume; false with the
  /// error.
  [[nodiscard]] virtual bool mayChangeImageAt(const Volume &volume, const std::string &path,
                                              EMU3Error *error) const = 0;
  /// The error of a change that is refused since the image is read-only.
  [[nodiscard]] virtual EMU3Error readOnlyError(ReadOnlyReason reason) const = 0;

  // Whether an object may still be used: one that has left the tree no longer owns its entry and its
  // contents.
  [[nodiscard]] virtual bool mayUse(const Volume &volume, const EMU3DirectoryPtr &folder) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  [[nodiscard]] virtual bool mayUse(const Volume &volume, const EMU3DirectoryPtr &folder,
                                    const EMU3FilePtr &file) const TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  [[nodiscard]] virtual bool mayUse(const Volume &volume, const EMU3DirectoryPtr &parent,
                                    const EMU3DirectoryPtr &folder) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// Whether deleting its folder deletes this file too: guarded, not one that was deleted before.
  [[nodiscard]] virtual bool mayErase(const EMU3File &file) const = 0;
  /// Whether the contents that the file's entry leads to are still the file's.
  [[nodiscard]] virtual bool mayRead(const Volume &volume, const EMU3FilePtr &file) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;

  // Names
  /// What an entry is called; none where it is passed over.
  [[nodiscard]] virtual std::optional<std::string> nameOf(const std::uint8_t *dentry) const = 0;
  /// The part of a name that an entry holds, at most 15 bytes.
  [[nodiscard]] virtual std::string_view storedName(const std::string &name) const = 0;
  /// Whether an entry may be given this name, where its length is right.
  [[nodiscard]] virtual bool mayStoreName(const std::string &name) const = 0;
  /// What an object is called whose entry was just given a name and now begins with `field`.
  [[nodiscard]] virtual std::string nameAfterStoring(const std::string &given,
                                                     const std::uint8_t *field) const = 0;
  /// Whether renaming a folder changes its entry, not the tree alone.
  [[nodiscard]] virtual bool storesFolderNames() const = 0;

  // Contents
  /// A file's contents for a host file. Null, with the error, where they may not be passed on.
  [[nodiscard]] virtual ByteBufferPtr contentsForExport(const Volume &volume, const EMU3File &file,
                                                        EMU3Error *error) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// The same for another file of a volume.
  [[nodiscard]] virtual ByteBufferPtr contentsForCopy(const Volume &volume, const EMU3File &file,
                                                      EMU3Error *error) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// What a listed sample is called.
  [[nodiscard]] virtual std::string nameOfSample(const BankSample &sample) const = 0;
  /// The audio of the listed samples of a bank.
  [[nodiscard]] virtual SampleAudio audioOfSamples(const FileContents &bank,
                                                   const std::vector<BankSample> &samples) const = 0;
  /// Whether a host file may be written at this path.
  [[nodiscard]] virtual bool mayWriteHostFile(const std::string &path) const = 0;

  // New files
  /// Whether an import that would be refused whatever its contents is refused before its host file is read.
  [[nodiscard]] virtual bool refusesBeforeReading() const = 0;
  /// The most blocks that a file may have.
  [[nodiscard]] virtual std::uint64_t mostBlocksOfAFile() const = 0;
  /// The slot that a new file of so many blocks goes into; none when there is no room.
  [[nodiscard]] virtual std::optional<std::uint16_t> slotForNewFile(const Volume &volume,
                                                                    std::uint64_t blocks) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// The most blocks that a new file can have as the volume stands; 0 where there is no room for any.
  [[nodiscard]] virtual std::uint64_t largestNewFile(const Volume &volume) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  [[nodiscard]] virtual format::Dentry entryOfNewFile(const NewFile &file,
                                                      const NewFilePlace &place) const = 0;
  /// The fields in memory of a file just stored with this entry.
  [[nodiscard]] virtual EMU3FileFields fieldsOfNewFile(const NewFile &file, const NewFilePlace &place,
                                                       const format::Dentry &dentry) const = 0;
  /// Whether a copy's entry is made from its source's.
  [[nodiscard]] virtual bool copiesKeepTheirEntry() const = 0;
  /// Whether a move writes the entry anew and leaves contents and slot where they are.
  [[nodiscard]] virtual bool movesEntryAlone() const = 0;

  // Marks of the allocation table, and the figures that follow from them
  virtual void markNewFile(Volume &volume, std::uint16_t slot, std::uint64_t size) const
      TESSARY_REQUIRES(volume.lock) = 0;
  /// Takes `markNewFile` back where the file's entry could not be written; bare, in the figures alone.
  virtual void unmarkFailedFile(Volume &volume, std::uint16_t slot, std::uint64_t size) const
      TESSARY_REQUIRES(volume.lock) = 0;
  /// The blocks that are free now that these files were deleted. Their entries were cleared, and they have
  /// left the tree.
  [[nodiscard]] virtual std::vector<BlockRun> freedBlocks(const Volume &volume,
                                                          const std::vector<EMU3FileFields> &deleted) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// Marks them as free.
  virtual void clearMarks(Volume &volume, const BlockRun &freed) const TESSARY_REQUIRES(volume.lock) = 0;

  // Places
  /// Whether a new entry may be written over this one.
  [[nodiscard]] virtual bool isFree(const Volume &volume, const std::uint8_t *dentry, EntryPlace place) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// Whether a block of a folder's list may get new entries at all.
  [[nodiscard]] virtual bool takesEntries(const Volume &volume, std::int64_t block) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// Whether the entry at this place may be changed: not where it is part of the contents of a live file that
  /// is none of `own`.
  [[nodiscard]] virtual bool mayChangeEntry(const Volume &volume, EntryPlace place, const OwnFiles &own) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// Something new has taken this entry of the folder.
  virtual void entryWasTaken(Volume &volume, const EMU3DirectoryPtr &folder, EntryPlace place) const
      TESSARY_REQUIRES(volume.lock) = 0;
  /// A block for a folder's entries; none when there is no free one.
  [[nodiscard]] virtual std::optional<std::int64_t> findDirectoryBlock(const Volume &volume,
                                                                       const DirectoryBlockWish &wish) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// How a full folder can get another block that suits the wish; none where it cannot.
  [[nodiscard]] virtual std::optional<FolderGrowth>
  growthOf(const Volume &volume, const EMU3DirectoryPtr &folder, const DirectoryBlockWish &wish) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
  /// What must stay of the directory blocks of folders that are being deleted.
  [[nodiscard]] virtual BlocksToKeep blocksToKeep(const Volume &volume,
                                                  const std::vector<EMU3DirectoryPtr> &deleted) const
      TESSARY_REQUIRES_SHARED(volume.lock) = 0;
};

[[nodiscard]] const VolumeRules &rulesFor(MountRules kind);

} // namespace tessary
