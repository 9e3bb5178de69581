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
  std::optional<std::size_t> folder{}; ///< number, from 0, of the item of the folder that it was in
  EntryBytes entry{};                  ///< as it stood on the image
  std::string contents{};              ///< path of the host file with its contents; empty for a folder
};

/// A file or a folder of the volume with its entry: of `file` and `directory` one is null.
struct TreeEntry {
  std::optional<std::size_t> folder{}; ///< number, from 0, of the entry of the folder that it is in
  EMU3FilePtr file{};
  EMU3DirectoryPtr directory{};
  EntryBytes entry{}; ///< as it stands on the image
};

/// One file; or a folder and behind it all that was in it, each folder before its members.
using StoredTree = std::vector<StoredItem>;

} // namespace tessary
