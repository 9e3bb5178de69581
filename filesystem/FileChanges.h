#pragma once

#include "filesystem/ByteBuffer.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/EMU3File.h"
#include "filesystem/Volume.h"

#include <cstdint>
#include <string>

/// Changes of files: each changes the image first and then the tree to match. All fail with code 3, "Image is
/// read-only", first.
namespace tessary {

/// What a new file is made of.
struct NewFile {
  std::string name;
  std::int64_t fileType = kFileTypeBank; ///< EMU3FileType
  std::uint64_t size = 0;                ///< bytes
  ByteBufferPtr data;                    ///< `size` bytes; null as long as only its refusal is asked for
  bool wholeName = false;                ///< store a name of 16 bytes without cutting it
};

/// Whether the volume would refuse the file whatever its contents; false with the reason.
[[nodiscard]] bool mayStoreFile(const Volume &volume, const NewFile &file,
                                const EMU3DirectoryPtr &toDirectory, EMU3Error *error)
    TESSARY_REQUIRES_SHARED(volume.lock);
/// Whether a file of that many bytes would be refused for its size by the rules of the mount.
[[nodiscard]] bool isTooLarge(const Volume &volume, std::uint64_t size);

bool storeFile(Volume &volume, const NewFile &file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error)
    TESSARY_REQUIRES(volume.lock);
bool copyFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error)
    TESSARY_REQUIRES(volume.lock);
bool moveFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
              const EMU3DirectoryPtr &toDirectory, EMU3Error *error) TESSARY_REQUIRES(volume.lock);
bool deleteFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                EMU3Error *error) TESSARY_REQUIRES(volume.lock);
/// What `deleteFile` does to a file of which it is known that the folder holds it.
bool removeFile(Volume &volume, const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory,
                EMU3Error *error) TESSARY_REQUIRES(volume.lock);
bool renameFile(Volume &volume, const EMU3FilePtr &file, const std::string &newName,
                const EMU3DirectoryPtr &inDirectory, EMU3Error *error) TESSARY_REQUIRES(volume.lock);

} // namespace tessary
