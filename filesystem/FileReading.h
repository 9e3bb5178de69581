#pragma once

#include "filesystem/FileContents.h"
#include "filesystem/Volume.h"
#include "tessary/ByteBuffer.h"
#include "tessary/EMU3Error.h"
#include "tessary/EMU3File.h"

/// Reading the contents of files.
namespace tessary {

/// Whether the contents that the file's entry led to are still the file's; false with code 5 otherwise.
[[nodiscard]] bool mayReadFile(const Volume &volume, const EMU3FilePtr &file, EMU3Error *error)
    TESSARY_REQUIRES_SHARED(volume.lock);

/// A file's contents as far as they lie inside the image, from its cache when it has one. Usable while the
/// lock is held.
[[nodiscard]] FileContents contentsOfFile(const Volume &volume, const EMU3File &file)
    TESSARY_REQUIRES_SHARED(volume.lock);

/// The same, read whole and not kept; shorter where the image cannot be read any more.
[[nodiscard]] ByteBufferPtr bytesOfFile(const Volume &volume, const EMU3File &file)
    TESSARY_REQUIRES_SHARED(volume.lock);

/// All blocks of a file's contents, from the image alone, cut to its size; null where one of them lies
/// outside the image or cannot be read.
[[nodiscard]] ByteBufferPtr wholeBytesOfFile(const Volume &volume, const EMU3File &file)
    TESSARY_REQUIRES_SHARED(volume.lock);
/// Whether wholeBytesOfFile() would give these bytes now. Reads them a piece at a time.
[[nodiscard]] bool areWholeBytesOfFile(const Volume &volume, const EMU3File &file, const ByteBuffer &bytes)
    TESSARY_REQUIRES_SHARED(volume.lock);

} // namespace tessary
