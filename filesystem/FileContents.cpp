#include "filesystem/FileContents.h"

#include "filesystem/ImageMapping.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tessary {

FileContents::FileContents(ByteBufferPtr data) : data_(std::move(data)), size_(data_->size()) {}

FileContents::FileContents(const ImageMapping &mapping, std::uint64_t firstBlock, std::uint64_t size)
    : mapping_(&mapping), firstBlock_(firstBlock), size_(size) {}

std::uint64_t FileContents::read(std::uint64_t offset, std::uint8_t *to, std::uint64_t length) const {
  if (offset >= size_) return 0;
  const std::uint64_t available = std::min(length, size_ - offset);
  if (mapping_) return mapping_->readBytes(firstBlock_, offset, to, available);
  std::memcpy(to, data_->data() + offset, available);
  return available;
}

} // namespace tessary
