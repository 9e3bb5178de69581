#pragma once

#include "filesystem/EMU3Directory.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/Volume.h"

#include <string>

/// Changes of folders: each changes the image first and then the tree to match. All fail with code 3, "Image
/// is read-only", first.
namespace tessary {

EMU3DirectoryPtr createDirectory(Volume &volume, const std::string &name, const EMU3DirectoryPtr &inDirectory,
                                 EMU3Error *error) TESSARY_REQUIRES(volume.lock);
/// Bare, renames the folder in the tree alone; the image keeps the old name.
bool renameDirectory(Volume &volume, const EMU3DirectoryPtr &directory, const std::string &newName,
                     EMU3Error *error) TESSARY_REQUIRES(volume.lock);
/// Moves the folder with everything in it. Codes 5, 6 (into itself or below itself) and 7.
EMU3DirectoryPtr moveDirectory(Volume &volume, const EMU3DirectoryPtr &directory,
                               const EMU3DirectoryPtr &toDirectory, EMU3Error *error)
    TESSARY_REQUIRES(volume.lock);
/// Deletes the folder with everything in it, each folder after everything below it.
bool deleteDirectory(Volume &volume, const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &fromParent,
                     EMU3Error *error) TESSARY_REQUIRES(volume.lock);

} // namespace tessary
