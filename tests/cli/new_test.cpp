// new: empty volumes in new image files.

#include "tests/cli/CliRun.h"
#include "tests/support/HostFiles.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

using Words = std::vector<std::string>;

class New : public CliTest {
protected:
  std::string new_ = hostPath("new.hda");

  static nlohmann::json factsOf(const std::string &image, const Words &options = {}) {
    Words words{"info", image, "--json"};
    words.insert(words.end(), options.begin(), options.end());
    return jsonOf(runCli(words)).at("volume");
  }
  static void expectSound(const std::string &image) {
    EXPECT_EQ(runCli({"check", image}), (Answer{0, "Nothing found.\n", ""})) << image;
  }
};

TEST_F(New, MakesASoundVolumeOfEverySizeThatTakesFilesAndFolders) {
  writeText(hostPath("kick.E4B"), "kick");
  for (const std::string size :
       {"64K", "65024", "100K", "1M", "64M", "512M", "3G", "3500M", "4G", "8G", "32G"}) {
    SCOPED_TRACE(size);
    if (size == "65024") {
      EXPECT_EQ(runCli({"new", new_, "--size", size}).status, 2);
      continue;
    }
    ASSERT_EQ(runCli({"new", new_, "--size", size, "-q"}), (Answer{0, "", ""}));
    expectSound(new_);
    EXPECT_EQ(runCli({"check", new_, "--exact"}), (Answer{0, "Nothing found.\n", ""}));
    const nlohmann::json facts = factsOf(new_);
    EXPECT_EQ(facts.at("fileCount"), 0);
    EXPECT_EQ(facts.at("isReadOnly"), false);
    EXPECT_EQ(runCli({"mkdir", new_, "-p", "/Drums/Old", "-q"}), (Answer{0, "", ""}));
    EXPECT_EQ(runCli({"import", new_, hostPath("kick.E4B"), "-t", "/Drums/Old", "-q"}), (Answer{0, "", ""}));
    expectSound(new_);
    EXPECT_EQ(runCli({"cat", new_, "/Drums/Old/kick"}).out, "kick");
    EXPECT_EQ(runCli({"cat", "--exact", new_, "/Drums/Old/kick"}).out, "kick");
    std::filesystem::remove(new_);
  }
}

TEST_F(New, TableDescribesEveryBlockAndFolderBlocksStayBelow32768) {
  for (const std::string size : {"64K", "64M", "4G", "32G"}) {
    ASSERT_EQ(runCli({"new", new_, "--size", size}).status, 0) << size;
    const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(new_, MountRules::guarded);
    ASSERT_TRUE(volume);
    EXPECT_EQ(volume->describedBlocks(), volume->totalBlocks()) << size;
    EXPECT_LT(volume->rootDirBlock() + 15, 32768U) << size;
    std::filesystem::remove(new_);
  }
}

TEST_F(New, RootAndFoldersComeBeforeATableThatWouldPushThemTooFar) {
  ASSERT_EQ(runCli({"new", new_, "--size", "32G"}).status, 0);
  const nlohmann::json facts = factsOf(new_);
  EXPECT_LT(facts.at("rootDirBlock"), facts.at("fatStartBlock"));
  EXPECT_EQ(facts.at("totalBlocks"), 64 * 1024 * 1024);
}

TEST_F(New, HoldsAsManyFilesAsItsSlotsAndFoldersTake) {
  ASSERT_EQ(runCli({"new", new_, "--size", "1M"}).status, 0);
  writeText(hostPath("a"), "a");
  std::string lines = "mkdir /F\n";
  for (int i = 0; i < 40; ++i)
    lines += "import " + hostPath("a") + " -t /F\n";
  EXPECT_EQ(runCli({"batch", new_}, lines).status, 1); // 2,048 blocks hold fewer slots of 64
  expectSound(new_);
  EXPECT_EQ(factsOf(new_).at("fileCount"), (2048 - 2 - 8 - 16 + 63) / 64);
}

TEST_F(New, AnswersWithTheFileAndItsSize) {
  EXPECT_EQ(jsonOf(runCli({"new", new_, "--size", "1M", "--json"})),
            parsedJson(R"({"ok":true,"results":[{"item":")" + new_ + R"(","ok":true,"host":")" + new_ +
                       R"(","bytes":1048576}]})"));
  EXPECT_EQ(readBytes(new_).size(), 1048576U);
}

TEST_F(New, NeverTouchesAFileThatIsThere) {
  writeText(new_, "mine");
  EXPECT_EQ(runCli({"new", new_, "--size", "1M"}),
            (Answer{1, "", "tessary-cli: " + new_ + ": File exists\n"}));
  EXPECT_EQ(runCli({"new", new_, "--size", "1M", "-n"}),
            (Answer{1, "Dry run: nothing was written.\n", "tessary-cli: " + new_ + ": File exists\n"}));
  EXPECT_EQ(readText(new_), "mine");
  EXPECT_EQ(runCli({"new", hostPath("none/new.hda"), "--size", "1M"}).err,
            "tessary-cli: " + hostPath("none/new.hda") + ": No such file or directory\n");
}

TEST_F(New, DryRunLeavesNothing) {
  EXPECT_EQ(runCli({"new", new_, "--size", "1M", "-n"}),
            (Answer{0, "Made " + new_ + ", 1.0 MB\nDry run: nothing was written.\n", ""}));
  EXPECT_FALSE(std::filesystem::exists(new_));
}

TEST_F(New, WrongWords) {
  for (const Words &words : std::vector<Words>{{},
                                               {"--size", "63K"},
                                               {"--size", "33G"},
                                               {"--size", "1T"},
                                               {"--size", "M"},
                                               {"--size", "1000000"},
                                               {"--size", "99999999999999999999G"},
                                               {"--size", "1M", "--like", imagePath()}}) {
    Words all{"new", new_};
    all.insert(all.end(), words.begin(), words.end());
    EXPECT_EQ(runCli(all).status, 2);
    EXPECT_FALSE(std::filesystem::exists(new_));
  }
}

TEST_F(New, LikeTakesHeaderAndSizeOfAnImage) {
  ImageBuilder image({.sizeBytes = 8 * kMiB + 100, .slotSizeBlocks = 128});
  image.root().addFile("KICK", bytesOf("kick"));
  image.poke(100, "made by a sampler");
  use(image);
  ASSERT_EQ(runCli({"new", new_, "--like", imagePath()}).status, 0);
  EXPECT_EQ(readBytes(new_, 0, 512), readBytes(imagePath(), 0, 512));
  EXPECT_EQ(std::filesystem::file_size(new_), 8 * kMiB + 100);
  EXPECT_EQ(factsOf(new_).at("fileCount"), 0);
  expectSound(new_);
}

TEST_F(New, LikeRefusesATableThatIsTooShortAndSaysWhatItDescribes) {
  use(ImageBuilder(VolumeLayout::zeroHeader(4 * kMiB)));
  EXPECT_EQ(
      runCli({"new", new_, "--like", imagePath()}),
      (Answer{1, "",
              "tessary-cli: " + imagePath() +
                  ": The allocation table is too short for the volume: It describes 1024 of 8192 blocks\n"}));
  EXPECT_FALSE(std::filesystem::exists(new_));
}

TEST_F(New, LikeRefusesPartsThatLieOverOneAnother) {
  ImageBuilder image;
  image.poke32(32, 20); // the data area below the root
  use(image);
  EXPECT_EQ(runCli({"new", new_, "--like", imagePath()}).status, 1);
  EXPECT_FALSE(std::filesystem::exists(new_));
}

} // namespace
} // namespace tessary::test
