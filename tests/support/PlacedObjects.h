#pragma once

#include "tessary/EMU3Filesystem.h"
#include "tests/support/ImageReading.h"

#include <stdexcept>

/// The engine's objects by the places of their entries, which any reading of the image gives.
namespace tessary::test {

template <typename Object> bool isAt(const Object &object, Place place) {
  return static_cast<std::uint64_t>(object.dentryBlock()) == place.first &&
         static_cast<std::size_t>(object.dentryOffset()) == place.second;
}

/// {0, 0} gives the root. Throws when there is none.
inline EMU3DirectoryPtr folderAt(const EMU3Filesystem &volume, Place place) {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory()))
    if (isAt(*folder, place)) return folder;
  throw std::runtime_error("no folder at the place");
}

/// Throws when there is none.
inline EMU3FilePtr fileAt(const EMU3Filesystem &volume, Place place) {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory()))
    for (const EMU3FilePtr &file : folder->files())
      if (isAt(*file, place)) return file;
  throw std::runtime_error("no file at the place");
}

} // namespace tessary::test
