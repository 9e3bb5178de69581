#include "tests/writing/RandomVolumes.h"

#include <algorithm>

namespace tessary::test {

namespace {

VolumeLayout randomLayout(Random &random, MountRules rules) {
  VolumeLayout layout{.sizeBytes = random.between(200, 900) * kBlockBytes,
                      .slotSizeBlocks = random.pick(std::vector<std::uint32_t>{2, 4, 8, 16, 32}),
                      .directoryBlocks =
                          static_cast<std::uint32_t>(random.between(1, random.chance(40) ? 5 : 30))};
  if (rules == MountRules::bare) return layout;
  if (random.chance(30)) { // a table of one block, too short for most of these volumes
    layout.rootDirBlock = 3;
    layout.dataAreaBlock = 3 + layout.directoryBlocks;
  }
  if (random.chance(20)) layout.sizeBytes += random.below(kBlockBytes); // a trailing partial block
  return layout;
}

FileOptions randomFileOptions(Random &random, MountRules rules) {
  FileOptions options;
  options.type = random.pick(std::vector<std::uint8_t>{0x81, 0x81, 0x81, 0x80, 0x82, 0x83});
  if (random.chance(15)) options.type = 0;
  if (random.chance(30)) options.entryId = static_cast<std::uint8_t>(random.between(240, 255));
  options.e4b0Mark = options.type != 0 && random.chance(50);
  options.namePadding = random.chance(30) ? '\0' : ' ';
  if (rules == MountRules::guarded && random.chance(10))
    options.clusterCount = static_cast<std::uint16_t>(random.below(4));
  return options;
}

// Fills a volume with a random tree.
class TreeBuilder {
public:
  TreeBuilder(Random &random, ImageBuilder &image, MountRules rules)
      : random_(random), image_(image), rules_(rules) {
    // As many files as there is room for, each of at most three slots.
    const std::uint64_t slots = (image.totalBlocks() - image.dataAreaBlock()) / image.slotSizeBlocks();
    filesLeft_ = random.below(std::min<std::size_t>(slots / 3, 12) + 1);
    foldersLeft_ = std::min<std::size_t>((image.dataAreaBlock() - image.rootDirBlock() - 1) / 2, 5);
  }

  void fill(FolderBuilder folder, std::size_t depth = 0) {
    const std::size_t places = folder.blocks().size() * 16;
    const std::size_t count = random_.chance(30) ? random_.between(places - 2, places)
                                                 : random_.below(std::min<std::size_t>(places, 8));
    for (std::size_t i = 0; i < count; ++i) {
      if (random_.chance(15)) {
        folder.addDeletedFile({.slot = static_cast<std::uint16_t>(random_.between(1, 4))});
      } else if (random_.chance(30) && depth < 3 && foldersLeft_ > 0) {
        addFolder(folder, depth);
      } else if (filesLeft_ > 0) {
        --filesLeft_;
        const Bytes contents = randomContents(random_, image_.slotSizeBlocks() * kBlockBytes, rules_);
        folder.addFile("file " + std::to_string(filesLeft_), contents, randomFileOptions(random_, rules_));
      } else { // takes a place and no room
        folder.addFile("empty " + std::to_string(i), {}, {.slot = std::uint16_t{1}});
      }
    }
  }

private:
  void addFolder(FolderBuilder parent, std::size_t depth) {
    --foldersLeft_;
    auto folder = parent.addFolder("folder " + std::to_string(foldersLeft_),
                                   {.blockCount = random_.chance(20) ? std::size_t{2} : std::size_t{1},
                                    .entryId = random_.chance(20) ? std::uint8_t{0x80} : std::uint8_t{0x40}});
    for (const std::uint64_t block : folder.blocks())
      image_.pokeBlock(block, 0, Bytes(kBlockBytes));
    fill(folder, depth + 1);
  }

  Random &random_;
  ImageBuilder &image_;
  MountRules rules_;
  std::size_t filesLeft_ = 0;
  std::size_t foldersLeft_ = 0;
};

// Makes a volume look used for years, with next to nothing free: what is counted as used are the words from
// the table's start on that are not zero, wherever the table ends.
void wearBlocks(Random &random, ImageBuilder &image) {
  for (std::uint64_t block = image.rootDirBlock() + 1; block < image.totalBlocks(); ++block)
    image.pokeBlock(block, 0, Bytes(kBlockBytes, 0xA5));
  for (std::uint64_t block = 0; block < image.tableEntries(); ++block)
    image.setFatEntry(block, 0x8000);
  for (std::size_t i = random.below(100); i > 0; --i)
    image.setFatEntry(random.below(image.tableEntries()), 0);
}

// The same for entries that are empty: all but the byte that says so.
void wearEntries(ImageBuilder &image) {
  for (std::uint64_t block = image.rootDirBlock(); block < image.dataAreaBlock(); ++block) {
    for (std::size_t index = 0; index < 16; ++index) {
      if (image.entryAt({block, index})[0] == 0) image.pokeBlock(block, index * 32 + 1, Bytes(31, 0xA5));
    }
  }
}

} // namespace

ImageBuilder randomVolume(Random &random, MountRules rules) {
  ImageBuilder image(randomLayout(random, rules));
  const bool isWorn = random.chance(30);
  if (isWorn) wearBlocks(random, image);
  addRandomTree(random, image, rules);
  if (isWorn) wearEntries(image);
  return image;
}

void addRandomTree(Random &random, ImageBuilder &image, MountRules rules) {
  TreeBuilder(random, image, rules).fill(image.root());
}

std::string randomName(Random &random, MountRules rules) {
  static const std::vector<std::string> plain = {
      "KICK",       "Snare 01", "15 characters..", "  leading",
      "a",          "in  ner",  "Pad \u00e9",      "\u20ac\u20ac\u20ac\u20ac\u20ac",
      "trailing  ", "x;y:z"};
  // Cut for their entries, some at a character that does not fit whole.
  static const std::vector<std::string> long_ = {
      "abcdefghijklmn\u00e9", "a\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac", "0123456789abc\U0001F941",
      "\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9"};
  return rules == MountRules::guarded && random.chance(25) ? random.pick(long_) : random.pick(plain);
}

std::string randomBadName(Random &random, MountRules rules) {
  static const std::vector<std::string> bad = {"", "16 characters...", "0123456789abcd\U0001F941"};
  static const std::vector<std::string> blank = {" ", "               ", "              \u00e9"};
  return rules == MountRules::guarded && random.chance(50) ? random.pick(blank) : random.pick(bad);
}

Bytes randomContents(Random &random, std::uint64_t slotBytes, MountRules rules) {
  const std::uint64_t largest = slotBytes * (rules == MountRules::guarded && random.chance(30) ? 3 : 1);
  const std::size_t length =
      random.chance(40) ? random.pick(std::vector<std::size_t>{0, 1, 511, 512, 513, slotBytes, largest})
                        : random.below(largest + 1);
  return patternBytes(length, static_cast<std::uint32_t>(random.below(100000)));
}

} // namespace tessary::test
