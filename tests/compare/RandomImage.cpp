#include "tests/compare/RandomImage.h"

#include "tests/compare/KnownEntries.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/SampleVolumes.h"
#include "tests/writing/RandomVolumes.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace tessary::compare {
namespace {

using test::Bytes;
using test::EntryPlace;

using test::ImageBuilder;
using test::kBlockBytes;
using test::kKiB;
using test::Random;
using test::RawEntry;
using test::VolumeLayout;

// ---- Volumes

MountRules randomRules(Random &random) {
  return random.chance(60) ? MountRules::guarded : MountRules::bare;
}

ImageBuilder tinyVolume(Random &random) {
  const auto directoryBlocks = static_cast<std::uint32_t>(random.between(1, 4));
  ImageBuilder image({.sizeBytes = (3 + directoryBlocks + random.between(0, 40)) * kBlockBytes,
                      .slotSizeBlocks = 2,
                      .directoryBlocks = directoryBlocks});
  test::addRandomTree(random, image, randomRules(random));
  return image;
}

// With room for one file, since a slot is larger than the image.
ImageBuilder zeroHeaderVolume(Random &random) {
  ImageBuilder image(VolumeLayout::zeroHeader(random.between(180, 1500) * kBlockBytes));
  test::addRandomTree(random, image, randomRules(random));
  return image;
}

// Made for readers that do not end; cut to a size that is quick to compare.
ImageBuilder foldersInCircles(Random &random) {
  ImageBuilder image = random.chance(50) ? test::cyclicVolume() : test::sharedBlocksVolume();
  image.resize(random.between(128, 1024) * kKiB);
  return image;
}

ImageBuilder randomBytes(Random &random) {
  const std::size_t number = random.below(100000);
  return test::randomVolume(static_cast<std::uint32_t>(random.chance(80) ? 2 * number + 1 : 2 * number));
}

ImageBuilder undamagedVolume(Random &random) {
  const std::size_t kind = random.below(100);
  if (kind < 10) return tinyVolume(random);
  if (kind < 18) return zeroHeaderVolume(random);
  if (kind < 26) return foldersInCircles(random);
  if (kind < 32) return randomBytes(random);
  return test::randomVolume(random, randomRules(random));
}

// Puts banks in place of what some of the files hold, cut to their sizes.
void putBanks(Random &random, ImageBuilder &image) {
  for (const KnownEntry &file : KnownEntries(image).files) {
    if (!random.chance(80)) continue;
    const RawEntry entry = image.entryAt(*file.place);
    const auto slot = static_cast<std::uint16_t>(entry[18] | (entry[19] << 8));
    const std::uint64_t firstByte = image.slotBlock(slot) * kBlockBytes;
    const std::uint64_t fileBytes = std::uint64_t{entry[22]} * kBlockBytes; // at most 255 blocks
    Bytes bank = randomBank(random);
    const std::uint64_t inside = firstByte < image.sizeBytes() ? image.sizeBytes() - firstByte : 0;
    bank.resize(std::min<std::uint64_t>({bank.size(), fileBytes, inside}));
    if (!bank.empty()) image.poke(firstByte, bank);
  }
}

// ---- Damage

// Does one damage after another to an image. Each is of a kind that old disks have, or that finds mistakes in
// readers.
class Damage {
public:
  Damage(Random &random, ImageBuilder &image) : random_(random), image_(image), known_(image) {}

  void harmSomething() {
    const std::size_t kind = random_.below(100);
    if (kind < 30) return harmFile();
    if (kind < 45) return harmFolder();
    if (kind < 55) return harmName();
    if (kind < 65) return copyEntry();
    if (kind < 75) return put(anyPlace(), 0, randomEntry());
    if (kind < 90) return harmTable();
    if (kind < 96) return harmHeader();
    image_.resize(random_.between(kBlockBytes, image_.sizeBytes()));
  }

  // The folder's blocks and what they hold stay, its entry goes.
  void loseFolder() {
    if (known_.folders.size() < 2) return;
    const KnownEntry &folder = known_.folders[random_.between(1, known_.folders.size() - 1)];
    put(*folder.place, 0, Bytes(32, 0));
  }

  // A block that no folder lists any more, with files in it that could be brought back.
  void leaveLostBlock() {
    const std::uint64_t root = image_.rootDirBlock();
    const std::uint64_t end = std::min(image_.dataAreaBlock(), image_.totalBlocks());
    if (end < root + 2) return;
    const std::uint64_t block = random_.between(root + 1, end - 1);
    if (std::count(known_.folderBlocks.begin(), known_.folderBlocks.end(), block) > 0) return;
    put({block, 0}, 0, Bytes(kBlockBytes, 0));
    for (std::size_t index = random_.below(6) + 1; index > 0; --index) {
      const auto slot = static_cast<std::uint16_t>(random_.between(1, 12));
      const auto blocks = static_cast<std::uint16_t>(random_.between(1, image_.slotSizeBlocks()));
      const RawEntry entry =
          test::rawFileEntry("lost " + std::to_string(index), 0x81, std::uint8_t{0}, slot, 1, blocks, 512);
      put({block, index}, 0, {entry.begin(), entry.end()});
    }
  }

private:
  void put(EntryPlace place, std::size_t offset, const Bytes &bytes) {
    const std::uint64_t at = place.block * kBlockBytes + place.index * 32 + offset;
    if (at + bytes.size() <= image_.sizeBytes()) image_.poke(at, bytes);
  }

  void put16(EntryPlace place, std::size_t offset, std::size_t value) {
    put(place, offset, {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
  }

  // Of an entry of a file or a folder, or any in a folder's block.
  EntryPlace anyPlace() {
    if (known_.folderBlocks.empty()) return {0, 15};
    return {random_.pick(known_.folderBlocks), random_.below(16)};
  }

  EntryPlace filePlace() { return known_.files.empty() ? anyPlace() : *random_.pick(known_.files).place; }

  EntryPlace folderPlace() {
    if (known_.folders.size() < 2) return anyPlace();
    return *known_.folders[random_.between(1, known_.folders.size() - 1)].place;
  }

  std::size_t oneOf(std::initializer_list<std::size_t> values) {
    return random_.pick(std::vector<std::size_t>(values));
  }

  void harmFile() {
    const EntryPlace place = filePlace();
    switch (random_.below(8)) {
    case 0: // type
      return put(place, 26, {static_cast<std::uint8_t>(oneOf({0, 0x01, 0x80, 0x81, 0x82, 0x83, 0xFF}))});
    case 1: // id
      return put(place, 17, {static_cast<std::uint8_t>(oneOf({0, 0x3F, 0x40, 0x7F, 0x80, 0xFE, 0xFF}))});
    case 2: // slot, near the last one or behind the end
      return put16(place, 18, oneOf({65535, 65534, 65530, 1000 + random_.below(60000)}));
    case 3: // slot, perhaps another file's
      return put16(place, 18, oneOf({0, random_.below(20), random_.below(20)}));
    case 4: // clusters
      return put16(place, 20, oneOf({0, 2, 3, 255, 65535}));
    case 5: // blocks
      return put16(place, 22, oneOf({0, 1, random_.below(100), random_.below(2000), 65535}));
    case 6: // bytes in the last block
      return put16(place, 24, oneOf({0, 1, 512, 513, 1024, 65535}));
    default: // the mark
      return put(place, 28, test::bytesOf(random_.chance(50) ? "E4B0" : "E3X "));
    }
  }

  // One of the seven block numbers.
  void harmFolder() {
    const std::size_t anyBlock = known_.folderBlocks.empty() ? 0 : random_.pick(known_.folderBlocks);
    const std::size_t number =
        oneOf({0, 1, 2, anyBlock, anyBlock, anyBlock + 1, image_.rootDirBlock(), image_.dataAreaBlock(),
               image_.dataAreaBlock() + 1, image_.totalBlocks() - 1, image_.totalBlocks(), 0x7FFF, 0xFFFF});
    const EntryPlace place = folderPlace();
    put16(place, 18 + 2 * random_.below(random_.chance(70) ? 2 : 7), number);
  }

  void harmName() {
    const EntryPlace place = random_.chance(50) ? filePlace() : folderPlace();
    switch (random_.below(6)) {
    case 0: // no text
      return put(place, random_.below(8), {0xFF, 0xC3, 0x28, 0x80});
    case 1: // half a character at the end
      return put(place, 15, {0xE2});
    case 2: // blank
      return put(place, 0, Bytes(16, ' '));
    case 3: // deleted, the rest kept
      return put(place, 0, {0});
    case 4: // characters that mean something to the host or to a terminal
      return put(place, 0, test::bytesOf(random_.chance(50) ? "../a\\b*?" : "\x01\x1B[2J\x7F\xC2\x85"));
    default: // all 16 bytes
      return put(place, 0, test::bytesOf("exactly 16 bytes"));
    }
  }

  // Two entries that claim the same.
  void copyEntry() {
    const EntryPlace from = random_.chance(50) ? filePlace() : folderPlace();
    if (from.block >= image_.totalBlocks()) return;
    const RawEntry entry = image_.entryAt(from);
    put(anyPlace(), 0, {entry.begin(), entry.end()});
  }

  Bytes randomEntry() {
    Bytes entry = test::patternBytes(32, static_cast<std::uint32_t>(random_.below(100000)));
    if (random_.chance(70)) std::fill_n(entry.begin(), 16, static_cast<std::uint8_t>('a' + entry[0] % 26));
    return entry;
  }

  void harmTable() {
    const std::uint64_t entries = std::min(image_.tableEntries(), image_.totalBlocks());
    if (entries == 0) return;
    const std::uint64_t first = random_.below(entries);
    const std::uint64_t end = std::min(first + random_.below(40), entries);
    const auto value = static_cast<std::uint16_t>(oneOf({0, 0, 0x8000, 0x8000, 1, 0x7FFF, 0xFFFF}));
    for (std::uint64_t block = first; block < end; ++block) {
      if ((image_.fatStartBlock() + block / 256 + 1) * kBlockBytes > image_.sizeBytes()) return;
      image_.setFatEntry(block, value);
    }
  }

  void harmHeader() {
    const std::size_t blocks = image_.totalBlocks();
    const std::uint64_t field = oneOf({8, 8, 32, 32, 40, 40, 44, 44, 0});
    const std::size_t value = oneOf({0, 0, 1, 2, random_.below(64), random_.below(blocks + 1), blocks - 1,
                                     blocks, 0xFFFF, 0x80000000, 0xFFFFFFFF});
    if (image_.sizeBytes() >= 48) image_.poke32(field, static_cast<std::uint32_t>(value));
  }

  Random &random_;
  ImageBuilder &image_;
  KnownEntries known_; ///< before the damage
};

} // namespace

ImageBuilder randomImage(Random &random) {
  ImageBuilder image = undamagedVolume(random);
  putBanks(random, image);
  Damage damage(random, image);
  if (random.chance(40)) damage.leaveLostBlock();
  if (random.chance(40)) damage.loseFolder();
  if (random.chance(45)) {
    for (std::size_t count = random.between(1, 5); count > 0; --count)
      damage.harmSomething();
  }
  return image;
}

Bytes randomBank(Random &random) {
  const auto count = [&] { return static_cast<std::uint16_t>(random.below(20)); };
  const std::size_t kind = random.below(10);
  if (kind == 0) return test::emulatorThreeBank("Third", count(), count());
  if (kind == 1) return test::emulator3XBank("Third X", count(), count());
  if (kind == 2) return test::esi32Bank("Esi", count(), count());
  test::IffBank bank;
  for (std::size_t i = random.between(1, 3); i > 0; --i)
    bank.preset("Preset " + std::to_string(i));
  for (std::size_t i = random.below(4); i > 0; --i) {
    const Bytes audio = test::patternBytes(random.below(400), static_cast<std::uint32_t>(i));
    bank.sample("Sample " + std::to_string(i), audio, random.chance(80) ? "E4S1" : "E3S1");
  }
  if (kind == 3) bank.toc({.type = "E4S1", .name = "No chunk", .size = 64});
  if (kind == 4) bank.tocSize(static_cast<std::uint32_t>(random.below(200)));
  if (kind == 5) return bank.build(random.below(bank.build().size()));
  return bank.build();
}

} // namespace tessary::compare
