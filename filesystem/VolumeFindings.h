#pragma once

#include "filesystem/EMU3Directory.h"
#include "filesystem/EntryPlace.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessary {

/// Something that a look over the volume found.
struct VolumeFinding {
  /// What it is, in one word of fixed spelling. Harm begins with "harm-": sounds are lost, or the next
  /// change here or in a sampler can destroy some. Everything else begins with "oddity-".
  std::string kind;
  /// One sentence for the user; names in it are as stored.
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
  std::uint64_t fileCount = 0;
  std::uint64_t folderCount = 0;
  std::vector<std::string> names; ///< of its entries, in order
};

} // namespace tessary
