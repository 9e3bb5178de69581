#pragma once

#include "filesystem/EMU3Error.h"
#include "filesystem/EMU3File.h"
#include "filesystem/VolumeRules.h"

#include <cstdint>
#include <string>

/// Changes of files: each changes the image first and then the tree to match. All fail with code 3, "Image is
/// read-only", first.
/// What stores, copies or moves a file returns the new object, null when it fails.
namespace tessary {

/// Whether the volume would refuse the file whatever its contents; false with the reason.
[[nodiscard]] bool mayStoreFile(const Volume &volume, const NewFile &file,
                                const EMU3DirectoryPtr &toDirectory, EMU3Error *error)
    TESSARY_REQUIRES_SHARED(volume.lock);
/// Whether a file of that many bytes would be refused for its size by the rules of the mount.
[[nodiscard]] bool isTooLarge(const Volume &volume, std::uint64_t size);

EMU3FilePtr storeFile(Volume &volume, const NewFile &file, const EMU3DirectoryPtr &toDirectory,
                      EMU3Error *error) TESSARY_REQUIRES(volume.lock);
EMU3FilePtr copyFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory,
                     EMU3Error *error) TESSARY_REQUIRES(volume.lock);
EMU3FilePtr moveFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                     const EMU3DirectoryPtr &toDirectory, EMU3Error *error) TESSARY_REQUIRES(volume.lock);
bool deleteFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                EMU3Error *error) TESSARY_REQUIRES(volume.lock);
/// What `deleteFile` does to a file of which it is known that the folder holds it.
bool eraseFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory, EMU3Error *error)
    TESSARY_REQUIRES(volume.lock);
bool renameFile(Volume &volume, const EMU3FilePtr &file, const std::string &newName,
                const EMU3DirectoryPtr &inDirectory, EMU3Error *error) TESSARY_REQUIRES(volume.lock);

} // namespace tessary
