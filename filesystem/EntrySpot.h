#pragma once

#include "filesystem/EMU3Directory.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/EntryPlace.h"
#include "filesystem/VolumeRules.h"

#include <cstdint>
#include <optional>
#include <string>

/// Places and names for entries.
namespace tessary {

/// Where a new entry goes. In a folder that is full it needs the folder to grow first.
struct EntrySpot {
  EntryPlace place;
  std::optional<FolderGrowth> growth;
};

/// The first entry of the folder that a new one may be written over, or that of a block that the folder can
/// get. None when the folder is full. Changes nothing.
[[nodiscard]] std::optional<EntrySpot> findSpot(const Volume &volume, const EMU3DirectoryPtr &folder)
    TESSARY_REQUIRES_SHARED(volume.lock);

/// Writes a new entry at its spot: lets the folder grow first where that is needed, then takes the place from
/// a deleted file of the list. False when a write failed; an entry outside
/// the image is passed over and counts as written.
[[nodiscard]] bool writeAtSpot(Volume &volume, const EMU3DirectoryPtr &folder, const EntrySpot &spot,
                               const format::Dentry &dentry) TESSARY_REQUIRES(volume.lock);

/// Whether an entry may be given this name; false with code 6.
[[nodiscard]] bool mayGiveName(const Volume &volume, const std::string &name, EMU3Error *error);
/// Gives an entry another name. Returns what its object is called from then on; none with the error.
[[nodiscard]] std::optional<std::string> renameEntry(Volume &volume, EntryPlace place,
                                                     const std::string &name, EMU3Error *error)
    TESSARY_REQUIRES(volume.lock);

/// The id for a new file: one above the highest of the folder's files. Wraps on purpose: after an id of 255
/// the next file in the list counts anew.
[[nodiscard]] std::uint8_t nextEntryId(const EMU3Directory &folder);

} // namespace tessary
