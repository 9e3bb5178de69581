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
  return {geometry.contentsStartBlock(file.startCluster()), file.blocksInLastCluster(), file.fileSize()};
}

// How many bytes of an extent's blocks are contents.
std::uint64_t wholeSizeOf(const Extent &extent) {
  const std::uint64_t size = extent.blocks * format::kBlockSize;
  return extent.fileSize == 0 ? size : std::min(size, extent.fileSize);
}

// Whether the image file still has all blocks of the extent. Where it was cut short inside a page, the rest
// of that page reads as zeros without a fault.
bool isAllThere(const Volume &volume, const Extent &extent) {
  return extent.blocks == 0 || volume.image.reaches((extent.firstBlock + extent.blocks) * format::kBlockSize);
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
  const Extent extent = extentOf(file, volume.geometry());
  auto bytes = std::make_shared<ByteBuffer>();
  bytes->resize(extent.blocks * format::kBlockSize);
  if (volume.image.readBytes(extent.firstBlock, 0, bytes->data(), bytes->size()) < bytes->size())
    return nullptr;
  if (!isAllThere(volume, extent)) return nullptr;
  bytes->resize(wholeSizeOf(extent));
  return bytes;
}

// A piece is small enough to stay in the processor's cache, so no second copy of the contents goes through
// memory.
bool areWholeBytesOfFile(const Volume &volume, const EMU3File &file, const ByteBuffer &bytes) {
  constexpr std::uint64_t mostAtOnce = std::uint64_t{256} << 10;
  const Extent extent = extentOf(file, volume.geometry());
  if (bytes.size() != wholeSizeOf(extent)) return false;
  ByteBuffer piece;
  piece.resize(std::min<std::uint64_t>(bytes.size(), mostAtOnce));
  for (std::uint64_t done = 0; done < bytes.size(); done += piece.size()) {
    piece.resize(std::min<std::uint64_t>(piece.size(), bytes.size() - done));
    if (volume.image.readBytes(extent.firstBlock, done, piece.data(), piece.size()) < piece.size())
      return false;
    if (!std::equal(piece.begin(), piece.end(), bytes.begin() + static_cast<std::ptrdiff_t>(done)))
      return false;
  }
  return isAllThere(volume, extent);
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
