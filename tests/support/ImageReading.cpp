#include "tests/support/ImageReading.h"

#include <algorithm>

namespace tessary::test {
namespace {

std::uint64_t dividedUp(std::uint64_t value, std::uint64_t by) {
  return value / by + (value % by != 0 ? 1 : 0);
}

bool isText(const std::uint8_t *text, std::size_t length) {
  for (std::size_t at = 0; at < length;) {
    const std::uint8_t lead = text[at];
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (size == 0 || lead > 0xF4 || at + size > length) return false;
    for (std::size_t i = 1; i < size; ++i)
      if ((text[at + i] & 0xC0) != 0x80) return false;
    const bool isTooLong = (lead == 0xE0 && text[at + 1] < 0xA0) || (lead == 0xF0 && text[at + 1] < 0x90);
    const bool isNoCharacter = (lead == 0xED && text[at + 1] > 0x9F) || (lead == 0xF4 && text[at + 1] > 0x8F);
    if (isTooLong || isNoCharacter) return false;
    at += size;
  }
  return true;
}

// Spaces and zeros at the end do not count, nor does anything behind a zero.
bool hasTextAsName(const RawEntry &entry) {
  std::size_t end = 16;
  while (end > 0 && (entry[end - 1] == ' ' || entry[end - 1] == 0))
    --end;
  const auto zero = std::find(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(end), 0);
  const auto length = static_cast<std::size_t>(zero - entry.begin());
  return length > 0 && isText(entry.data(), length);
}

} // namespace

std::uint16_t wordAt(const RawEntry &entry, std::size_t offset) {
  return static_cast<std::uint16_t>(entry[offset] | (entry[offset + 1] << 8));
}

bool readsAsFolder(const RawEntry &entry) {
  if (entry[28] == 'E' && entry[29] == '4' && entry[30] == 'B' && entry[31] == '0') return false;
  if (entry[26] == 0x80 || entry[26] == 0x81 || entry[26] == 0x83) return false;
  return entry[17] == 0x40 || entry[17] == 0x80;
}

std::vector<std::uint64_t> blocksNamedBy(const RawEntry &folder) {
  std::vector<std::uint64_t> blocks;
  for (std::size_t offset = 18; offset < 32; offset += 2) {
    const std::uint16_t number = wordAt(folder, offset);
    if (number >= 1 && number <= 0x7FFF) blocks.push_back(number);
  }
  return blocks;
}

ImageReading::ImageReading(const Bytes &image, MountRules rules) : image_(image), rules_(rules) {
  const auto field = [&](std::size_t at, std::uint64_t unset) {
    std::uint64_t value = 0;
    for (std::size_t i = 4; i > 0; --i)
      value = value * 256 + image_[at + i - 1];
    return value == 0 ? unset : value;
  };
  isVolume = image_[0] == 'E' && image_[1] == 'M' && image_[2] == 'U' && image_[3] == '3';
  totalBlocks = image_.size() / kBlockBytes;
  rootBlock = field(8, 6);
  dataBlock = field(32, 175);
  tableStart = field(40, 2);
  slotBlocks = field(44, 2048) * 2;
  tableEnd = tableStart + dividedUp(totalBlocks, 256);
  if (rootBlock >= tableStart) tableEnd = std::min(tableEnd, rootBlock);
  if (dataBlock >= tableStart) tableEnd = std::min(tableEnd, dataBlock);
  while (slotCount < 65535 && slotStart(slotCount + 1) < totalBlocks)
    ++slotCount;
  readTree();
}

void ImageReading::readTree() {
  folders[{0, 0}] = {rootBlock};
  named_.insert(rootBlock);
  std::set<std::uint64_t> seen;
  readBlock(rootBlock, {0, 0}, seen);
}

// Down into each folder at its entry.
void ImageReading::readBlock(std::uint64_t block, Place folder, std::set<std::uint64_t> &seen) {
  if (block >= totalBlocks || !seen.insert(block).second) return;
  for (std::size_t index = 0; index < 16; ++index) {
    const Place place{block, index};
    const RawEntry bytes = entryAt(place);
    if (bytes[0] == 0) continue;
    const bool isFolder = readsAsFolder(bytes);
    if (rules_ == MountRules::bare && !hasTextAsName(bytes)) {
      if (isFolder || bytes[26] != 0) ++hiddenEntries;
      continue;
    }
    entries[place] = {bytes, isFolder, folder};
    if (!isFolder) continue;
    folders[place] = blocksNamedBy(bytes);
    named_.insert(folders[place].begin(), folders[place].end());
    for (const std::uint64_t below : blocksNamedBy(bytes))
      readBlock(below, place, seen);
  }
}

RawEntry ImageReading::entryAt(Place place) const {
  RawEntry bytes{};
  const auto from =
      image_.begin() + static_cast<std::ptrdiff_t>(place.first * kBlockBytes + place.second * 32);
  std::copy_n(from, bytes.size(), bytes.begin());
  return bytes;
}

bool ImageReading::isDescribed(std::uint64_t block) const {
  return block < totalBlocks && tableBlockOf(block) < tableEnd;
}

std::uint16_t ImageReading::mark(std::uint64_t block) const {
  if (!isDescribed(block) || tableBlockOf(block) >= totalBlocks) return 0;
  const std::size_t at = tableBlockOf(block) * kBlockBytes + block % 256 * 2;
  return static_cast<std::uint16_t>(image_[at] | (image_[at + 1] << 8));
}

bool ImageReading::mayHoldFolder(std::uint64_t block) const {
  return block >= std::max<std::uint64_t>(rootBlock, 1) && block < dataBlock && block < totalBlocks &&
         block < 32768 && !isInTable(block);
}

std::pair<std::uint64_t, std::uint64_t> ImageReading::contentsOf(const RawEntry &file) const {
  const std::uint64_t first = std::min(slotStart(std::max<std::uint64_t>(1, wordAt(file, 18))), totalBlocks);
  return {first, std::min(first + wordAt(file, 22), totalBlocks)};
}

bool ImageReading::isInContents(std::uint64_t block, const std::set<Place> &exceptOf) const {
  return std::any_of(entries.begin(), entries.end(), [&](const auto &item) {
    if (!item.second.isLiveFile() || exceptOf.contains(item.first)) return false;
    const auto [first, end] = contentsOf(item.second.bytes);
    return first <= block && block < end;
  });
}

Bytes ImageReading::bytesOf(const RawEntry &file) const {
  const auto [first, end] = contentsOf(file);
  const std::uint64_t blocks = wordAt(file, 22);
  const std::uint64_t stated = blocks == 0 ? 0 : (blocks - 1) * kBlockBytes + wordAt(file, 24);
  std::uint64_t size = (end - first) * kBlockBytes;
  if (stated != 0) size = std::min(size, stated);
  const auto from = image_.begin() + static_cast<std::ptrdiff_t>(first * kBlockBytes);
  return {from, from + static_cast<std::ptrdiff_t>(size)};
}

bool ImageReading::isWhole(const RawEntry &file) const {
  const std::uint64_t blocks = wordAt(file, 22);
  return blocks == 0 || slotStart(std::max<std::uint64_t>(1, wordAt(file, 18))) + blocks <= totalBlocks;
}

std::uint64_t ImageReading::slotsFor(std::uint64_t blocks) const {
  return std::max<std::uint64_t>(1, dividedUp(blocks, slotBlocks));
}

std::pair<std::uint64_t, std::uint64_t> ImageReading::reachOf(const RawEntry &file) const {
  const std::uint64_t first = std::max<std::uint64_t>(1, wordAt(file, 18));
  const std::uint64_t count = std::max<std::uint64_t>(slotsFor(wordAt(file, 22)), wordAt(file, 20));
  return {first, first + count - 1};
}

bool ImageReading::isReached(std::uint64_t slot, const std::set<Place> &exceptBy) const {
  return std::any_of(entries.begin(), entries.end(), [&](const auto &item) {
    if (!item.second.isLiveFile() || exceptBy.contains(item.first)) return false;
    const auto [first, last] = reachOf(item.second.bytes);
    return first <= slot && slot <= last;
  });
}

std::vector<bool> ImageReading::takenSlots() const {
  std::vector<bool> taken(slotCount + 1);
  for (const auto &[place, entry] : entries) {
    if (!entry.isLiveFile()) continue;
    const auto [first, last] = reachOf(entry.bytes);
    for (std::uint64_t slot = first; slot <= std::min(last, slotCount); ++slot)
      taken[slot] = true;
  }
  for (std::uint64_t block = dataBlock; block < totalBlocks; ++block) {
    const std::uint64_t slot = (block - dataBlock) / slotBlocks + 1;
    if (slot <= slotCount && (isInTable(block) || isNamed(block) || mark(block) != 0)) taken[slot] = true;
  }
  return taken;
}

std::uint64_t ImageReading::freeBlocks() const {
  const std::vector<bool> taken = takenSlots();
  std::uint64_t free = 0;
  for (std::uint64_t slot = 1; slot <= slotCount; ++slot) {
    if (!taken[slot]) free += std::min(slotBlocks, totalBlocks - slotStart(slot));
  }
  return free;
}

bool ImageReading::hasRoomAt(std::uint64_t slot, std::uint64_t blocks) const {
  const std::uint64_t last = slot + slotsFor(blocks) - 1;
  if (slot < 1 || last > slotCount || slotStart(slot) + blocks > totalBlocks) return false;
  const std::vector<bool> taken = takenSlots();
  for (std::uint64_t reached = slot; reached <= last; ++reached)
    if (taken[reached]) return false;
  return true;
}

std::optional<std::uint64_t> ImageReading::slotForNewFile(std::uint64_t blocks) const {
  std::uint64_t highest = 0;
  for (const auto &[place, entry] : entries) {
    if (!entry.isFolder) highest = std::max(highest, reachOf(entry.bytes).second);
  }
  for (std::uint64_t slot = highest + 1; slot <= slotCount; ++slot)
    if (hasRoomAt(slot, blocks)) return slot;
  for (std::uint64_t slot = 1; slot <= slotCount; ++slot)
    if (hasRoomAt(slot, blocks)) return slot;
  return std::nullopt;
}

bool ImageReading::mayChange(Place entry, const std::set<Place> &own) const {
  return entry.first == rootBlock || entry.first < dataBlock || !isInContents(entry.first, own);
}

bool ImageReading::takesEntries(std::uint64_t block) const {
  return block == rootBlock || (!isInTable(block) && !isInContents(block, {}));
}

bool ImageReading::isFree(Place place) const {
  const RawEntry bytes = entryAt(place);
  if (bytes[0] == 0) return true;
  return bytes[26] == 0 && !folders.contains(place);
}

std::optional<Place> ImageReading::freePlaceIn(Place folder) const {
  for (const std::uint64_t block : folders.at(folder)) {
    if (block >= totalBlocks || !takesEntries(block)) continue;
    for (std::size_t index = 0; index < 16; ++index)
      if (isFree({block, index})) return Place{block, index};
  }
  return std::nullopt;
}

std::optional<std::uint64_t>
ImageReading::freeDirectoryBlock(const std::function<bool(std::uint64_t)> &suits) const {
  std::optional<std::uint64_t> withoutEntries;
  for (std::uint64_t block = 1; block < totalBlocks; ++block) {
    if (!mayHoldFolder(block) || isNamed(block) || !suits(block)) continue;
    const auto begin = image_.begin() + static_cast<std::ptrdiff_t>(block * kBlockBytes);
    if (std::all_of(begin, begin + kBlockBytes, [](std::uint8_t byte) { return byte == 0; })) return block;
    bool hasEntry = false;
    for (std::size_t index = 0; index < 16; ++index)
      hasEntry = hasEntry || entryAt({block, index})[0] != 0;
    if (!hasEntry && !withoutEntries) withoutEntries = block;
  }
  return withoutEntries;
}

std::set<std::uint64_t> ImageReading::withBlocksBelow(std::vector<std::uint64_t> blocks) const {
  std::set<std::uint64_t> found;
  while (!blocks.empty()) {
    const std::uint64_t block = blocks.back();
    blocks.pop_back();
    if (block >= totalBlocks || !found.insert(block).second) continue;
    for (std::size_t index = 0; index < 16; ++index) {
      const RawEntry entry = entryAt({block, index});
      if (entry[0] == 0 || !readsAsFolder(entry)) continue;
      const std::vector<std::uint64_t> below = blocksNamedBy(entry);
      blocks.insert(blocks.end(), below.begin(), below.end());
    }
  }
  return found;
}

std::optional<ImageReading::Growth> ImageReading::growthOf(Place folder,
                                                           const std::set<std::uint64_t> &exceptFor) const {
  if (folder == Place{0, 0} || !mayChange(folder, {})) return std::nullopt;
  RawEntry entry = entries.at(folder).bytes;
  for (std::size_t offset = 18; offset < 32; offset += 2) {
    if (const std::uint16_t number = wordAt(entry, offset); number >= 1 && number <= 0x7FFF) continue;
    const auto grown = [&](std::uint64_t block) {
      RawEntry with = entry;
      with[offset] = static_cast<std::uint8_t>(block & 0xFF);
      with[offset + 1] = static_cast<std::uint8_t>(block >> 8);
      return with;
    };
    const auto block = freeDirectoryBlock(
        [&](std::uint64_t number) { return !exceptFor.contains(number) && readsAsFolder(grown(number)); });
    if (!block) return std::nullopt;
    return Growth{*block, grown(*block)};
  }
  return std::nullopt;
}

} // namespace tessary::test
