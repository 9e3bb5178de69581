#include "filesystem/FileReading.h"

#include "filesystem/DiskFormat.h"
#include "filesystem/VolumeRules.h"

#include <algorithm>
#include <utility>

namespace tessary {

bool mayReadFile(const Volume &volume, const EMU3FilePtr &file, EMU3Error *error) {
  return volume.rules().mayRead(volume, file) || fail(error, EngineError::entryNotFound);
}

namespace {

/// Where an entry says that its contents are.
struct Extent {
  std::uint64_t firstBlock = 0;
  std::uint64_t blocks = 0;
  std::uint64_t fileSize = 0; ///< bytes; 0 where that says nothing about the contents
};

Extent extentOf(const EMU3File &file, const VolumeGeometry &geometry) {
  Extent extent;
  file.lookAtFields([&](const EMU3FileFields &fields) {
    extent.firstBlock = geometry.slotStartBlock(std::max<std::uint16_t>(fields.startCluster, 1));
    extent.blocks = fields.blocksInLastCluster;
    extent.fileSize = fields.fileSize;
  });
  return extent;
}

} // namespace

FileContents contentsOfFile(const Volume &volume, const EMU3File &file) {
  if (ByteBufferPtr cached = file.cachedData()) return FileContents(std::move(cached));
  const VolumeGeometry geometry = volume.geometry();
  const Extent extent = extentOf(file, geometry);
  const std::uint64_t inside =
      extent.firstBlock < geometry.totalBlocks ? geometry.totalBlocks - extent.firstBlock : 0;
  std::uint64_t size = std::min(extent.blocks, inside) * format::kBlockSize;
  if (extent.fileSize != 0) size = std::min(size, extent.fileSize);
  return {volume.image, extent.firstBlock, size};
}

ByteBufferPtr wholeBytesOfFile(const Volume &volume, const EMU3File &file) {
  const auto [first, blocks, fileSize] = extentOf(file, volume.geometry());
  auto bytes = std::make_shared<ByteBuffer>();
  bytes->resize(blocks * format::kBlockSize);
  if (volume.image.readBytes(first, 0, bytes->data(), bytes->size()) < bytes->size()) return nullptr;
  // Where the image was cut short inside a page, the rest of that page reads as zeros without a fault.
  if (!bytes->empty() && !volume.image.reaches(first * format::kBlockSize + bytes->size())) return nullptr;
  if (fileSize != 0) bytes->resize(std::min<std::uint64_t>(bytes->size(), fileSize));
  return bytes;
}

ByteBufferPtr bytesOfFile(const Volume &volume, const EMU3File &file) {
  if (ByteBufferPtr cached = file.cachedData()) return cached;
  const FileContents contents = contentsOfFile(volume, file);
  auto bytes = std::make_shared<ByteBuffer>();
  bytes->resize(contents.size());
  bytes->resize(contents.read(0, bytes->data(), contents.size()));
  return bytes;
}

} // namespace tessary
