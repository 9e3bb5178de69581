#pragma once

#include "filesystem/EMU3Filesystem.h"
#include "tests/support/ImageReading.h"

#include <stdexcept>

/// The engine's objects by the places of their entries, which any reading of the image gives.
namespace tessary::test {

/// Of a folder or file; {0, 0} of the root.
template <typename Object> Place imagePlaceOf(const Object &object) {
  return {static_cast<std::uint64_t>(object.dentryBlock()), static_cast<std::size_t>(object.dentryOffset())};
}

/// {0, 0} gives the root. Throws when there is none.
inline EMU3DirectoryPtr folderAt(const EMU3Filesystem &volume, Place place) {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory()))
    if (imagePlaceOf(*folder) == place) return folder;
  throw std::runtime_error("no folder at the place");
}

/// Throws when there is none.
inline EMU3FilePtr fileAt(const EMU3Filesystem &volume, Place place) {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory()))
    for (const EMU3FilePtr &file : folder->files())
      if (imagePlaceOf(*file) == place) return file;
  throw std::runtime_error("no file at the place");
}

} // namespace tessary::test
