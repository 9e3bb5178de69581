#pragma once

#include "tessary/ByteBuffer.h"

#include <cstdint>

namespace tessary {

class ImageMapping;

/// A file's contents read piece by piece: from its cache when it has one, otherwise straight from the
/// image. The bank analysis looks at a few kilobytes of banks that can claim 32 MiB each, so it neither
/// copies nor keeps the rest.
class FileContents final {
public:
  /// Contents held in memory.
  explicit FileContents(ByteBufferPtr data);
  /// `size` bytes of the image from `firstBlock` on; all of them must lie inside it.
  FileContents(const ImageMapping &mapping, std::uint64_t firstBlock, std::uint64_t size);

  /// Bytes.
  std::uint64_t size() const { return size_; }
  /// Copies the bytes from `offset` on. Returns how many could be read: fewer than `length` at the end
  /// of the contents or where the image cannot be read any more.
  std::uint64_t read(std::uint64_t offset, std::uint8_t *to, std::uint64_t length) const;

private:
  ByteBufferPtr data_;
  const ImageMapping *mapping_ = nullptr;
  std::uint64_t firstBlock_ = 0;
  std::uint64_t size_ = 0;
};

} // namespace tessary
