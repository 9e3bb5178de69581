#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/OtherUser.h"

#include <string>

namespace tessary::test {
namespace {

class Info : public CliTest {
protected:
  static ImageBuilder volumeWithEntries() {
    ImageBuilder image;
    image.root().addFile("KICK", patternBytes(513));
    image.root().addRaw(rawFileEntry("GONE", 0, 0, 9, 1, 1, 1));
    FolderBuilder drums = image.root().addFolder("Drums");
    drums.addFile("SNARE", patternBytes(100));
    drums.addFolder("Empty");
    return image;
  }
};

// 4 MiB are 8,192 blocks, 32 table blocks from block 2, 128 blocks of directory area.
TEST_F(Info, JsonHoldsExactlyTheFacts) {
  use(volumeWithEntries());
  nlohmann::json expected = parsedJson(R"({"ok":true,"volume":{
      "volumeLabel":"disk.hda","imageSize":4194304,"totalBlocks":8192,"totalClusters":262144,"rootDirBlock":34,
      "dataAreaBlock":162,"slotSizeBlocks":64,"fatStartBlock":2,"isReadOnly":false,"folderCount":2,
      "fileCount":2}})");
  expected["volume"]["usedBlocks"] = 162 + 2 * 64; // what lies below the data area, and two files' slots
  expected["volume"]["freeBlocks"] = 8192 - 162 - 2 * 64;
  expected["volume"]["largestFreeBlocks"] = 8192 - 162 - 2 * 64; // behind the files all is free
  EXPECT_EQ(cliJson("info"), expected);
  expected["volume"]["usedBlocks"] = mounted()->usedBlocks();
  expected["volume"]["freeBlocks"] = mounted()->freeBlocks();
  expected["volume"]["largestFreeBlocks"] = 8192 - (162 + 9 * 64); // behind the slot of the deleted file
  EXPECT_EQ(cliJson("info", {"--exact"}), expected);
}

TEST_F(Info, TextTellsTheSame) {
  ImageBuilder image({.sizeBytes = 4 * kMiB, .marksBlocks = false});
  image.root().addFolder("Drums").addFolder("Empty");
  use(image);
  EXPECT_EQ(cli("info"), (Answer{0,
                                 "Volume label:          disk.hda\n"
                                 "Image size:            4194304 bytes (4.0 MB)\n"
                                 "Blocks:                8192\n"
                                 "Used blocks:           162 (81.0 KB)\n"
                                 "Free blocks:           8030 (3.9 MB)\n"
                                 "Largest new file:      8030 blocks (3.9 MB)\n"
                                 "Table entries scanned: 262144\n"
                                 "Table begins at block: 2\n"
                                 "Root folder's block:   34\n"
                                 "Data area's block:     162\n"
                                 "Slot size:             64 blocks (32.0 KB)\n"
                                 "Read-only:             no\n"
                                 "Folders:               2\n"
                                 "Files:                 0\n",
                                 ""}));
}

// The table of a header of zeros has four blocks, 1,024 entries; slot 1 begins at block 175.
TEST_F(Info, TextSaysWhereTheTableIsTooShortForTheVolume) {
  use(ImageBuilder(VolumeLayout::zeroHeader(8 * kMiB)));
  const std::string out = cli("info").out;
  EXPECT_NE(
      out.find(
          "\nThe allocation table is too short for the volume: it describes 1024 of 16384 blocks. Blocks "
          "from 1024 on, that is files in slots from 1 on, cannot be marked as used.\n"),
      std::string::npos)
      << out;
  EXPECT_FALSE(cliJson("info").at("volume").contains("describedBlocks"));
}

TEST_F(Info, FirstSlotThatTheTableDoesNotReachIsNamed) {
  use(ImageBuilder({.sizeBytes = 4 * kMiB, .rootDirBlock = 6, .dataAreaBlock = 20, .slotSizeBlocks = 100}));
  EXPECT_NE(
      cli("info").out.find("it describes 1024 of 8192 blocks. Blocks from 1024 on, that is files in slots "
                           "from 11 on, cannot"),
      std::string::npos);
}

TEST_F(Info, NothingIsSaidOfATableThatIsLongEnough) {
  use(volumeWithEntries());
  EXPECT_EQ(cli("info").out.find("too short"), std::string::npos);
}

TEST_F(Info, ReadOnlyImageIsToldSo) {
  use(volumeWithEntries());
  makeReadOnly();
  const OtherUser user;
  EXPECT_EQ(cliJson("info").at("volume").at("isReadOnly"), true);
  EXPECT_NE(cli("info").out.find("Read-only:             yes, the image file cannot be written\n"),
            std::string::npos);
}

TEST_F(Info, LabelWithControlCharactersIsShownEscaped) {
  const std::string path = hostPath("a\x1b\nb.hda");
  volumeWithEntries().writeTo(path);
  EXPECT_EQ(runCli({"info", path}).out.rfind("Volume label:          a\\x1b\\nb.hda\n", 0), 0U);
  EXPECT_EQ(jsonOf(runCli({"info", path, "--json"})).at("volume").at("volumeLabel"), "a\x1b\nb.hda");
}

} // namespace
} // namespace tessary::test
