#include "filesystem/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/SampleVolumes.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace tessary::test {
namespace {

struct Checked {
  explicit Checked(const ImageBuilder &image) {
    image.writeTo(folder.path("volume.hda"));
    const Bytes before = readBytes(folder.path("volume.hda"));
    volume = EMU3Filesystem::initWithURL(folder.path("volume.hda"));
    findings = volume->check();
    EXPECT_EQ(readBytes(folder.path("volume.hda")), before) << "a check changes nothing";
  }
  std::vector<std::string> kinds() const {
    std::vector<std::string> found;
    for (const VolumeFinding &finding : findings)
      found.push_back(finding.kind);
    return found;
  }
  bool hasHarm() const {
    return std::any_of(findings.begin(), findings.end(), [](const VolumeFinding &f) { return f.isHarm(); });
  }

  TemporaryFolder folder;
  EMU3FilesystemPtr volume;
  std::vector<VolumeFinding> findings;
};

using Kinds = std::vector<std::string>;

TEST(VolumeCheck, FindsNothingOnASoundVolume) {
  ImageBuilder image;
  FolderBuilder drums = image.root().addFolder("Drums", {.blockCount = 2});
  drums.addFile("KICK", patternBytes(20000));
  drums.addFile("EMPTY");
  image.root().addDeletedFile();
  EXPECT_EQ(Checked(image).kinds(), Kinds{});
}

TEST(VolumeCheck, FindsNoHarmOnTheDemoVolume) {
  EXPECT_EQ(Checked(demoVolume()).kinds(), Kinds{});
}

TEST(VolumeCheck, NamesTwoFilesThatShareBlocks) {
  ImageBuilder image;
  image.root().addFile("KICK", patternBytes(3000), {.slot = 3});
  image.root().addFile("SNARE", patternBytes(2000), {.slot = 3});
  const Checked checked(image);
  ASSERT_EQ(checked.kinds(), Kinds{"harm-overlap"});
  EXPECT_EQ(checked.findings[0].file->name(), "SNARE");
  EXPECT_NE(checked.findings[0].message.find("4 blocks with “KICK”"), std::string::npos)
      << checked.findings[0].message;
}

TEST(VolumeCheck, SeesALongFileRunIntoTheNextSlot) {
  ImageBuilder image({.slotSizeBlocks = 4});
  image.root().addFile("LONG", patternBytes(5 * 512), {.slot = 1});
  image.root().addFile("NEXT", patternBytes(512), {.slot = 2});
  EXPECT_EQ(Checked(image).kinds(), Kinds{"harm-overlap"});
}

TEST(VolumeCheck, TellsAFileThatReachesPastTheImage) {
  ImageBuilder image;
  const PlacedFile file = image.root().addFile("PAD", patternBytes(10 * 512));
  image.resize((file.firstBlock + 7) * 512);
  const Checked checked(image);
  ASSERT_EQ(checked.kinds(), Kinds{"harm-past-end"});
  EXPECT_NE(checked.findings[0].message.find("the last 3 blocks"), std::string::npos)
      << checked.findings[0].message;
}

TEST(VolumeCheck, CountsBlocksOfAFileThatAreNotMarked) {
  ImageBuilder image;
  const PlacedFile file = image.root().addFile("PAD", patternBytes(10 * 512));
  image.setFatEntry(file.firstBlock + 2, 0).setFatEntry(file.firstBlock + 9, 0);
  const Checked checked(image);
  ASSERT_EQ(checked.kinds(), Kinds{"harm-unmarked"});
  EXPECT_EQ(checked.findings[0].message.find("2 blocks of the file not marked"), 0U)
      << checked.findings[0].message;
}

TEST(VolumeCheck, CountsMarksThatNoFileOwns) {
  ImageBuilder image;
  image.root().addFile("PAD", patternBytes(512));
  image.setFatEntry(image.slotBlock(9), 0x8000).setFatEntry(image.slotBlock(9) + 1, 1);
  const Checked checked(image);
  ASSERT_EQ(checked.kinds(), Kinds{"oddity-unowned-marks"});
  EXPECT_EQ(checked.findings[0].message.find("2 blocks"), 0U) << checked.findings[0].message;
}

TEST(VolumeCheck, MarksOfAWholeSlotBelongToItsFile) {
  ImageBuilder image;
  const PlacedFile file = image.root().addFile("PAD", patternBytes(512));
  for (std::uint64_t i = 0; i < image.slotSizeBlocks(); ++i)
    image.setFatEntry(file.firstBlock + i, 0x8000);
  EXPECT_EQ(Checked(image).kinds(), Kinds{});
}

TEST(VolumeCheck, TellsATableTooShortForTheVolume) {
  const Checked checked{ImageBuilder(VolumeLayout::zeroHeader(8 * kMiB))};
  EXPECT_EQ(checked.kinds(), Kinds{"oddity-short-table"});
  EXPECT_NE(checked.findings[0].message.find("1024 of 16384 blocks"), std::string::npos);
}

TEST(VolumeCheck, NamesFoldersThatListTheSameBlock) {
  ImageBuilder image;
  const auto block = static_cast<std::int16_t>(image.root().addFolder("First").blocks().front());
  image.root().addFolder("Second", {.blockList = {block}});
  const Checked checked(image);
  ASSERT_EQ(checked.kinds(), Kinds{"harm-shared-folder-block"});
  EXPECT_EQ(checked.findings[0].folder->name(), "Second");
}

TEST(VolumeCheck, NamesAFolderThatListsItsParent) {
  ImageBuilder image;
  image.root().addFolder("Loop", {.blockList = {static_cast<std::int16_t>(image.rootDirBlock())}});
  EXPECT_EQ(Checked(image).kinds(), Kinds{"harm-shared-folder-block"});
}

TEST(VolumeCheck, TellsAFolderBlockBehindTheImage) {
  ImageBuilder image;
  image.root().addRaw(rawFolderEntry("Gone", 0x40, std::vector<std::int16_t>{32000}));
  EXPECT_EQ(Checked(image).kinds(), Kinds{"harm-folder-outside"});
}

TEST(VolumeCheck, FindsAFolderThatNoEntryLeadsTo) {
  ImageBuilder image;
  FolderBuilder lost = image.root().addFolder("Lost");
  lost.addFile("KICK", patternBytes(600));
  image.pokeEntry(lost.place(), RawEntry{});
  const Checked checked(image);
  EXPECT_NE(std::find_if(checked.findings.begin(), checked.findings.end(),
                         [](const VolumeFinding &finding) {
                           return finding.kind == "harm-lost-folder" &&
                                  finding.message.find("1 file and 0 folders, the first is “KICK”") !=
                                      std::string::npos;
                         }),
            checked.findings.end());
}

TEST(VolumeCheck, TellsNamesThatAreNoText) {
  ImageBuilder image;
  image.root().addFile("BAD\xFF", patternBytes(512));
  const Checked checked(image);
  const Kinds kinds = checked.kinds();
  EXPECT_NE(std::find(kinds.begin(), kinds.end(), "harm-name"), kinds.end());
}

TEST(VolumeCheck, TellsSizesOutOfRange) {
  ImageBuilder image;
  image.root().addFile("ODD", patternBytes(512), {.bytesInLastBlock = 513});
  image.root().addFile("NONE", patternBytes(512), {.bytesInLastBlock = 0});
  EXPECT_EQ(Checked(image).kinds(), (Kinds{"oddity-size", "oddity-size"}));
}

TEST(VolumeCheck, TellsHeaderFieldsOutOfRange) {
  for (const std::uint64_t offset : {8U, 32U, 40U}) {
    ImageBuilder image;
    image.poke32(offset, 0xFFFFFFFF);
    const Kinds kinds = Checked(image).kinds();
    EXPECT_NE(std::find(kinds.begin(), kinds.end(), "harm-header"), kinds.end()) << offset;
  }
}

TEST(VolumeCheck, EndsQuicklyOnHostileVolumes) {
  for (const NamedVolume &volume : hostileVolumes()) {
    const auto begin = std::chrono::steady_clock::now();
    const Checked checked(volume.image);
    EXPECT_LT(checked.findings.size(), 3000U) << volume.name;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60)) << volume.name;
  }
}

TEST(VolumeCheck, LimitsWhatItListsOfOneKind) {
  ImageBuilder image({.slotSizeBlocks = 2});
  FolderBuilder folder = image.root().addFolder("Many", {.blockCount = 7});
  FolderBuilder more = image.root().addFolder("More", {.blockCount = 7});
  for (int i = 0; i < 112; ++i) {
    folder.addFile("A" + std::to_string(i), patternBytes(512), {.slot = 1});
    more.addFile("B" + std::to_string(i), patternBytes(512), {.slot = 1});
  }
  const Checked checked(image);
  ASSERT_EQ(checked.findings.size(), 201U);
  EXPECT_EQ(checked.findings.back().message, "There are 23 more of this kind.");
}

} // namespace
} // namespace tessary::test
