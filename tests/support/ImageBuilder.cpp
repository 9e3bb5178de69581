#include "tests/support/ImageBuilder.h"

#include "tests/support/SparseBytes.h"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace tessary::test {

namespace {

constexpr std::uint64_t kEntriesPerTableBlock = 256;
constexpr std::size_t kEntriesPerBlock = 16;
constexpr std::uint16_t kUsedMark = 0x8000;
constexpr std::uint64_t kMostFileBlocks = 65535;
constexpr std::uint64_t kDirectoryBlocksEnd = 32768; // a folder's entry holds signed 16-bit numbers

void put16(std::uint8_t *at, std::uint16_t value) {
  at[0] = static_cast<std::uint8_t>(value);
  at[1] = static_cast<std::uint8_t>(value >> 8);
}

/// The low byte of a folder's fifth block number lies where a file has its type byte.
bool readsAsFileType(std::uint64_t fifthBlock) {
  const std::uint64_t low = fifthBlock & 0xFF;
  return low == 0x80 || low == 0x81 || low == 0x83;
}

std::uint64_t blocksFor(std::uint64_t bytes) {
  return (bytes + kBlockBytes - 1) / kBlockBytes;
}

void putName(RawEntry &entry, std::string_view name, char padding) {
  if (name.size() > 16) throw std::logic_error("name of more than 16 bytes: " + std::string(name));
  std::fill_n(entry.begin(), 16, static_cast<std::uint8_t>(padding));
  std::copy(name.begin(), name.end(), entry.begin());
}

} // namespace

Bytes bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

Bytes patternBytes(std::size_t length, std::uint32_t seed) {
  Bytes bytes(length);
  std::uint32_t state = seed * 2654435761U + 1;
  for (auto &byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return bytes;
}

VolumeLayout VolumeLayout::zeroHeader(std::uint64_t size) {
  return {.sizeBytes = size, .fatStartBlock = 0, .rootDirBlock = 0, .dataAreaBlock = 0, .slotSizeBlocks = 0};
}

struct FolderBuilder::State {
  std::vector<std::uint64_t> blocks;
  EntryPlace place;
  std::set<std::size_t> taken;
  std::size_t fileCount = 0;
};

struct FolderBuilder::Volume {
  explicit Volume(const VolumeLayout &layout);

  void writeHeader(const VolumeLayout &layout);
  void mark(std::uint64_t firstBlock, std::uint64_t count);
  void setFatEntry(std::uint64_t block, std::uint16_t value);
  void requireInside(std::uint64_t offset, std::uint64_t length) const;
  std::vector<std::int16_t> takeDirectoryBlocks(std::size_t count);
  /// Slot 0 is read as slot 1.
  std::uint64_t slotBlock(std::uint64_t slot) const {
    return dataArea + slotSize * (slot > 0 ? slot - 1 : 0);
  }
  std::uint64_t slotsFor(std::uint64_t blockCount) const {
    return std::max<std::uint64_t>(1, (blockCount + slotSize - 1) / slotSize);
  }

  SparseBytes bytes;
  std::uint64_t fatStart;
  std::uint64_t rootBlock;
  std::uint64_t dataArea;
  std::uint64_t slotSize;
  std::uint64_t tableEntries = 0;
  bool marksBlocks;
  std::uint64_t nextSlot = 1;
  std::uint64_t nextDirectoryBlock;
  std::set<std::uint64_t> directoryBlocks;
  std::vector<FolderBuilder::State> folders;
};

FolderBuilder::Volume::Volume(const VolumeLayout &layout)
    : bytes(layout.sizeBytes), marksBlocks(layout.marksBlocks) {
  const std::uint64_t totalBlocks = layout.sizeBytes / kBlockBytes;
  const auto orDefault = [](std::uint64_t value, std::uint64_t whenZero) { return value ? value : whenZero; };
  fatStart = orDefault(layout.fatStartBlock, 2);
  rootBlock = layout.rootDirBlock
                  ? orDefault(*layout.rootDirBlock, 6)
                  : fatStart + (totalBlocks + kEntriesPerTableBlock - 1) / kEntriesPerTableBlock;
  dataArea =
      layout.dataAreaBlock ? orDefault(*layout.dataAreaBlock, 175) : rootBlock + layout.directoryBlocks;
  slotSize = orDefault(layout.slotSizeBlocks, 4096);
  std::uint64_t tableEnd = totalBlocks;
  for (const std::uint64_t behind : {rootBlock, dataArea})
    if (behind > fatStart) tableEnd = std::min(tableEnd, behind);
  tableEntries = tableEnd > fatStart ? (tableEnd - fatStart) * kEntriesPerTableBlock : 0;

  writeHeader(layout);
  nextDirectoryBlock = rootBlock;
  directoryBlocks.insert(rootBlock);
  folders.push_back({.blocks = {rootBlock}, .place = {}, .taken = {}});
  mark(0, std::min(dataArea, totalBlocks));
}

void FolderBuilder::Volume::writeHeader(const VolumeLayout &layout) {
  if (layout.slotSizeBlocks % 2 != 0)
    throw std::logic_error("the header holds slot sizes in units of two blocks");
  std::array<std::uint8_t, 48> header{'E', 'M', 'U', '3'};
  const auto put32 = [&header](std::size_t at, std::uint64_t value) {
    put16(&header[at], static_cast<std::uint16_t>(value));
    put16(&header[at + 2], static_cast<std::uint16_t>(value >> 16));
  };
  put32(8, layout.rootDirBlock.value_or(static_cast<std::uint32_t>(rootBlock)));
  put32(32, layout.dataAreaBlock.value_or(static_cast<std::uint32_t>(dataArea)));
  put32(40, layout.fatStartBlock);
  put32(44, layout.slotSizeBlocks / 2);
  bytes.write(0, header);
}

void FolderBuilder::Volume::mark(std::uint64_t firstBlock, std::uint64_t count) {
  if (!marksBlocks) return;
  if (firstBlock >= tableEntries) return;
  Bytes marks(2 * std::min(count, tableEntries - firstBlock));
  for (std::size_t at = 0; at < marks.size(); at += 2)
    put16(&marks[at], kUsedMark);
  bytes.write(fatStart * kBlockBytes + 2 * firstBlock, marks);
}

void FolderBuilder::Volume::setFatEntry(std::uint64_t block, std::uint16_t value) {
  std::array<std::uint8_t, 2> stored{};
  put16(stored.data(), value);
  bytes.write(fatStart * kBlockBytes + 2 * block, stored);
}

void FolderBuilder::Volume::requireInside(std::uint64_t offset, std::uint64_t length) const {
  if (offset > bytes.size() || length > bytes.size() - offset)
    throw std::logic_error("outside the image: " + std::to_string(length) + " bytes at " +
                           std::to_string(offset));
}

std::vector<std::int16_t> FolderBuilder::Volume::takeDirectoryBlocks(std::size_t count) {
  if (count < 1 || count > 7) throw std::logic_error("a folder has 1 to 7 blocks");
  std::vector<std::int16_t> taken;
  for (; nextDirectoryBlock < std::min(dataArea, kDirectoryBlocksEnd) && taken.size() < count;
       ++nextDirectoryBlock)
    if (!directoryBlocks.contains(nextDirectoryBlock) &&
        !(taken.size() == 4 && readsAsFileType(nextDirectoryBlock)))
      taken.push_back(static_cast<std::int16_t>(nextDirectoryBlock));
  if (taken.size() < count) throw std::logic_error("no directory block left");
  return taken;
}

const std::vector<std::uint64_t> &FolderBuilder::blocks() const {
  return volume_->folders[index_].blocks;
}

EntryPlace FolderBuilder::place() const {
  return volume_->folders[index_].place;
}

EntryPlace FolderBuilder::take(std::optional<std::size_t> entry) {
  auto &state = volume_->folders[index_];
  std::size_t number = entry.value_or(0);
  while (!entry && state.taken.contains(number))
    ++number;
  if (number >= state.blocks.size() * kEntriesPerBlock)
    throw std::logic_error("the folder has no entry " + std::to_string(number));
  state.taken.insert(number);
  return {state.blocks[number / kEntriesPerBlock], number % kEntriesPerBlock};
}

EntryPlace FolderBuilder::addRaw(const RawEntry &entry, std::optional<std::size_t> at) {
  const EntryPlace place = take(at);
  const std::uint64_t offset = place.block * kBlockBytes + place.index * entry.size();
  volume_->requireInside(offset, entry.size());
  volume_->bytes.write(offset, entry);
  return place;
}

FolderBuilder FolderBuilder::addFolder(std::string_view name, const FolderOptions &options) {
  auto numbers = options.blockList;
  if (numbers.empty()) numbers = volume_->takeDirectoryBlocks(options.blockCount);
  RawEntry entry = rawFolderEntry(name, options.entryId, numbers);
  putName(entry, name, options.namePadding);
  entry[16] = options.byte16;

  State state;
  state.place = addRaw(entry, options.entry);
  for (const std::int16_t number : numbers)
    if (number >= 1) state.blocks.push_back(static_cast<std::uint64_t>(number));
  for (const std::uint64_t block : state.blocks) {
    volume_->directoryBlocks.insert(block);
    volume_->mark(block, 1);
  }
  volume_->folders.push_back(std::move(state));
  return {volume_, volume_->folders.size() - 1};
}

PlacedFile FolderBuilder::addFile(std::string_view name, std::span<const std::uint8_t> contents,
                                  const FileOptions &options) {
  const std::uint64_t size = std::max<std::uint64_t>(options.sizeBytes.value_or(0), contents.size());
  const std::uint64_t blockCount = blocksFor(size);
  if (blockCount > kMostFileBlocks) throw std::logic_error("file of more than 65,535 blocks");
  const std::uint64_t slot = options.slot.value_or(static_cast<std::uint16_t>(volume_->nextSlot));
  if (!options.slot && volume_->nextSlot > 65535) throw std::logic_error("no slot left");

  PlacedFile placed;
  placed.slot = static_cast<std::uint16_t>(slot);
  placed.entryId = options.entryId.value_or(static_cast<std::uint8_t>(volume_->folders[index_].fileCount));
  placed.firstBlock = volume_->slotBlock(placed.slot);
  placed.blockCount = blockCount;

  const std::uint64_t slots = volume_->slotsFor(blockCount);
  const std::uint64_t bytesInLast = blockCount ? size - (blockCount - 1) * kBlockBytes : 0;
  RawEntry entry = rawFileEntry(name, options.type, placed.entryId, placed.slot,
                                options.clusterCount.value_or(static_cast<std::uint16_t>(slots)),
                                options.blocksInLastCluster.value_or(static_cast<std::uint16_t>(blockCount)),
                                options.bytesInLastBlock.value_or(static_cast<std::uint16_t>(bytesInLast)));
  putName(entry, name, options.namePadding);
  entry[16] = options.byte16;
  entry[27] = options.byte27;
  if (options.e4b0Mark) std::copy_n("E4B0", 4, entry.begin() + 28);
  placed.entry = addRaw(entry, options.entry);

  volume_->folders[index_].fileCount += 1;
  if (options.storesContents) {
    volume_->nextSlot = std::max(volume_->nextSlot, std::max<std::uint64_t>(slot, 1) + slots);
    if (blockCount > 0) {
      volume_->requireInside(placed.firstBlock * kBlockBytes, blockCount * kBlockBytes);
      volume_->bytes.write(placed.firstBlock * kBlockBytes, contents);
      volume_->mark(placed.firstBlock, blockCount);
    }
  }
  return placed;
}

EntryPlace FolderBuilder::addDeletedFile(const FileOptions &options) {
  RawEntry entry = rawFileEntry("", 0, options.entryId.value_or(0), options.slot.value_or(1),
                                options.clusterCount.value_or(1), options.blocksInLastCluster.value_or(1),
                                options.bytesInLastBlock.value_or(512));
  putName(entry, "", '\0');
  if (options.e4b0Mark) std::copy_n("E4B0", 4, entry.begin() + 28);
  return addRaw(entry, options.entry);
}

ImageBuilder::ImageBuilder(const VolumeLayout &layout)
    : volume_(std::make_unique<FolderBuilder::Volume>(layout)) {}
ImageBuilder::~ImageBuilder() = default;
ImageBuilder::ImageBuilder(ImageBuilder &&) noexcept = default;
ImageBuilder &ImageBuilder::operator=(ImageBuilder &&) noexcept = default;

std::uint64_t ImageBuilder::sizeBytes() const {
  return volume_->bytes.size();
}
std::uint64_t ImageBuilder::totalBlocks() const {
  return sizeBytes() / kBlockBytes;
}
std::uint64_t ImageBuilder::fatStartBlock() const {
  return volume_->fatStart;
}
std::uint64_t ImageBuilder::rootDirBlock() const {
  return volume_->rootBlock;
}
std::uint64_t ImageBuilder::dataAreaBlock() const {
  return volume_->dataArea;
}
std::uint64_t ImageBuilder::slotSizeBlocks() const {
  return volume_->slotSize;
}
std::uint64_t ImageBuilder::slotBlock(std::uint16_t slot) const {
  return volume_->slotBlock(slot);
}
std::uint64_t ImageBuilder::tableEntries() const {
  return volume_->tableEntries;
}

FolderBuilder ImageBuilder::root() {
  return {volume_.get(), 0};
}

ImageBuilder &ImageBuilder::poke(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  volume_->requireInside(offset, bytes.size());
  volume_->bytes.write(offset, bytes);
  return *this;
}
ImageBuilder &ImageBuilder::poke(std::uint64_t offset, std::initializer_list<std::uint8_t> bytes) {
  return poke(offset, std::span(bytes.begin(), bytes.size()));
}
ImageBuilder &ImageBuilder::poke(std::uint64_t offset, std::string_view text) {
  return poke(offset, bytesOf(text));
}
ImageBuilder &ImageBuilder::poke16(std::uint64_t offset, std::uint16_t littleEndian) {
  std::array<std::uint8_t, 2> bytes{};
  put16(bytes.data(), littleEndian);
  return poke(offset, bytes);
}
ImageBuilder &ImageBuilder::poke32(std::uint64_t offset, std::uint32_t littleEndian) {
  std::array<std::uint8_t, 4> bytes{};
  put16(&bytes[0], static_cast<std::uint16_t>(littleEndian));
  put16(&bytes[2], static_cast<std::uint16_t>(littleEndian >> 16));
  return poke(offset, bytes);
}
ImageBuilder &ImageBuilder::pokeBlock(std::uint64_t block, std::size_t offset,
                                      std::span<const std::uint8_t> bytes) {
  return poke(block * kBlockBytes + offset, bytes);
}
ImageBuilder &ImageBuilder::pokeEntry(EntryPlace place, const RawEntry &entry) {
  return pokeBlock(place.block, place.index * entry.size(), entry);
}

Bytes ImageBuilder::peek(std::uint64_t offset, std::size_t length) const {
  volume_->requireInside(offset, length);
  Bytes bytes(length);
  volume_->bytes.read(offset, bytes);
  return bytes;
}

RawEntry ImageBuilder::entryAt(EntryPlace place) const {
  RawEntry entry{};
  const std::uint64_t offset = place.block * kBlockBytes + place.index * entry.size();
  volume_->requireInside(offset, entry.size());
  volume_->bytes.read(offset, entry);
  return entry;
}

std::uint16_t ImageBuilder::fatEntry(std::uint64_t block) const {
  const Bytes stored = peek(fatStartBlock() * kBlockBytes + 2 * block, 2);
  return static_cast<std::uint16_t>(stored[0] | (stored[1] << 8));
}

ImageBuilder &ImageBuilder::setFatEntry(std::uint64_t block, std::uint16_t value) {
  volume_->requireInside(fatStartBlock() * kBlockBytes + 2 * block, 2);
  volume_->setFatEntry(block, value);
  return *this;
}

ImageBuilder &ImageBuilder::resize(std::uint64_t size) {
  volume_->bytes.resize(size);
  return *this;
}

Bytes ImageBuilder::build() const {
  Bytes image(sizeBytes());
  volume_->bytes.read(0, image);
  return image;
}

void ImageBuilder::writeTo(const std::string &path) const {
  volume_->bytes.writeTo(path);
}

RawEntry rawFileEntry(std::string_view name, std::uint8_t type, std::uint8_t entryId, std::uint16_t slot,
                      std::uint16_t clusterCount, std::uint16_t blocks, std::uint16_t bytesInLastBlock) {
  RawEntry entry{};
  putName(entry, name, ' ');
  entry[17] = entryId;
  put16(&entry[18], slot);
  put16(&entry[20], clusterCount);
  put16(&entry[22], blocks);
  put16(&entry[24], bytesInLastBlock);
  entry[26] = type;
  return entry;
}

RawEntry rawFolderEntry(std::string_view name, std::uint8_t entryId, std::span<const std::int16_t> blocks) {
  if (blocks.size() > 7) throw std::logic_error("a folder entry has seven block numbers");
  RawEntry entry{};
  putName(entry, name, ' ');
  entry[17] = entryId;
  for (std::size_t i = 0; i < blocks.size(); ++i)
    put16(&entry[18 + 2 * i], static_cast<std::uint16_t>(blocks[i]));
  return entry;
}

} // namespace tessary::test
