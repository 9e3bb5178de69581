#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/SampleVolumes.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <set>
#include <string_view>

namespace tessary::test {
namespace {

struct Checked {
  explicit Checked(const ImageBuilder &image, MountRules rules = MountRules::guarded) {
    image.writeTo(folder.path("volume.hda"));
    const Bytes before = readBytes(folder.path("volume.hda"));
    volume = EMU3Filesystem::initWithURL(folder.path("volume.hda"), rules);
    findings = volume->check();
    EXPECT_EQ(readBytes(folder.path("volume.hda")), before) << "a check changes nothing";
  }
  std::vector<std::string> kinds() const {
    std::vector<std::string> found;
    for (const VolumeFinding &finding : findings)
      found.push_back(finding.kind);
    return found;
  }
  const VolumeFinding *find(std::string_view kind) const {
    for (const VolumeFinding &finding : findings) {
      if (finding.kind == kind) return &finding;
    }
    return nullptr;
  }
  bool has(std::string_view kind) const { return find(kind) != nullptr; }

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

TEST(VolumeCheck, TellsHowFarItIsUpToTheEnd) {
  const Checked checked(demoVolume());
  std::uint64_t last = 0, all = 0;
  CheckWatcher watcher;
  watcher.progressed = [&](std::uint64_t done, std::uint64_t bytes) {
    EXPECT_GE(done, last);
    EXPECT_LE(done, bytes);
    EXPECT_TRUE(all == 0 || all == bytes) << "the whole stays what it is";
    last = done;
    all = bytes;
  };
  const auto findings = checked.volume->check(watcher);
  ASSERT_TRUE(findings.has_value());
  EXPECT_EQ(findings->size(), checked.findings.size());
  EXPECT_GT(all, 0U);
  EXPECT_EQ(last, all);
}

TEST(VolumeCheck, IsStoppedAtAnyMomentWithoutFindings) {
  const Checked checked(demoVolume());
  int asked = 0;
  CheckWatcher counting;
  counting.isToStop = [&] {
    ++asked;
    return false;
  };
  ASSERT_TRUE(checked.volume->check(counting).has_value());
  ASSERT_GT(asked, 2);
  for (int moment = 1; moment <= asked; ++moment) {
    int left = moment;
    CheckWatcher watcher;
    watcher.isToStop = [&] {
      EXPECT_GT(left, 0) << "it went on";
      return --left == 0;
    };
    EXPECT_FALSE(checked.volume->check(watcher).has_value()) << moment;
  }
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
  EXPECT_NE(checked.findings[0].message.find("4 blocks (blocks 290 to 293) with “KICK”"), std::string::npos)
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

TEST(VolumeCheck, NamesThatAreNoTextAreHarmWhereTheyAreNotShown) {
  ImageBuilder image;
  image.root().addFile("BAD\xFF", patternBytes(512));
  EXPECT_EQ(Checked(image).kinds(), Kinds{"oddity-name"});
  EXPECT_EQ(Checked(image, MountRules::bare).kinds(), (Kinds{"harm-name", "oddity-unowned-marks"}));
}

TEST(VolumeCheck, NameThatIsNoTextIsAFindingAboutTheFileOrFolderItself) {
  ImageBuilder image;
  FolderBuilder drums = image.root().addFolder("Drums");
  drums.addFile("KICK", patternBytes(512));
  const EntryPlace file = drums.addFile("BAD\xFF", patternBytes(512)).entry;
  const EntryPlace folder = drums.addFolder("SUB\xFF").place();
  const Checked checked(image);
  ASSERT_EQ(checked.kinds(), (Kinds{"oddity-name", "oddity-name"}));
  const EMU3DirectoryPtr shown = checked.volume->rootDirectory()->subdirectories().front();
  EXPECT_EQ(checked.findings[0].folder, shown);
  EXPECT_EQ(checked.findings[0].file, shown->files().back());
  EXPECT_EQ(checked.findings[0].place->index, static_cast<std::int64_t>(file.index));
  EXPECT_EQ(checked.findings[1].folder, shown->subdirectories().front());
  EXPECT_EQ(checked.findings[1].file, nullptr);
  EXPECT_EQ(checked.findings[1].place->index, static_cast<std::int64_t>(folder.index));
}

TEST(VolumeCheck, TellsDeletedEntriesThatKeptTheirNames) {
  ImageBuilder image;
  image.root().addFile("GONE", {}, {.type = 0});
  image.root().addFile("BAD\xFF", {}, {.type = 0});
  for (const MountRules rules : {MountRules::guarded, MountRules::bare})
    EXPECT_EQ(Checked(image, rules).kinds(), (Kinds{"oddity-deleted-entry", "oddity-deleted-entry"}));
}

TEST(VolumeCheck, TellsAFolderWithoutABlock) {
  ImageBuilder image;
  image.root().addRaw(rawFolderEntry("Empty", 0x40, std::vector<std::int16_t>{-3}));
  EXPECT_EQ(Checked(image).kinds(), Kinds{"oddity-no-blocks"});
}

TEST(VolumeCheck, TellsSlot0AndSlotsThatAreNotThere) {
  ImageBuilder image;
  image.root().addFile("ZERO", patternBytes(512), {.slot = std::uint16_t{0}});
  image.root().addFile("MANY", patternBytes(512), {.clusterCount = std::uint16_t{60000}});
  EXPECT_EQ(Checked(image).kinds(), (Kinds{"oddity-slot", "oddity-clusters"}));
}

TEST(VolumeCheck, NamesAFoldersBlockInTheTable) {
  ImageBuilder image;
  image.root().addRaw(rawFolderEntry("Deep", 0x40, std::vector<std::int16_t>{20}));
  const Checked checked(image);
  ASSERT_TRUE(checked.has("harm-folder-in-table"));
  EXPECT_EQ(checked.find("harm-folder-in-table")->folder->name(), "Deep");
}

TEST(VolumeCheck, NamesAFoldersBlockInTheDataArea) {
  ImageBuilder image;
  const auto block = static_cast<std::int16_t>(image.slotBlock(5));
  image.root().addRaw(rawFolderEntry("Out", 0x40, std::vector<std::int16_t>{block}));
  EXPECT_EQ(Checked(image).kinds(), Kinds{"harm-folder-in-data"});
}

TEST(VolumeCheck, NamesAFoldersBlockInAFile) {
  ImageBuilder image;
  const PlacedFile file = image.root().addFile("PAD", patternBytes(5 * 512));
  const auto block = static_cast<std::int16_t>(file.firstBlock + 4);
  image.root().addRaw(rawFolderEntry("Out", 0x40, std::vector<std::int16_t>{block}));
  image.pokeBlock(file.firstBlock + 4, 0, Bytes(512));
  const Checked checked(image);
  ASSERT_EQ(checked.kinds(), Kinds{"harm-folder-in-file"});
  EXPECT_NE(checked.findings[0].message.find("inside the file “PAD”"), std::string::npos);
}

TEST(VolumeCheck, NamesATableInsideAFile) {
  ImageBuilder image({.fatStartBlock = 2});
  const PlacedFile file = image.root().addFile("PAD", patternBytes(40 * 512));
  image.poke32(40, static_cast<std::uint32_t>(file.firstBlock + 30));
  const Checked checked(image);
  ASSERT_TRUE(checked.has("harm-table-in-file"));
  EXPECT_EQ(checked.find("harm-table-in-file")->file->name(), "PAD");
}

TEST(VolumeCheck, NamesATableThatGoesOnBehindTheImage) {
  ImageBuilder image;
  image.poke32(40, static_cast<std::uint32_t>(image.totalBlocks() - 3));
  EXPECT_TRUE(Checked(image).has("harm-table-outside"));
}

TEST(VolumeCheck, MarksOfALostFoldersFilesAreOwned) {
  ImageBuilder image;
  FolderBuilder lost = image.root().addFolder("Lost");
  lost.addFile("KICK", patternBytes(600));
  image.pokeEntry(lost.place(), RawEntry{});
  EXPECT_EQ(Checked(image).kinds(), Kinds{"harm-lost-folder"});
}

TEST(VolumeCheck, CountsMarksBetweenOwners) {
  ImageBuilder image({.slotSizeBlocks = 4});
  image.root().addFile("A", patternBytes(512), {.slot = 2});
  image.root().addFile("B", patternBytes(512), {.slot = 5});
  for (std::uint64_t block = image.slotBlock(1); block < image.slotBlock(7); ++block)
    image.setFatEntry(block, 0x8000);
  const Checked checked(image);
  ASSERT_EQ(checked.kinds(), Kinds{"oddity-unowned-marks"});
  EXPECT_EQ(checked.findings[0].message.find("16 blocks marked as used but part of no file, from block " +
                                             std::to_string(image.slotBlock(1))),
            0U)
      << checked.findings[0].message;
}

// What is gone while the volume is mounted reads as what a failing medium does not give.
TEST(VolumeCheck, NamesWhatCannotBeRead) {
  ImageBuilder image({.sizeBytes = 8 * kMiB});
  image.root().addFolder("Drums").addFile("KICK", patternBytes(20000), {.slot = 20});
  struct Cut {
    std::uint64_t atBlock;
    Kinds kinds;
  };
  const std::vector<Cut> cuts{
      {image.slotBlock(20) + 8, {"harm-contents-unreadable"}},
      {image.rootDirBlock() / 8 * 8, // the last blocks of the table lie behind it too
       {"harm-contents-unreadable", "harm-folder-unreadable", "harm-table-unreadable"}},
      {16, {"harm-contents-unreadable", "harm-folder-unreadable", "harm-table-unreadable"}},
  };
  for (const Cut &cut : cuts) {
    const TemporaryFolder folder;
    image.writeTo(folder.path("volume.hda"));
    const EMU3FilesystemPtr volume =
        EMU3Filesystem::initWithURL(folder.path("volume.hda"), MountRules::guarded);
    std::filesystem::resize_file(folder.path("volume.hda"), cut.atBlock * 512);
    std::set<std::string> found;
    for (const VolumeFinding &finding : volume->check())
      found.insert(finding.kind);
    EXPECT_EQ(Kinds(found.begin(), found.end()), cut.kinds) << cut.atBlock;
  }
}

TEST(VolumeCheck, TellsSizesOutOfRange) {
  ImageBuilder image;
  image.root().addFile("ODD", patternBytes(512), {.bytesInLastBlock = 513});
  image.root().addFile("NONE", patternBytes(512), {.bytesInLastBlock = 0});
  EXPECT_EQ(Checked(image).kinds(), (Kinds{"oddity-size", "oddity-size"}));
}

TEST(VolumeCheck, EveryFindingIsOfAListedKind) {
  std::set<std::string_view> words;
  for (const FindingKind &kind : kFindingKinds) {
    EXPECT_TRUE(words.insert(kind.word).second) << kind.word;
    EXPECT_TRUE(kind.word.starts_with("harm-") || kind.word.starts_with("oddity-")) << kind.word;
  }
  for (const NamedVolume &volume : hostileVolumes()) {
    for (const MountRules rules : {MountRules::guarded, MountRules::bare}) {
      for (const VolumeFinding &finding : Checked(volume.image, rules).findings)
        EXPECT_TRUE(words.contains(finding.kind)) << finding.kind;
    }
  }
}

// The man page has a paragraph for each, in the same order.
TEST(VolumeCheck, ManPageNamesTheKinds) {
  std::string expected;
  for (const FindingKind &kind : kFindingKinds) {
    expected += ".TP\n.B ";
    for (const char character : kind.word)
      expected += character == '-' ? "\\-" : std::string(1, character);
    const auto first = static_cast<char>(std::toupper(static_cast<unsigned char>(kind.meaning.front())));
    expected += "\n" + std::string(1, first) + std::string(kind.meaning.substr(1)) + ".\n";
  }
  const std::string page = readText(TESSARY_MAN_PAGE);
  const std::size_t begin = page.find(".TP\n.B harm\\-header");
  ASSERT_NE(begin, std::string::npos);
  EXPECT_EQ(page.substr(begin, page.find(".SH", begin) - begin), expected);
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
    for (const MountRules rules : {MountRules::guarded, MountRules::bare}) {
      const auto begin = std::chrono::steady_clock::now();
      const Checked checked(volume.image, rules);
      EXPECT_LT(checked.findings.size(), 6000U) << volume.name;
      EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60)) << volume.name;
    }
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

// ---- What a bare mount destroys

Kinds bareKinds(const ImageBuilder &image) {
  return Checked(image, MountRules::bare).kinds();
}

TEST(BareCheck, NamesFoldersWhoseEntriesCountAsFree) {
  ImageBuilder image;
  image.root().addFolder("First");
  image.root().addFolder("Second");
  const Checked checked(image, MountRules::bare);
  ASSERT_EQ(checked.kinds(), (Kinds{"harm-bare-entry", "harm-bare-entry"}));
  EXPECT_EQ(checked.findings[0].folder->name(), "First");
  EXPECT_NE(checked.findings[0].message.find("the next new entry in “volume.hda”"), std::string::npos);
  EXPECT_NE(checked.findings[1].message.find("a later new entry"), std::string::npos);
}

TEST(BareCheck, AFolderWithAFifthBlockHasATypeByte) {
  ImageBuilder image;
  image.root().addFolder("Five", {.blockCount = 5});
  EXPECT_EQ(bareKinds(image), Kinds{});
}

TEST(BareCheck, NamesAFileLongerThanItsSlotBelowTheNextOne) {
  ImageBuilder image({.slotSizeBlocks = 4});
  image.root().addFile("LONG", patternBytes(5 * 512), {.slot = 3});
  EXPECT_EQ(bareKinds(image), Kinds{"harm-bare-next-file"});
  image.root().addFile("LAST", patternBytes(512), {.slot = 9});
  EXPECT_EQ(bareKinds(image), Kinds{});
}

TEST(BareCheck, NamesAFoldersBlockInTheNextSlot) {
  ImageBuilder image;
  const auto block = static_cast<std::int16_t>(image.slotBlock(2));
  image.root().addFile("ONE", patternBytes(512), {.slot = 1});
  image.root().addRaw(rawFolderEntry("Out", 0x40, std::vector<std::int16_t>{block}));
  EXPECT_TRUE(Checked(image, MountRules::bare).has("harm-bare-next-file"));
}

TEST(BareCheck, NamesMarksThatLandInAFolderBehindAShortTable) {
  ImageBuilder image(VolumeLayout::zeroHeader(8 * kMiB));
  image.root().addFile("LONG", patternBytes(900 * 512), {.slot = 1}); // the table describes 1024 blocks
  const Checked checked(image, MountRules::bare);
  ASSERT_TRUE(checked.has("harm-bare-marks"));
  EXPECT_NE(checked.find("harm-bare-marks")->message.find("the folder “volume.hda”"), std::string::npos);
}

TEST(BareCheck, NamesTheLastSlotNumber) {
  ImageBuilder image;
  image.root().addFile("LAST", {}, {.slot = std::uint16_t{65535}});
  EXPECT_TRUE(Checked(image, MountRules::bare).has("harm-bare-next-file")); // slot 0 lies over folders
  ImageBuilder large({.slotSizeBlocks = 4096});
  large.root().addFile("LAST", {}, {.slot = std::uint16_t{65535}, .storesContents = false});
  EXPECT_EQ(bareKinds(large), Kinds{"oddity-slot"});
}

TEST(BareCheck, NamesALostFolderInTheBlockOfTheNextOne) {
  ImageBuilder image;
  FolderBuilder lost = image.root().addFolder("Lost");
  lost.addFile("KICK", patternBytes(600));
  image.pokeEntry(lost.place(), RawEntry{});
  const Checked checked(image, MountRules::bare);
  EXPECT_TRUE(checked.has("harm-lost-folder"));
  EXPECT_TRUE(checked.has("harm-bare-next-folder"));
}

TEST(BareCheck, NamesATableInTheBlockOfTheNextFolder) {
  ImageBuilder image({.fatStartBlock = 3, .rootDirBlock = 2, .dataAreaBlock = 60});
  EXPECT_TRUE(Checked(image, MountRules::bare).has("harm-bare-next-folder"));
}

} // namespace
} // namespace tessary::test
