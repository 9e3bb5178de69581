#pragma once

#include "filesystem/ByteBuffer.h"
#include "filesystem/EMU3Error.h"

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>

namespace tessary {

/// Reads a regular file of the host whole. Anything else (folder, FIFO, device, socket) is refused
/// without being opened, so a FIFO never blocks; a file that becomes shorter while it is read is an error
/// too. Returns null with the host's error, whose message names the file.
ByteBufferPtr readHostFile(const std::string &path, EMU3Error *error);

/// Size in bytes of a regular file; false with the host's error otherwise (same refusals as above).
bool hostFileSize(const std::string &path, std::uint64_t *size, EMU3Error *error);

/// Writes the parts, one after another, as the whole file at `path`: into a temporary file beside it
/// that then replaces it; where `path` is a link, the file that it leads to. The file gets the permissions of
/// a newly created one. On failure the earlier file is untouched, nothing is left behind, and the host's
/// error names the file.
bool writeHostFileAtomically(const std::string &path,
                             std::initializer_list<std::span<const std::uint8_t>> parts, EMU3Error *error);

} // namespace tessary
