#pragma once

#include "tests/support/ImageBuilder.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessary::compare {

/// An entry that a volume is taken to hold.
struct KnownEntry {
  std::string path;                        ///< as a word of a command
  std::optional<test::EntryPlace> place{}; ///< where it is known

  /// "@7:3"; the path where the place is not known.
  std::string placeOrPath() const;
};

/// What a volume is taken to hold by whoever writes commands for it: at first what its image holds, then what
/// the commands would have made of it had they all succeeded. So most of its addresses lead to something.
struct KnownEntries {
  explicit KnownEntries(const test::ImageBuilder &image);

  void forgetFile(const std::string &path);
  /// Forgets the folder and what is below it; nothing for the root.
  void forgetFolder(const std::string &path);

  std::vector<KnownEntry> files;
  std::vector<KnownEntry> folders;           ///< the root first
  std::vector<std::uint64_t> folderBlocks;   ///< that folders list, inside the image
  std::vector<std::uint64_t> unlistedBlocks; ///< of the directory area, with entries in them
};

/// The word for a folder with a further part behind it, taken as it is: a pattern, or an escaped name.
std::string below(const std::string &folder, const std::string &part);
/// The path of something named `name` in the folder that the word leads to.
std::string pathIn(const std::string &folder, const std::string &name);

} // namespace tessary::compare
