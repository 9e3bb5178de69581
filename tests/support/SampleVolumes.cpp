#include "tests/support/SampleVolumes.h"

#include "tests/support/BankBuilder.h"

#include <algorithm>

namespace tessary::test {

namespace {

constexpr std::uint64_t kTwoMiB = 2 * kMiB;

/// "Folder 03", "Bank 110".
std::string numbered(std::string_view word, std::size_t number) {
  std::string digits = std::to_string(number);
  if (digits.size() < 2) digits.insert(0, "0");
  return std::string(word) + " " + digits;
}

Bytes smallBank(std::size_t number) {
  const std::string name = numbered("Bank", number);
  switch (number % 4) {
  case 0:
    return emulatorThreeBank(name, static_cast<std::uint16_t>(1 + number % 20), 12);
  case 1:
    return esi32Bank(name, 4, static_cast<std::uint16_t>(1 + number % 50));
  default:
    return IffBank().preset(name).preset("Second").sample("Sample A", patternBytes(600)).build();
  }
}

/// A bank of 2 MiB: a table of contents with many entries and one sample that is all of the rest, of which
/// only the beginning takes memory.
Bytes largeBankBeginning(std::size_t number) {
  IffBank bank;
  for (std::size_t preset = 1; preset <= 30; ++preset)
    bank.toc({.type = "E4P1", .name = numbered(numbered("Bank", number), preset), .size = 64});
  for (std::size_t sample = 1; sample <= 60; ++sample)
    bank.toc({.type = "E4S1", .name = numbered("Sample", sample), .size = 32768});
  const std::uint64_t audioBytes = kTwoMiB - bank.build().size() - 8;
  return bank.chunk("E4S1", patternBytes(2048), static_cast<std::uint32_t>(audioBytes)).build();
}

void addFiles(FolderBuilder folder, std::size_t count, std::size_t seed) {
  for (std::size_t i = 0; i < count; ++i) {
    const bool large = (seed + i) % 24 == 0;
    const auto contents = large ? largeBankBeginning(i) : smallBank(seed + i);
    folder.addFile(numbered("Bank", i), contents,
                   {.type = i % 40 == 39 ? std::uint8_t{0x82} : std::uint8_t{0x81},
                    .sizeBytes = large ? kTwoMiB : contents.size() + 512 * (i % 50)});
  }
}

/// A small sound volume that hostile values are then put into.
ImageBuilder smallVolume() {
  ImageBuilder image({.sizeBytes = 2 * kMiB});
  auto folder = image.root().addFolder("Folder", {.blockCount = 2});
  folder.addFile("Bank", smallBank(2));
  folder.addFolder("Inner").addFile("Other", smallBank(0));
  image.root().addFile("System", patternBytes(3000), {.type = 0x80});
  return image;
}

/// Directory blocks full of entries that look alive: names in ASCII, folder ids, block numbers that lead
/// back into the directory area.
void fillWithRandomEntries(ImageBuilder &image, Bytes randomness) {
  const std::uint64_t first = image.rootDirBlock();
  const std::uint64_t count = image.dataAreaBlock() - first;
  randomness.resize(count * kBlockBytes);
  for (std::size_t at = 0; at < randomness.size(); at += 32) {
    for (std::size_t i = 0; i < 16; ++i)
      randomness[at + i] = static_cast<std::uint8_t>(0x20 + randomness[at + i] % 0x5F);
    if (randomness[at + 17] % 3 != 0) continue;
    randomness[at + 17] = randomness[at + 16] % 2 == 0 ? 0x40 : 0x80;
    for (std::size_t i = 18; i < 32; i += 2) {
      const auto number = static_cast<std::uint16_t>(first + randomness[at + i] % count);
      randomness[at + i] = static_cast<std::uint8_t>(number);
      randomness[at + i + 1] = static_cast<std::uint8_t>(number >> 8);
    }
  }
  image.poke(first * kBlockBytes, randomness);
}

} // namespace

ImageBuilder bigVolume() {
  ImageBuilder image({.sizeBytes = kGiB, .slotSizeBlocks = 256, .directoryBlocks = 320});
  for (std::size_t shelf = 0; shelf < 8; ++shelf) {
    auto folder = image.root().addFolder(numbered("Shelf", shelf + 1), {.blockCount = 2});
    for (std::size_t box = 0; box < 4; ++box) {
      const std::size_t seed = shelf * 4 + box;
      auto inner = folder.addFolder(numbered("Box", seed + 1), {.blockCount = 7});
      addFiles(inner, seed % 5 == 4 ? 9 + seed : 112, seed);
    }
    addFiles(folder, 3 + shelf, shelf + 1);
  }
  return image;
}

ImageBuilder banks112Volume() {
  ImageBuilder image({.sizeBytes = 256 * kMiB, .slotSizeBlocks = 4096});
  auto folder = image.root().addFolder("Banks", {.blockCount = 7});
  for (std::size_t i = 1; i <= 112; ++i)
    folder.addFile(numbered("Bank", i), largeBankBeginning(i), {.sizeBytes = kTwoMiB});
  return image;
}

std::vector<NamedVolume> extremeHeaderVolumes() {
  struct Field {
    std::string name;
    std::uint64_t offset;
  };
  const std::vector<Field> fields{{"root", 8}, {"data", 32}, {"table", 40}, {"slot", 44}};
  const auto blocks = static_cast<std::uint32_t>(smallVolume().totalBlocks());
  const std::vector<std::uint32_t> values{0,      1,          2,          blocks - 1, blocks,
                                          0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
  std::vector<NamedVolume> volumes;
  for (const std::uint32_t value : values) {
    for (const Field &field : fields) {
      volumes.push_back({field.name + " " + std::to_string(value), smallVolume()});
      volumes.back().image.poke32(field.offset, value);
    }
    volumes.push_back({"all " + std::to_string(value), smallVolume()});
    for (const Field &field : fields)
      volumes.back().image.poke32(field.offset, value);
  }
  return volumes;
}

ImageBuilder cyclicVolume() {
  ImageBuilder image({.sizeBytes = 2 * kMiB});
  const auto rootBlock = static_cast<std::int16_t>(image.rootDirBlock());
  const auto first = static_cast<std::int16_t>(rootBlock + 1);
  const auto second = static_cast<std::int16_t>(rootBlock + 2);
  image.root().addFolder("Upwards", {.blockList = {rootBlock}});
  auto self = image.root().addFolder("Self", {.blockList = {first}});
  self.addFolder("Self again", {.blockList = {first, first, rootBlock}});
  self.addFile("File in Self", smallBank(1));
  auto other = self.addFolder("Other", {.blockList = {second}});
  other.addFolder("Back to Self", {.blockList = {first, second}});
  other.addFile("File in Other", smallBank(3));
  return image;
}

ImageBuilder sharedBlocksVolume() {
  constexpr std::int16_t kLevels = 40;
  ImageBuilder image({.sizeBytes = 2 * kMiB});
  FolderBuilder level = image.root();
  for (std::int16_t depth = 1; depth <= kLevels; ++depth) {
    const auto next = static_cast<std::int16_t>(image.rootDirBlock() + static_cast<std::uint64_t>(depth));
    const FolderOptions sameBlock{.blockList = {next, next, next}};
    const FolderBuilder first = level.addFolder("First", sameBlock);
    for (std::size_t i = 1; i < 15; ++i)
      level.addFolder(numbered("Same", i), sameBlock);
    level.addFile("File", smallBank(static_cast<std::size_t>(depth)));
    level = first;
  }
  return image;
}

ImageBuilder nestedVolume(std::size_t depth) {
  ImageBuilder image({.sizeBytes = 18 * kMiB, .directoryBlocks = 32200});
  FolderBuilder folder = image.root();
  for (std::size_t i = 0; i < depth; ++i)
    folder = folder.addFolder(numbered("Level", i + 1));
  folder.addFile("At the bottom", smallBank(0));
  return image;
}

ImageBuilder hugeClaimsVolume() {
  ImageBuilder image({.sizeBytes = 40 * kMiB});
  auto folder = image.root().addFolder("Claims", {.blockCount = 7});
  const std::uint64_t claimedBytes = 65535 * kBlockBytes;
  folder.addFile("Claim 01", smallBank(2), {.slot = std::uint16_t{1}, .sizeBytes = claimedBytes});
  folder.addFile("Claim 02", IffBank().tocSize(0xFFFFFFEB).build(),
                 {.slot = std::uint16_t{2}, .sizeBytes = claimedBytes});
  for (std::size_t i = 3; i <= 112; ++i)
    folder.addFile(numbered("Claim", i), {},
                   {.slot = i % 32 == 0 ? std::uint16_t{2} : std::uint16_t{1},
                    .blocksInLastCluster = std::uint16_t{65535},
                    .bytesInLastBlock = std::uint16_t{512},
                    .storesContents = false});
  return image;
}

ImageBuilder randomVolume(std::uint32_t seed) {
  ImageBuilder image({.sizeBytes = 256 * kKiB, .directoryBlocks = 60});
  const bool keepsHeader = seed % 2 == 1;
  const std::uint64_t from = keepsHeader ? kBlockBytes : 4;
  image.poke(from, patternBytes(image.sizeBytes() - from, seed));
  if (keepsHeader) fillWithRandomEntries(image, patternBytes(60 * kBlockBytes, seed + 1000));
  return image;
}

std::vector<NamedVolume> hostileVolumes() {
  std::vector<NamedVolume> volumes = extremeHeaderVolumes();
  volumes.push_back({"cyclic", cyclicVolume()});
  volumes.push_back({"shared blocks", sharedBlocksVolume()});
  volumes.push_back({"nested", nestedVolume(32000)});
  volumes.push_back({"huge claims", hugeClaimsVolume()});
  for (std::uint32_t seed = 0; seed < 20; ++seed)
    volumes.push_back({"random " + std::to_string(seed), randomVolume(seed)});
  return volumes;
}

} // namespace tessary::test
