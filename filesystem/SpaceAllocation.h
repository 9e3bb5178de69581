#pragma once

#include "filesystem/EMU3Directory.h"
#include "filesystem/EntryPlace.h"
#include "filesystem/Volume.h"

#include <cstdint>
#include <optional>

/// Finding room for what is new, and keeping the marks of the allocation table.
namespace tessary {

/// Marks the first `blocks` blocks of a slot as used, as far as the rules let them be marked, and counts
/// them.
void markSlotUsed(Volume &volume, std::uint16_t slot, std::uint16_t blocks) TESSARY_REQUIRES(volume.lock);
/// Marks them as free, and counts them.
void freeSlot(Volume &volume, std::uint16_t slot, std::uint16_t blocks) TESSARY_REQUIRES(volume.lock);

/// The first entry of the folder that a new one may be written over; none when the folder is full.
[[nodiscard]] std::optional<EntryPlace> findFreeDentry(const Volume &volume, const EMU3DirectoryPtr &folder)
    TESSARY_REQUIRES_SHARED(volume.lock);
/// A directory block that no folder of the tree has; 0 when there is none.
[[nodiscard]] std::uint64_t findFreeDirectoryBlock(const Volume &volume) TESSARY_REQUIRES_SHARED(volume.lock);

/// The id for a new file: one above the highest of the folder's files. Wraps on purpose: after an id of 255
/// the next file in the list counts anew.
[[nodiscard]] std::uint8_t nextEntryId(const EMU3Directory &folder);

} // namespace tessary
