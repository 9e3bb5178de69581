#pragma once

#include "tessary/EMU3Filesystem.h"
#include "tests/support/ImageReading.h"
#include "tests/writing/Random.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace tessary::test {

enum class OperationKind {
  importFile,
  restoreFile,
  copyFile,
  moveFile,
  renameFile,
  deleteFile,
  createFolder,
  renameFolder,
  moveFolder,
  deleteFolder,
  recoverFolder,
};
inline constexpr std::size_t kOperationKinds = 11;

/// One operation, by places, so that any mount of the image can do it.
struct Operation {
  OperationKind kind = OperationKind::importFile;
  Place item;   ///< the file or folder
  Place parent; ///< of the item
  Place folder; ///< where it goes, or the new one comes to be
  std::string name;
  Bytes contents;
  RawEntry model{};
  std::uint64_t block = 0;           ///< of the lost folder
  std::vector<std::uint64_t> lost{}; ///< blocks of all lost folders
  std::set<Place> inside;            ///< what is in the folder that is moved or deleted, and it

  [[nodiscard]] std::string description() const;
};

/// Any operation that can be asked for on the image. `parent` and `inside` are left to the caller.
Operation randomOperation(Random &random, const ImageReading &now, const std::vector<LostFolder> &lost);

/// The error's code; 0 is success. Host files are made in the folder.
std::int64_t perform(EMU3Filesystem &volume, const Operation &operation, const std::string &hostFolder);

/// The entry of an import, but for its id.
RawEntry importedEntry(const std::string &name, std::uint64_t slot, std::uint64_t size);

Place placeOf(const EMU3Directory &folder);
Place placeOf(const EMU3File &file);

} // namespace tessary::test
