#pragma once

#include "tests/support/HostFiles.h"
#include "tests/writing/WritableVolume.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tessary::test {

inline constexpr const char *kIncompleteError =
    "Error Domain=com.tessary.error Code=2 \"File contents are incomplete\"";
inline constexpr const char *kIntoItselfError =
    "Error Domain=com.tessary.error Code=6 \"A folder cannot be moved into itself\"";

/// A guarded volume together with the bytes that its image should hold.
class GuardedVolume : public WritableVolume {
public:
  explicit GuardedVolume(ImageBuilder image);

  EMU3FilePtr file(std::string_view name) const { return fileNamed(root(), name); }
  EMU3DirectoryPtr folderAt(std::string_view name) const { return folderNamed(root(), name); }

  /// Imports a host file of this name.
  bool import(std::string_view name, const Bytes &contents, const EMU3DirectoryPtr &folder,
              EMU3Error *error = nullptr) const;
  bool import(std::string_view name, const Bytes &contents) const { return import(name, contents, root()); }

  /// Slot of a file that is imported now, of so many blocks; it stays. 0 when there is none.
  std::uint16_t slotGiven(std::uint64_t blocks) const;

  /// What the image holds now is what it should hold.
  void takeImageAsExpected() { expected.poke(0, readBytes(imagePath())); }

  /// Whether so many blocks are free and all others used.
  testing::AssertionResult hasFree(std::uint64_t blocks) const;
  /// Whether the tree in memory is what its image reads back as, and the figures too.
  testing::AssertionResult isAsReadAnew() const;

  /// The operation fails with this error, and changes neither image nor figures nor tree.
  void expectRefused(const std::string &error, const std::function<bool(EMU3Error *)> &operation) const;
};

/// Everything that the tree says of its folders and files, a line each.
std::vector<std::string> listed(const EMU3DirectoryPtr &root);

/// Fills the folder with 16 files a block.
void fillAllBlocks(FolderBuilder folder);

} // namespace tessary::test
