#include "filesystem/FileReading.h"

#include "filesystem/DiskFormat.h"
#include "filesystem/VolumeRules.h"

#include <algorithm>
#include <utility>

namespace tessary {

bool mayReadFile(const Volume &volume, const EMU3FilePtr &file, EMU3Error *error) {
  return volume.rules().mayRead(volume, file) || fail(error, EngineError::entryNotFound);
}

FileContents contentsOfFile(const Volume &volume, const EMU3File &file) {
  if (ByteBufferPtr cached = file.cachedData()) return FileContents(std::move(cached));
  const VolumeGeometry geometry = volume.geometry();
  const EMU3FileFields fields = file.fields();
  const std::uint64_t first = geometry.slotStartBlock(std::max<std::uint16_t>(fields.startCluster, 1));
  const std::uint64_t inside = first < geometry.totalBlocks ? geometry.totalBlocks - first : 0;
  std::uint64_t size = std::min<std::uint64_t>(fields.blocksInLastCluster, inside) * format::kBlockSize;
  if (fields.fileSize != 0) size = std::min(size, fields.fileSize);
  return {volume.image, first, size};
}

ByteBufferPtr wholeBytesOfFile(const Volume &volume, const EMU3File &file) {
  const EMU3FileFields fields = file.fields();
  const std::uint64_t first =
      volume.geometry().slotStartBlock(std::max<std::uint16_t>(fields.startCluster, 1));
  auto bytes = std::make_shared<ByteBuffer>();
  bytes->resize(fields.blocksInLastCluster * format::kBlockSize);
  if (volume.image.readBytes(first, 0, bytes->data(), bytes->size()) < bytes->size()) return nullptr;
  // Where the image was cut short inside a page, the rest of that page reads as zeros without a fault.
  if (!bytes->empty() && !volume.image.reaches(first * format::kBlockSize + bytes->size())) return nullptr;
  if (fields.fileSize != 0) bytes->resize(std::min<std::uint64_t>(bytes->size(), fields.fileSize));
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
