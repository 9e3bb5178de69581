#include "tests/writing/WritableVolume.h"
#include "filesystem/TreeEditor.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tessary::test {

namespace {

constexpr std::size_t kNameBytes = 16;

Bytes wholeFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  Bytes bytes(static_cast<std::size_t>(file.tellg()));
  file.seekg(0);
  file.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file) throw std::runtime_error("cannot read " + path);
  return bytes;
}

// The first few bytes at `offset` of both sides.
std::string difference(const Bytes &actual, const Bytes &expected, std::size_t offset) {
  const auto hex = [&](const Bytes &bytes) {
    std::string text;
    for (std::size_t i = offset; i < std::min(offset + 8, bytes.size()); ++i) {
      char digits[8];
      std::snprintf(digits, sizeof digits, " %02x", static_cast<unsigned>(bytes[i]));
      text += digits;
    }
    return text;
  };
  return "block " + std::to_string(offset / kBlockBytes) + " byte " + std::to_string(offset % kBlockBytes) +
         ":" + hex(actual) + " instead of" + hex(expected) + "\n";
}

testing::AssertionResult sameBytes(const Bytes &actual, const Bytes &expected) {
  if (actual == expected) return testing::AssertionSuccess();
  auto result = testing::AssertionFailure();
  if (actual.size() != expected.size())
    return result << "the image has " << actual.size() << " bytes instead of " << expected.size();
  std::size_t shown = 0;
  for (std::size_t at = 0; at < actual.size() && shown < 8;) {
    if (actual[at] == expected[at]) {
      ++at;
      continue;
    }
    result << difference(actual, expected, at);
    ++shown;
    at = (at / kBlockBytes + 1) * kBlockBytes; // one line a block
  }
  return result;
}

} // namespace

std::string rulesName(const testing::TestParamInfo<MountRules> &info) {
  return info.param == MountRules::guarded ? "Guarded" : "Bare";
}

VolumeLayout smallLayout() {
  return {.sizeBytes = 256 * kKiB, .slotSizeBlocks = 8, .directoryBlocks = 12};
}

VolumeLayout smallTableLayout() {
  return {.sizeBytes = 128 * kKiB,
          .fatStartBlock = 255,
          .rootDirBlock = 2,
          .dataAreaBlock = 16,
          .slotSizeBlocks = 8};
}

ImageBuilder volumeWithFreeBlocks(std::uint64_t freeBlocks) {
  VolumeLayout layout = smallTableLayout();
  layout.marksBlocks = false;
  ImageBuilder image(layout);
  putMarks(image, 0, 256 - freeBlocks, 0x8000);
  return image;
}

ImageBuilder volumeWithSlot65535(const VolumeLayout &layout) {
  ImageBuilder image(layout);
  image.root().addFile("last", bytesOf("x"), {.slot = std::uint16_t{65535}, .storesContents = false});
  return image;
}

void fillFolder(FolderBuilder folder, std::size_t count) {
  for (std::size_t number = 0; number < count; ++number) {
    const FileOptions options{.slot = std::uint16_t{1}, .entry = number, .storesContents = false};
    folder.addFile("full " + std::to_string(number), bytesOf("x"), options);
  }
}

WritableVolume::WritableVolume(ImageBuilder image, MountRules rules)
    : MountedVolume(image, rules), expected(std::move(image)) {}

testing::AssertionResult WritableVolume::imageIsAsExpected() const {
  return holdsExactly(imagePath(), expected);
}

std::string WritableVolume::hostFile(std::string_view name, std::span<const std::uint8_t> contents) const {
  const std::string path = folder().path(name);
  std::filesystem::remove(path); // some hosts flush a file that replaces the bytes of an earlier one
  writeBytes(path, contents);
  return path;
}

testing::AssertionResult holdsExactly(const std::string &path, const ImageBuilder &expected) {
  return sameBytes(wholeFile(path), expected.build());
}

RawEntry newFileEntry(std::string_view storedName, std::uint16_t slot, std::uint8_t entryId,
                      std::uint64_t length) {
  const auto blocks = static_cast<std::uint16_t>((length + 511) / 512);
  const auto inLast = static_cast<std::uint16_t>(blocks == 0 ? length : length - (blocks - 1U) * 512U);
  RawEntry entry = rawFileEntry(storedName, 0x81, entryId, slot, 1, blocks, inLast);
  entry[storedName.size()] = 0;
  std::copy_n("E4B0", 4, entry.begin() + 28);
  return entry;
}

RawEntry newFolderEntry(std::string_view storedName, std::uint16_t block) {
  const std::int16_t blocks[] = {static_cast<std::int16_t>(block)};
  RawEntry entry = rawFolderEntry(storedName, 0x40, blocks);
  entry[storedName.size()] = 0;
  return entry;
}

void putData(ImageBuilder &image, std::uint64_t firstBlock, std::span<const std::uint8_t> contents) {
  Bytes blocks(contents.begin(), contents.end());
  blocks.resize(std::max<std::size_t>(1, (contents.size() + 511) / 512) * 512);
  image.poke(firstBlock * kBlockBytes, blocks);
}

void putMarks(ImageBuilder &image, std::uint64_t firstBlock, std::uint64_t count, std::uint16_t mark) {
  for (std::uint64_t i = 0; i < count; ++i)
    image.setFatEntry(firstBlock + i, mark);
}

void putNewFile(ImageBuilder &image, EntryPlace place, std::string_view storedName, std::uint16_t slot,
                std::uint8_t entryId, std::span<const std::uint8_t> contents) {
  const std::uint64_t first = image.dataAreaBlock() + image.slotSizeBlocks() * (std::uint64_t{slot} - 1);
  putData(image, first, contents);
  putMarks(image, first, std::max<std::size_t>(1, (contents.size() + 511) / 512), 0x8000);
  image.pokeEntry(place, newFileEntry(storedName, slot, entryId, contents.size()));
}

void clearFileEntry(ImageBuilder &image, EntryPlace place) {
  RawEntry entry = image.entryAt(place);
  std::fill_n(entry.begin(), kNameBytes, std::uint8_t{0});
  entry[26] = 0;
  image.pokeEntry(place, entry);
}

void clearBlock(ImageBuilder &image, std::uint64_t block) {
  image.pokeBlock(block, 0, Bytes(kBlockBytes));
}

void putName(ImageBuilder &image, EntryPlace place, std::string_view sixteenBytes) {
  if (sixteenBytes.size() != kNameBytes) throw std::logic_error("a name field has 16 bytes");
  image.pokeBlock(place.block, place.index * 32, bytesOf(sixteenBytes));
}

EntryPlace placeOf(const EMU3File &file) {
  return {static_cast<std::uint64_t>(file.dentryBlock()), static_cast<std::size_t>(file.dentryOffset())};
}

EntryPlace placeOf(const EMU3Directory &folder) {
  return {static_cast<std::uint64_t>(folder.dentryBlock()), static_cast<std::size_t>(folder.dentryOffset())};
}

EMU3FilePtr withDentryBlock(const EMU3FilePtr &file, std::int64_t block) {
  EMU3FileFields fields = file->fields();
  fields.dentryBlock = block;
  auto changed = std::make_shared<EMU3File>(fields);
  const EMU3DirectoryPtr folder = file->folder();
  std::vector<EMU3FilePtr> files = folder->files();
  std::replace(files.begin(), files.end(), file, changed);
  TreeEditor::setFiles(folder, std::move(files));
  return changed;
}

std::uint64_t roomOf(MountRules rules, std::uint64_t blocks) {
  return rules == MountRules::bare ? blocks : std::max<std::uint64_t>(1, (blocks + 7) / 8) * 8;
}

Counters countersOf(const EMU3Filesystem &filesystem) {
  return {filesystem.usedBlocks(), filesystem.freeBlocks()};
}

void PrintTo(const Counters &counters, std::ostream *out) {
  *out << counters.used << " used, " << counters.free << " free";
}

} // namespace tessary::test
