#pragma once

#include "tessary/EMU3Directory.h"
#include "tessary/EntryPlace.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessary {

/// A kind of finding: a word whose spelling never changes, and what it stands for. Harm begins with "harm-":
/// sounds are lost, or the next change here or in a sampler can destroy some. "harm-bare-" is what only a
/// bare mount destroys, so only a check of one names it. Everything else begins with "oddity-" and costs room
/// or nothing.
struct FindingKind {
  std::string_view word;
  std::string_view meaning;
};

/// All kinds, each named once. The man page has the same words with the same meanings.
namespace finding {

// clang-format off
inline constexpr FindingKind kHeader{"harm-header", "the header puts parts of the volume outside the image or over one another"};
inline constexpr FindingKind kTableOutside{"harm-table-outside", "part of the allocation table lies outside the image"};
inline constexpr FindingKind kTableUnreadable{"harm-table-unreadable", "part of the allocation table cannot be read"};
inline constexpr FindingKind kTableInFile{"harm-table-in-file", "the allocation table lies inside a file"};
inline constexpr FindingKind kFolderOutside{"harm-folder-outside", "a block of a folder lies outside the image"};
inline constexpr FindingKind kFolderUnreadable{"harm-folder-unreadable", "a block of a folder cannot be read"};
inline constexpr FindingKind kFolderShared{"harm-shared-folder-block", "two folders have a block in common, or one has it twice"};
inline constexpr FindingKind kFolderInTable{"harm-folder-in-table", "a block of a folder lies in the allocation table"};
inline constexpr FindingKind kFolderInFile{"harm-folder-in-file", "a block of a folder lies inside a file"};
inline constexpr FindingKind kFolderInData{"harm-folder-in-data", "a block of a folder lies where samplers store files"};
inline constexpr FindingKind kLostFolder{"harm-lost-folder", "no entry leads to a folder any more"};
inline constexpr FindingKind kHiddenEntry{"harm-name", "an entry is not shown because its name is no text, and nothing protects what it leads to"};
inline constexpr FindingKind kOverlap{"harm-overlap", "two files have blocks in common"};
inline constexpr FindingKind kPastEnd{"harm-past-end", "a file reaches past the end of the image"};
inline constexpr FindingKind kContentsUnreadable{"harm-contents-unreadable", "a file's contents cannot be read"};
inline constexpr FindingKind kUnmarked{"harm-unmarked", "the allocation table says that blocks of a file are free"};
inline constexpr FindingKind kBareEntry{"harm-bare-entry", "a new entry would be written over a folder's entry"};
inline constexpr FindingKind kBareNextFile{"harm-bare-next-file", "the next new file would be stored over something"};
inline constexpr FindingKind kBareMarks{"harm-bare-marks", "marks would be written behind the table, over something"};
inline constexpr FindingKind kBareNextFolder{"harm-bare-next-folder", "the next new folder would be made over something"};
inline constexpr FindingKind kOddHeader{"oddity-header", "a number in the header is out of proportion"};
inline constexpr FindingKind kShortTable{"oddity-short-table", "the allocation table is too short for the volume"};
inline constexpr FindingKind kUnownedMarks{"oddity-unowned-marks", "blocks are marked as used that no file owns"};
inline constexpr FindingKind kDeletedEntry{"oddity-deleted-entry", "a deleted entry has kept its name"};
inline constexpr FindingKind kName{"oddity-name", "a name is no text; what cannot be shown of it is shown as codes"};
inline constexpr FindingKind kSize{"oddity-size", "a file's last block counts fewer than 1 or more than 512 bytes"};
inline constexpr FindingKind kSlot{"oddity-slot", "a file is in slot 0, or no slot is left to count to"};
inline constexpr FindingKind kClusters{"oddity-clusters", "a file counts more slots than there are from its own on"};
inline constexpr FindingKind kNoBlocks{"oddity-no-blocks", "a folder names no block to hold entries"};
// clang-format on

} // namespace finding

inline constexpr std::array kFindingKinds{
    finding::kHeader,       finding::kTableOutside,   finding::kTableUnreadable,
    finding::kTableInFile,  finding::kFolderOutside,  finding::kFolderUnreadable,
    finding::kFolderShared, finding::kFolderInTable,  finding::kFolderInFile,
    finding::kFolderInData, finding::kLostFolder,     finding::kHiddenEntry,
    finding::kOverlap,      finding::kPastEnd,        finding::kContentsUnreadable,
    finding::kUnmarked,     finding::kBareEntry,      finding::kBareNextFile,
    finding::kBareMarks,    finding::kBareNextFolder, finding::kOddHeader,
    finding::kShortTable,   finding::kUnownedMarks,   finding::kDeletedEntry,
    finding::kName,         finding::kSize,           finding::kSlot,
    finding::kClusters,     finding::kNoBlocks,
};

/// Something that a look over the volume found.
struct VolumeFinding {
  std::string kind; ///< the word of one of `kFindingKinds`
  /// What was found, what may come of it and what to do, for the user; names in it are as stored.
  std::string message;
  /// The folder it is in, and the file when it is about one. Null where neither applies.
  EMU3DirectoryPtr folder;
  EMU3FilePtr file;
  /// Where the entry that it is about lies.
  std::optional<EntryPlace> place;

  [[nodiscard]] bool isHarm() const { return kind.starts_with("harm-"); }
};

/// A directory block with files or folders in it that belongs to no folder of the tree.
struct LostFolder {
  std::uint64_t block = 0;
  // What the block itself holds; lost folders below it come back with it.
  std::uint64_t fileCount = 0;
  std::uint64_t folderCount = 0;
  std::vector<std::string> names; ///< of its live entries, in order; what is no text as codes
};

} // namespace tessary
