#include "tests/writing/RandomVolumes.h"

#include <algorithm>

namespace tessary::test {

namespace {

VolumeLayout randomLayout(Random &random, Guards guards) {
  VolumeLayout layout{.sizeBytes = random.between(200, 900) * kBlockBytes,
                      .slotSizeBlocks = random.pick(std::vector<std::uint32_t>{2, 4, 8, 16, 32}),
                      .directoryBlocks = static_cast<std::uint32_t>(random.between(6, 30))};
  if (guards == Guards::off) return layout;
  if (random.chance(30)) { // a table of one block, too short for most of these volumes
    layout.rootDirBlock = 3;
    layout.dataAreaBlock = 3 + layout.directoryBlocks;
  }
  if (random.chance(20)) layout.sizeBytes += random.below(kBlockBytes); // a trailing partial block
  return layout;
}

FileOptions randomFileOptions(Random &random, Guards guards) {
  FileOptions options;
  options.type = random.pick(std::vector<std::uint8_t>{0x81, 0x81, 0x81, 0x80, 0x82, 0x83, 0});
  if (random.chance(30)) options.entryId = static_cast<std::uint8_t>(random.between(240, 255));
  options.e4b0Mark = options.type != 0 && random.chance(50);
  options.namePadding = random.chance(30) ? '\0' : ' ';
  if (guards == Guards::on && random.chance(10))
    options.clusterCount = static_cast<std::uint16_t>(random.below(4));
  return options;
}

void addRandomEntries(Random &random, Guards guards, ImageBuilder &image, FolderBuilder folder,
                      std::size_t depth, std::size_t &filesLeft, std::size_t &foldersLeft) {
  const std::size_t places = folder.blocks().size() * 16;
  const std::size_t count = random.below(std::min<std::size_t>(places, random.chance(20) ? 16 : 8) + 1);
  for (std::size_t i = 0; i < count; ++i) {
    if (random.chance(15)) {
      folder.addDeletedFile({.slot = static_cast<std::uint16_t>(random.between(1, 4))});
    } else if (random.chance(30) && depth < 3 && foldersLeft > 0) {
      --foldersLeft;
      auto below = folder.addFolder("folder " + std::to_string(foldersLeft),
                                    {.blockCount = random.chance(20) ? std::size_t{2} : std::size_t{1},
                                     .entryId = random.chance(20) ? std::uint8_t{0x80} : std::uint8_t{0x40}});
      addRandomEntries(random, guards, image, below, depth + 1, filesLeft, foldersLeft);
    } else if (filesLeft > 0) {
      --filesLeft;
      const Bytes contents = randomContents(random, image.slotSizeBlocks() * kBlockBytes, guards);
      folder.addFile("file " + std::to_string(filesLeft), contents, randomFileOptions(random, guards));
    }
  }
}

} // namespace

ImageBuilder randomVolume(Random &random, Guards guards) {
  ImageBuilder image(randomLayout(random, guards));
  // As many files as there is room for, each of at most three slots.
  const std::uint64_t slots = (image.totalBlocks() - image.dataAreaBlock()) / image.slotSizeBlocks();
  std::size_t files = random.below(std::min<std::size_t>(slots / 3, 12) + 1);
  std::size_t folders = std::min<std::size_t>((image.dataAreaBlock() - image.rootDirBlock() - 1) / 2, 5);
  addRandomEntries(random, guards, image, image.root(), 0, files, folders);
  return image;
}

std::string randomName(Random &random, Guards guards) {
  static const std::vector<std::string> plain = {
      "KICK",       "Snare 01", "15 characters..", "  leading",
      "a",          "in  ner",  "Pad \u00e9",      "\u20ac\u20ac\u20ac\u20ac\u20ac",
      "trailing  ", "x;y:z"};
  // Cut for their entries, some at a character that does not fit whole.
  static const std::vector<std::string> long_ = {
      "abcdefghijklmn\u00e9", "a\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac", "0123456789abc\U0001F941",
      "\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9"};
  return guards == Guards::on && random.chance(25) ? random.pick(long_) : random.pick(plain);
}

std::string randomBadName(Random &random, Guards guards) {
  static const std::vector<std::string> bad = {"", "16 characters...", "0123456789abcd\U0001F941"};
  static const std::vector<std::string> blank = {" ", "               ", "              \u00e9"};
  return guards == Guards::on && random.chance(50) ? random.pick(blank) : random.pick(bad);
}

Bytes randomContents(Random &random, std::uint64_t slotBytes, Guards guards) {
  const std::uint64_t largest = slotBytes * (guards == Guards::on && random.chance(30) ? 3 : 1);
  const std::size_t length =
      random.chance(40) ? random.pick(std::vector<std::size_t>{0, 1, 511, 512, 513, slotBytes, largest})
                        : random.below(largest + 1);
  return patternBytes(length, static_cast<std::uint32_t>(random.below(100000)));
}

} // namespace tessary::test
