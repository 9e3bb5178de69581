// The dumps in the descriptions of the formats, and the values stated below them, against the builder's
// demo image and against what the engine reads and writes.

#include "tessary/EMU3Filesystem.h"
#include "tests/docs/HexDump.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/SampleVolumes.h"

#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <set>

namespace tessary {
namespace {

using namespace test;

const std::string kDiskFormat = TESSARY_DOCS_FOLDER "/disk-format.md";
const std::string kBankFormat = TESSARY_DOCS_FOLDER "/bank-format.md";

using Values = std::map<std::string, std::string>;

std::string hexadecimal(unsigned value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%02X", value);
  return text;
}

Values valuesOf(EMU3Filesystem &filesystem) {
  return {{"rootDirBlock", std::to_string(filesystem.rootDirBlock())},
          {"dataAreaBlock", std::to_string(filesystem.dataAreaBlock())},
          {"fatStartBlock", std::to_string(filesystem.fatStartBlock())},
          {"slotSizeBlocks", std::to_string(filesystem.slotSizeBlocks())},
          {"totalBlocks", std::to_string(filesystem.totalBlocks())}};
}

std::uint64_t firstBlockOf(EMU3Filesystem &filesystem, const EMU3File &file) {
  return filesystem.dataAreaBlock() + filesystem.slotSizeBlocks() * (std::uint64_t{file.startCluster()} - 1);
}

Values valuesOf(EMU3Filesystem &filesystem, const EMU3File &file) {
  return {{"name", file.name()},
          {"entryId", std::to_string(file.entryId())},
          {"startCluster", std::to_string(file.startCluster())},
          {"clusterCount", std::to_string(file.clusterCount())},
          {"blocksInLastCluster", std::to_string(file.blocksInLastCluster())},
          {"bytesInLastBlock", std::to_string(file.bytesInLastBlock())},
          {"rawType", hexadecimal(file.rawType())},
          {"fileSize", std::to_string(file.fileSize())},
          {"firstBlock", std::to_string(firstBlockOf(filesystem, file))}};
}

Values valuesOf(const EMU3Directory &folder) {
  std::string blocks;
  for (const std::int64_t block : folder.blockList())
    blocks += (blocks.empty() ? "" : " ") + std::to_string(block);
  return {{"name", folder.name()}, {"entryId", std::to_string(folder.entryId())}, {"blockList", blocks}};
}

/// An image that the engine has open, and what it reads at a place of it.
class ReadVolume {
public:
  explicit ReadVolume(const ImageBuilder &image) : volume_(image) {}

  MountedVolume &volume() { return volume_; }
  void reload() { ASSERT_TRUE(volume_->reload()); }
  Bytes bytesAt(std::uint64_t offset, std::size_t length) const {
    return readBytes(volume_.imagePath(), offset, length);
  }

  /// The values of the item of that kind at that offset; empty when the engine reads none there.
  Values factsAt(const std::string &kind, std::uint64_t offset) {
    if (kind == "volume") return valuesOf(*volume_);
    if (kind == "table") return tableValues();
    for (const auto &folder : directoriesInPreOrder(volume_.root())) {
      if (kind == "folder" && placeOf(*folder) == offset) return valuesOf(*folder);
      for (const auto &file : folder->files()) {
        if (kind == "file" && placeOf(*file) == offset) return valuesOf(*volume_, *file);
        if (kind == "bank" && firstBlockOf(*volume_, *file) * kBlockBytes == offset) return bankValues(file);
      }
    }
    return {};
  }

private:
  template <typename Item> static std::uint64_t placeOf(const Item &item) {
    return static_cast<std::uint64_t>(item.dentryBlock()) * kBlockBytes +
           static_cast<std::uint64_t>(item.dentryOffset()) * 32;
  }

  /// All table entries, as "entry37506".
  Values tableValues() {
    Values values;
    const std::uint64_t blocks = volume_->totalBlocks();
    const Bytes table = bytesAt(volume_->fatStartBlock() * kBlockBytes, 2 * blocks);
    for (std::uint64_t block = 0; block < blocks; ++block) {
      const unsigned entry = table[2 * block] | static_cast<unsigned>(table[2 * block + 1] << 8);
      values["entry" + std::to_string(block)] = entry == 0 ? "0" : hexadecimal(entry);
    }
    return values;
  }

  Values bankValues(const EMU3FilePtr &file) {
    EXPECT_TRUE(volume_->populateBankMetadata(file));
    std::string samples;
    for (const std::string &sample : volume_->samplesFromBankFile(file))
      samples += (samples.empty() ? "" : " ") + sample;
    return {{"bankFormat", std::to_string(file->bankFormat())},
            {"bankName", file->bankName().value_or("")},
            {"presetCount", std::to_string(file->presetCount())},
            {"sampleCount", std::to_string(file->sampleCount())},
            {"samples", samples}};
  }

  MountedVolume volume_;
};

void expectDump(ReadVolume &volume, const HexDump &dump) {
  ASSERT_FALSE(dump.bytes.empty()) << dump.where;
  EXPECT_EQ(volume.bytesAt(dump.offset, dump.bytes.size()), dump.bytes) << dump.where;
  for (const StatedFacts &stated : dump.facts) {
    const Values read = volume.factsAt(stated.kind, dump.offset);
    EXPECT_FALSE(stated.values.empty()) << dump.where;
    for (const auto &[key, value] : stated.values)
      EXPECT_EQ(read.count(key) ? read.at(key) : "(not there)", value)
          << dump.where << ": " << stated.kind << ' ' << key;
  }
}

std::vector<HexDump> dumpsOf(const std::string &document, const std::string &source) {
  auto dumps = hexDumpsOf(document);
  std::erase_if(dumps, [&](const HexDump &dump) { return dump.source != source; });
  return dumps;
}

TEST(FormatDocuments, EveryDumpIsOfASourceThatIsChecked) {
  const std::set<std::string> checked{"demo",   "entry", "import", "import-table", "rename",
                                      "delete", "mkdir", "rmdir",  "wav"};
  std::set<std::string> found;
  for (const std::string &document : {kDiskFormat, kBankFormat}) {
    for (const HexDump &dump : hexDumpsOf(document)) {
      EXPECT_EQ(checked.count(dump.source), 1U) << dump.where;
      found.insert(dump.source);
    }
  }
  EXPECT_EQ(found, checked);
}

TEST(FormatDocuments, DumpsOfTheDemoImageAreItsBytes) {
  ReadVolume demo(demoVolume());
  for (const std::string &document : {kDiskFormat, kBankFormat}) {
    const auto dumps = dumpsOf(document, "demo");
    EXPECT_GE(dumps.size(), 3U) << document;
    for (const HexDump &dump : dumps)
      expectDump(demo, dump);
  }
}

TEST(FormatDocuments, EntriesShownByThemselvesReadAsStated) {
  const auto dumps = dumpsOf(kDiskFormat, "entry");
  ASSERT_FALSE(dumps.empty());
  for (HexDump dump : dumps) {
    ImageBuilder image;
    RawEntry entry{};
    ASSERT_EQ(dump.bytes.size(), entry.size()) << dump.where;
    std::copy(dump.bytes.begin(), dump.bytes.end(), entry.begin());
    dump.offset = image.root().addRaw(entry).block * kBlockBytes;
    EXPECT_FALSE(dump.facts.empty()) << dump.where;
    ReadVolume volume(image);
    expectDump(volume, dump);
  }
}

// The steps follow one another on one image, as the document says.
TEST(FormatDocuments, DumpsOfChangesAreWhatTheEngineWrites) {
  ReadVolume demo(demoVolume());
  EMU3Filesystem &filesystem = *demo.volume();
  const std::string imported = demo.volume().folder().path("Clap.E4B");
  writeBytes(imported, patternBytes(513));
  const auto sketches = [&] { return folderNamed(demo.volume().root(), "Sketches"); };
  const auto nothing = [] { return true; };
  const std::pair<std::string, std::function<bool()>> steps[] = {
      {"import", [&] { return filesystem.importFileAtURL(imported, sketches()); }},
      {"import-table", nothing},
      {"rename", [&] { return filesystem.renameFile(sketches()->files().at(0), "Snap", sketches()); }},
      {"delete", [&] { return filesystem.deleteFile(sketches()->files().at(0), sketches()); }},
      {"mkdir", [&] { return filesystem.createDirectoryNamed("Takes", sketches()); }},
      {"rmdir", [&] { return filesystem.deleteDirectory(folderNamed(sketches(), "Takes"), sketches()); }},
  };
  for (const auto &[source, change] : steps) {
    const auto dumps = dumpsOf(kDiskFormat, source);
    ASSERT_EQ(dumps.size(), 1U) << source;
    ASSERT_TRUE(change()) << source;
    demo.reload(); // what is stated is what a fresh reading gives
    expectDump(demo, dumps[0]);
  }
}

TEST(FormatDocuments, WavHeaderIsTheOneThatIsWritten) {
  const auto dumps = dumpsOf(kBankFormat, "wav");
  ASSERT_EQ(dumps.size(), 1U);
  const MountedVolume demo(demoVolume());
  const auto bank = fileNamed(folderNamed(demo.root(), "Basses"), "Sub Sine");
  const std::string path = demo.folder().path("sample.wav");
  ASSERT_TRUE(demo->exportSampleAtIndex(0, bank, path));
  EXPECT_EQ(readBytes(path, 0, 44), dumps[0].bytes);
  EXPECT_EQ(readBytes(path).size(), 44 + 132300U);
}

TEST(HexDump, MistakesInADumpAreFound) {
  const TemporaryFolder folder;
  const std::string good = "00000000  41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50  |ABCDEFGHIJKLMNOP|";
  const auto dumpsOfLines = [&](const std::string &lines) {
    writeText(folder.path("doc.md"), "text\n```hexdump demo\n" + lines + "\n```\n");
    return hexDumpsOf(folder.path("doc.md"));
  };
  ASSERT_EQ(dumpsOfLines(good).size(), 1U);
  EXPECT_EQ(dumpsOfLines(good)[0].bytes, bytesOf("ABCDEFGHIJKLMNOP"));
  for (const std::string &bad : {std::string("00000000  41 42  |AC|"), std::string("00000000  41 42"),
                                 std::string("00000000  41 G2  |A.|"), std::string("00000000  141  |A|"),
                                 good + "\n00000020  41  |A|", std::string("= file name X"), good + "x"})
    EXPECT_THROW(dumpsOfLines(bad), std::runtime_error) << bad;
}

} // namespace
} // namespace tessary
