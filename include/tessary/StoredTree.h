#pragma once

#include "tessary/EMU3Directory.h"
#include "tessary/EMU3File.h"
#include "tessary/EntryPlace.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tessary {

/// What was kept of a file or a folder before it was deleted, so that it can come back as it was.
struct StoredItem {
  std::optional<std::size_t> folder{}; ///< that it is in: the item of this number, from 0, before it
  EntryBytes entry{};                  ///< as it stood on the image
  std::string contents{};              ///< host file with those of a file; empty for a folder
};

/// A file or a folder of the volume with its entry; the other is null.
struct TreeEntry {
  std::optional<std::size_t> folder{}; ///< that it is in: the entry of this number, from 0, before it
  EMU3FilePtr file{};
  EMU3DirectoryPtr directory{};
  EntryBytes entry{}; ///< as it stands on the image
};

/// A file or a folder, and behind that what is in it: each folder before its members.
using StoredTree = std::vector<StoredItem>;

} // namespace tessary
