#pragma once

#include "filesystem/DiskFormat.h"
#include "tessary/EMU3File.h"
#include "tessary/EntryPlace.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The 32 bytes of a directory entry: telling its two forms apart, reading them, making new ones.
namespace tessary {

/// Whether 32 bytes with a name have the file form; otherwise they have the folder form.
[[nodiscard]] bool isFileDentry(const std::uint8_t *dentry);

/// The name of an entry; none when the field holds nothing or no text.
[[nodiscard]] std::optional<std::string> nameOfDentry(const std::uint8_t *dentry);

/// What an entry of the file form says.
[[nodiscard]] EMU3FileFields fileFieldsOfDentry(const std::uint8_t *dentry, std::string name,
                                                EntryPlace place);

/// The directory blocks that an entry of the folder form names, in order; places of 0 or less are empty.
[[nodiscard]] std::vector<std::int64_t> folderBlocks(const std::uint8_t *dentry);

/// One of the seven block numbers of an entry of the folder form; `position` from 0 to 6.
[[nodiscard]] std::int64_t folderBlockAt(const format::Dentry &dentry, std::size_t position);
void setFolderBlockAt(format::Dentry &dentry, std::size_t position, std::int64_t block);

/// Whether a block holds nothing at all.
[[nodiscard]] bool isAllZero(const format::Block &block);
/// Whether no entry is in the block: each of its 16 begins with a zero byte.
[[nodiscard]] bool hasNoEntry(const format::Block &block);

/// Gives a file's entry an id; one with which the entry would read as a folder's is raised by 1.
void setFileEntryId(format::Dentry &dentry, std::uint8_t entryId);

/// How many blocks a file of so many bytes takes: one at least, also an empty one.
[[nodiscard]] std::uint64_t blocksNeeded(std::uint64_t length);

/// The entry of a new file of `length` bytes from slot `slot` on. `storedName` has at most 15 bytes; a zero
/// byte follows it.
[[nodiscard]] format::Dentry dentryForFile(std::string_view storedName, std::uint16_t slot,
                                           std::uint64_t length, std::uint8_t entryId);

/// The entry of a new folder with the one directory block `block`.
[[nodiscard]] format::Dentry dentryForFolder(std::string_view storedName, std::uint64_t block);

/// The 16 bytes that a renamed entry begins with: `storedName`, then spaces alone.
[[nodiscard]] format::NameField nameFieldForRename(std::string_view storedName);

} // namespace tessary
