#include "filesystem/VolumeGeometry.h"

#include "filesystem/DiskFormat.h"
#include "filesystem/ImageMapping.h"

#include <algorithm>

namespace tessary {

using namespace format;

std::uint64_t VolumeGeometry::slotStartBlock(std::uint16_t slot) const {
  return dataAreaBlock + slotSizeBlocks * (std::uint64_t{slot} - 1);
}

std::uint64_t VolumeGeometry::contentsStartBlock(std::uint16_t startCluster) const {
  return slotStartBlock(std::max<std::uint16_t>(startCluster, 1));
}

std::uint64_t VolumeGeometry::tableEndBlock() const {
  std::uint64_t end = fatStartBlock + (totalBlocks + kFatEntriesPerBlock - 1) / kFatEntriesPerBlock;
  for (const std::uint64_t next : {rootDirBlock, dataAreaBlock}) {
    if (next >= fatStartBlock) end = std::min(end, next);
  }
  return end;
}

bool VolumeGeometry::isInTable(std::uint64_t block) const {
  return block >= fatStartBlock && block < tableEndBlock();
}

bool VolumeGeometry::mayHoldFolder(std::uint64_t block) const {
  return block >= std::max<std::uint64_t>(rootDirBlock, 1) && block < dataAreaBlock && block < totalBlocks &&
         block <= kLastFolderBlock && !isInTable(block);
}

std::uint64_t VolumeGeometry::describedBlocks() const {
  const std::uint64_t end = std::max(fatStartBlock, std::min(tableEndBlock(), totalBlocks));
  return std::min((end - fatStartBlock) * kFatEntriesPerBlock, totalBlocks);
}

std::optional<VolumeGeometry> readGeometry(const ImageMapping &image, EMU3Error *error) {
  if (image.size() < kBlockSize) {
    fail(error, EngineError::imageTooSmall);
    return std::nullopt;
  }
  Block header{};
  image.read(0, 0, header.data(), header.size());
  if (!std::equal(kSignature.begin(), kSignature.end(), header.begin())) {
    fail(error, EngineError::signatureMissing);
    return std::nullopt;
  }
  const auto fieldOr = [&header](std::size_t offset, std::uint64_t unset) {
    const std::uint64_t value = readLE32(header.data() + offset);
    return value == 0 ? unset : value;
  };
  VolumeGeometry geometry;
  geometry.totalBlocks = image.size() / kBlockSize;
  geometry.rootDirBlock = fieldOr(kHeaderRootDirBlock, kDefaultRootDirBlock);
  geometry.dataAreaBlock = fieldOr(kHeaderDataAreaBlock, kDefaultDataAreaBlock);
  geometry.fatStartBlock = fieldOr(kHeaderFatStartBlock, kDefaultFatStartBlock);
  geometry.slotSizeBlocks = fieldOr(kHeaderSlotSize, kDefaultSlotSizeBlocks / 2) * 2;
  geometry.firstScannedBlock = fieldOr(kHeaderFatStartBlock, 0);
  return geometry;
}

} // namespace tessary
