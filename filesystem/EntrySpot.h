#pragma once

#include "filesystem/VolumeRules.h"
#include "tessary/EMU3Directory.h"
#include "tessary/EMU3Error.h"
#include "tessary/EntryPlace.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Places and names for entries.
namespace tessary {

/// Where a new entry goes. In a folder that is full it needs the folder to grow first.
struct EntrySpot {
  EntryPlace place;
  std::optional<FolderGrowth> growth;
};

/// The first entry of the folder that a new one may be written over; in a full folder, the first of another
/// block that the folder can get and that suits the wish. None when there is neither. Changes nothing.
[[nodiscard]] std::optional<EntrySpot> findSpot(const Volume &volume, const EMU3DirectoryPtr &folder,
                                                const DirectoryBlockWish &wish = {})
    TESSARY_REQUIRES_SHARED(volume.lock);

/// A new entry on its way to the image: planned as long as what it leads to is not on the medium, so that
/// other changes plan with it; then written.
class NewEntry final {
public:
  NewEntry() = default;
  NewEntry(EMU3DirectoryPtr folder, const EntrySpot &spot, const format::Dentry &dentry)
      : folder_(std::move(folder)), spot_(spot), dentry_(dentry) {}

  [[nodiscard]] EntryPlace place() const { return spot_.place; }
  [[nodiscard]] const format::Dentry &dentry() const { return dentry_; }

  /// Plans the entry. Where the folder grows, clears its new block and plans that too. Takes the place from a
  /// deleted file of the list. False when the block could not be cleared.
  [[nodiscard]] bool plan(Volume &volume) TESSARY_REQUIRES(volume.lock);
  /// Writes the number of the folder's new block, then the entry. False when that failed, or when the folder
  /// has not come about; an entry outside the image is passed over and counts as written.
  [[nodiscard]] bool write(Volume &volume) TESSARY_REQUIRES(volume.lock);
  /// Gives up what was planned; the folder has the blocks that it had.
  void giveUp(Volume &volume) TESSARY_REQUIRES(volume.lock);
  /// Takes the written entry off the image again. A folder that has grown stays so.
  void erase(Volume &volume) TESSARY_REQUIRES(volume.lock);

private:
  [[nodiscard]] bool planGrowth(Volume &volume) TESSARY_REQUIRES(volume.lock);
  void takeBackGrowth(Volume &volume) TESSARY_REQUIRES(volume.lock);

  EMU3DirectoryPtr folder_;
  EntrySpot spot_;
  format::Dentry dentry_{};
  std::int64_t numberBefore_ = 0; ///< what stood where the folder's entry names its new block
};

/// Whether the entry at this place may be changed; false with code 3 where it lies in the contents of a file
/// that the change is not about. `own` are those that it is about.
[[nodiscard]] bool mayChangeEntry(const Volume &volume, EntryPlace place, const OwnFiles &own,
                                  EMU3Error *error) TESSARY_REQUIRES_SHARED(volume.lock);

/// The error for a name that no entry may be given.
[[nodiscard]] EMU3Error badName(const std::string &name);
/// Whether an entry may be given this name; false with code 6.
[[nodiscard]] bool mayGiveName(const Volume &volume, const std::string &name, EMU3Error *error);
/// What an entry is to be called.
struct NewName {
  std::string given{}; ///< the name that the user gave
  /// Where it gets a name back that it had: an entry with all 16 bytes of that name. `given` is empty then.
  std::optional<format::Dentry> earlier{};
};

/// The name of an object by an entry that it had; none, with code 6, where the bytes are no entry.
[[nodiscard]] std::optional<std::string> nameOfEarlier(const Volume &volume, const format::Dentry &entry,
                                                       EMU3Error *error);

/// An entry that gets another name.
class RenamedEntry final {
public:
  RenamedEntry() = default;
  /// `shownName` is what the entry's object is called now.
  RenamedEntry(EntryPlace place, NewName name, std::string shownName)
      : place_(place), name_(std::move(name)), shownBefore_(std::move(shownName)) {}

  /// Whether it may be given this name; false with the error.
  [[nodiscard]] bool mayWrite(const Volume &volume, EMU3Error *error) const
      TESSARY_REQUIRES_SHARED(volume.lock);
  /// Writes it. Returns what the object is called from then on; none with the error.
  [[nodiscard]] std::optional<std::string> write(Volume &volume, EMU3Error *error)
      TESSARY_REQUIRES(volume.lock);
  /// Writes the name that was there before, and returns what the object was called.
  [[nodiscard]] std::string takeBack(Volume &volume) TESSARY_REQUIRES(volume.lock);

private:
  EntryPlace place_;
  NewName name_;
  std::string shownBefore_;
  format::NameField fieldBefore_{};
};

/// The id for a new file: one above the highest of the folder's files. Wraps on purpose: after an id of 255
/// the next file in the list counts anew.
[[nodiscard]] std::uint8_t nextEntryId(const EMU3Directory &folder);

} // namespace tessary
