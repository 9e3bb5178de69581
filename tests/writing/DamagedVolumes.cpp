#include "tests/writing/DamagedVolumes.h"

#include "tests/support/ImageReading.h"
#include "tests/writing/RandomVolumes.h"

#include <algorithm>
#include <string>

namespace tessary::test {
namespace {

class Damage {
public:
  Damage(Random &random, Bytes image) : random_(random), image_(std::move(image)) {}

  void add(std::size_t times) {
    for (; times > 0; --times) {
      switch (random_.below(12)) {
      case 0:
      case 1:
      case 2:
        writeEntry(fileEntry());
        break;
      case 3:
      case 4:
      case 5:
        writeEntry(folderEntry());
        break;
      case 6:
        loseFolder();
        break;
      case 7:
        setMarks();
        break;
      case 8:
        writeEntry(deletedEntry());
        break;
      case 9:
        changeEntry();
        break;
      case 10:
        fillBlock();
        break;
      default:
        changeEntryName();
      }
    }
  }

  Bytes take() { return std::move(image_); }

  // Blocks from 1 on full of bytes, so that every write into them is seen.
  void fillData() {
    const std::size_t first = random_.chance(50) ? ImageReading(image_).dataBlock : image_.size();
    const Bytes bytes = patternBytes(image_.size(), 77);
    const std::size_t begin = std::min(first * kBlockBytes, image_.size());
    std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.end(),
              image_.begin() + static_cast<std::ptrdiff_t>(begin));
  }

private:
  std::uint64_t blockCount() const { return image_.size() / kBlockBytes; }

  std::uint16_t number(std::initializer_list<std::size_t> choices) {
    const std::vector<std::size_t> all(choices);
    return static_cast<std::uint16_t>(all[random_.below(all.size())]);
  }

  std::string name() {
    static const std::vector<std::string> names{"KICK",
                                                "Pad",
                                                "\xFF\xFE no text",
                                                "   ",
                                                "sixteen bytes...",
                                                std::string("a\0b", 3),
                                                std::string(" \0x", 3),
                                                "\x01\x02",
                                                "\xE2\x82"};
    return random_.pick(names);
  }

  RawEntry named(RawEntry entry) {
    const std::string text = name();
    entry[0] = ' ';
    for (std::size_t i = 0; i < 16; ++i)
      entry[i] = static_cast<std::uint8_t>(i < text.size() ? text[i] : random_.chance(50) ? ' ' : '\0');
    if (entry[0] == 0) entry[0] = 'x';
    return entry;
  }

  RawEntry fileEntry() {
    RawEntry entry{};
    const auto put = [&](std::size_t at, std::uint16_t value) {
      entry[at] = static_cast<std::uint8_t>(value & 0xFF);
      entry[at + 1] = static_cast<std::uint8_t>(value >> 8);
    };
    for (std::uint8_t &byte : entry)
      byte = random_.chance(10) ? static_cast<std::uint8_t>(random_.below(256)) : std::uint8_t{0};
    entry[17] = static_cast<std::uint8_t>(number({0, 1, 2, 0x3F, 0x40, 0x7F, 0x80, 255}));
    put(18, number({0, 1, random_.between(1, 8), random_.between(1, 30), random_.below(65536), 65535}));
    put(20, number({0, 1, 1, 1, 2, random_.below(20), 65535}));
    put(22, number({0, 1, random_.below(20), random_.below(200), 65535}));
    put(24, number({0, 1, 512, random_.below(513), 65535}));
    entry[26] = static_cast<std::uint8_t>(number({0x80, 0x81, 0x81, 0x82, 0x83, 0x82, random_.below(256)}));
    if (random_.chance(30)) std::copy_n("E4B0", 4, entry.begin() + 28);
    return named(entry);
  }

  RawEntry deletedEntry() {
    RawEntry entry = fileEntry();
    entry[26] = 0;
    if (random_.chance(40)) std::fill_n(entry.begin(), 16, std::uint8_t{0});
    return entry;
  }

  std::uint16_t folderNumber(const ImageReading &now) {
    switch (random_.below(9)) {
    case 0: // another folder's
      return static_cast<std::uint16_t>(random_.pick(directoryBlocks(now)));
    case 1: // in the table
      return static_cast<std::uint16_t>(random_.between(now.tableStart, now.tableEnd));
    case 2: // among contents
      return static_cast<std::uint16_t>(now.dataBlock + random_.below(40));
    case 3:
      return static_cast<std::uint16_t>(random_.below(blockCount()));
    case 4: // empty, or outside
      return number({0, 0xFFFF, 0x8000, 0x7FFF, blockCount(), blockCount() + 1, 1});
    default: // where folders belong
      if (now.dataBlock <= now.rootBlock) return static_cast<std::uint16_t>(random_.below(blockCount()));
      return static_cast<std::uint16_t>(now.rootBlock + random_.below(now.dataBlock - now.rootBlock));
    }
  }

  RawEntry folderEntry() {
    const ImageReading now(image_);
    RawEntry entry{};
    entry[17] = static_cast<std::uint8_t>(number({0x40, 0x80}));
    const std::size_t count = random_.chance(60) ? 1 : random_.between(0, 7);
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint16_t block = folderNumber(now);
      entry[18 + 2 * i] = static_cast<std::uint8_t>(block & 0xFF);
      entry[19 + 2 * i] = static_cast<std::uint8_t>(block >> 8);
      if (block < blockCount() && block > 1 && !now.isInTable(block) && random_.chance(60) &&
          !now.isNamed(block))
        std::fill_n(at(block), kBlockBytes, std::uint8_t{0});
    }
    return named(entry);
  }

  std::vector<std::uint64_t> directoryBlocks(const ImageReading &now) {
    std::vector<std::uint64_t> blocks;
    for (const auto &[place, named] : now.folders)
      std::copy_if(named.begin(), named.end(), std::back_inserter(blocks),
                   [&](std::uint64_t block) { return block < blockCount(); });
    if (blocks.empty()) blocks.push_back(1);
    return blocks;
  }

  Bytes::iterator at(std::uint64_t block) {
    return image_.begin() + static_cast<std::ptrdiff_t>(block * kBlockBytes);
  }

  void writeInto(std::uint64_t block, const RawEntry &entry) {
    std::copy(entry.begin(), entry.end(), at(block) + static_cast<std::ptrdiff_t>(random_.below(16) * 32));
    if (random_.chance(70) && entry[26] >= 0x80) markContents(entry);
  }

  void writeEntry(const RawEntry &entry) {
    writeInto(random_.pick(directoryBlocks(ImageReading(image_))), entry);
  }

  void mark(const ImageReading &now, std::uint64_t block, std::uint16_t value) {
    if (!now.isDescribed(block) || now.tableBlockOf(block) >= blockCount()) return;
    const auto word = at(now.tableBlockOf(block)) + static_cast<std::ptrdiff_t>(block % 256 * 2);
    word[0] = static_cast<std::uint8_t>(value & 0xFF);
    word[1] = static_cast<std::uint8_t>(value >> 8);
  }

  void markContents(const RawEntry &file) {
    const ImageReading now(image_);
    const auto [first, end] = now.contentsOf(file);
    for (std::uint64_t block = first; block < end; ++block)
      mark(now, block, 0x8000);
  }

  void setMarks() {
    const ImageReading now(image_);
    const std::uint64_t first = random_.below(blockCount());
    const std::uint16_t value = number({0, 0, 1, 0x8000, 0x7FFF});
    for (std::uint64_t block = first; block < std::min(blockCount(), first + random_.below(30)); ++block)
      mark(now, block, value);
  }

  // A directory block that no entry names, with marked files.
  void loseFolder() {
    const ImageReading now(image_);
    if (now.dataBlock <= now.rootBlock + 1) return;
    const std::uint64_t block = now.rootBlock + 1 + random_.below(now.dataBlock - now.rootBlock - 1);
    if (block >= blockCount() || now.isNamed(block) || now.isInTable(block)) return;
    std::fill_n(at(block), kBlockBytes, std::uint8_t{0});
    for (std::size_t i = random_.between(1, 4); i > 0; --i)
      writeInto(block, random_.chance(80) ? fileEntry() : folderEntry());
  }

  void changeEntry() {
    const std::uint64_t block = random_.pick(directoryBlocks(ImageReading(image_)));
    at(block)[static_cast<std::ptrdiff_t>(random_.below(512))] =
        static_cast<std::uint8_t>(random_.below(256));
  }

  void changeEntryName() {
    const std::uint64_t block = random_.pick(directoryBlocks(ImageReading(image_)));
    at(block)[static_cast<std::ptrdiff_t>(random_.below(16) * 32)] = random_.chance(50) ? 0xFF : ' ';
  }

  void fillBlock() {
    const std::uint64_t block = random_.between(1, blockCount() - 1);
    const std::uint8_t value = random_.pick(std::vector<std::uint8_t>{0, 0xA5, 1});
    std::fill_n(at(block), kBlockBytes, value);
    if (random_.chance(50)) // no entry begins there
      for (std::size_t index = 0; index < 16; ++index)
        at(block)[static_cast<std::ptrdiff_t>(index * 32)] = 0;
  }

  Random &random_;
  Bytes image_;
};

Bytes headerOf(Random &random) {
  Bytes image(random.between(20, 700) * kBlockBytes + (random.chance(30) ? random.below(kBlockBytes) : 0));
  const auto put = [&](std::size_t at, std::uint64_t value) {
    for (std::size_t i = 0; i < 4; ++i)
      image[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
  };
  std::copy_n("EMU3", 4, image.begin());
  const auto oneOf = [&](std::initializer_list<std::uint64_t> choices) {
    const std::vector<std::uint64_t> all(choices);
    return all[random.below(all.size())];
  };
  const std::uint64_t total = image.size() / kBlockBytes;
  put(8, oneOf({0, random.between(1, 20), random.between(1, 20), random.between(1, 60),
                random.between(1, total)}));
  put(32, oneOf({0, random.between(10, 60), random.between(1, 60), random.between(1, 120),
                 random.between(1, total)}));
  put(40, oneOf({0, 2, random.between(1, 10), random.between(1, 100), random.between(1, total)}));
  put(44, oneOf({1, 1, 2, 3, 4, 8, 16, 0, 100000, 0xFFFFFFFF}));
  return image;
}

} // namespace

Bytes damagedVolume(Random &random) {
  const bool isOdd = random.chance(50);
  Bytes image;
  if (isOdd) {
    image = headerOf(random);
  } else {
    image = randomVolume(random, MountRules::guarded).build();
  }
  Damage damage(random, std::move(image));
  if (isOdd) damage.fillData();
  damage.add(isOdd ? random.between(5, 60) : random.between(0, 15));
  return damage.take();
}

Bytes slightlyDamagedVolume(Random &random, MountRules rules) {
  Damage damage(random, randomVolume(random, rules).build());
  damage.add(random.between(0, 1));
  return damage.take();
}

} // namespace tessary::test
