#pragma once

#include "tests/support/ImageBuilder.h"
#include "tests/support/ImageReading.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace tessary::test {

/// What a volume was asked to do, by the places of its entries before. Whatever is not named here is to stay.
struct Asked {
  /// A folder of before or, where set, the new one with this index.
  struct Parent {
    Place place;
    std::optional<std::size_t> newFolder;
  };
  struct NewFile {
    Parent parent;
    RawEntry entry{}; ///< id and start cluster may be any
    Bytes contents;
    std::optional<Place> replaced; ///< a file that goes when this one is there
  };
  struct NewFolder {
    Parent parent;
    RawEntry entry{};    ///< its first block number may be any but for a folder brought back
    bool isBack = false; ///< it leads to a block that no entry led to
  };

  std::vector<NewFile> newFiles;
  std::vector<NewFolder> newFolders;
  std::map<Place, Place> moved;      ///< files and folders, into these folders
  std::map<Place, RawEntry> renamed; ///< files and folders, with the entries they get
  std::set<Place> deleted;           ///< files and folders, with everything in them

  /// Adds what else is asked for. The two must not be about the same entries.
  Asked &operator+=(const Asked &other);
};

} // namespace tessary::test
