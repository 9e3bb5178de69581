// Whole trees: host folders in and out, and between two images.

#include "tests/cli/CliRun.h"
#include "tests/cli/Subprocess.h"
#include "tests/support/AskedNumber.h"
#include "tests/support/HostFiles.h"
#include "tests/support/OtherProgram.h"
#include "tests/support/SampleVolumes.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace tessary::test {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

// Contents by paths below the folder; folders have none.
std::map<std::string, std::string> treeOf(const std::string &folder) {
  std::map<std::string, std::string> tree;
  for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder)) {
    const std::string path = fs::relative(entry.path(), folder).native();
    tree[path] = entry.is_directory() ? "" : readText(entry.path().native());
  }
  return tree;
}

// Of each entry what must be equal in a copy: path, name, kind, size, contents.
std::vector<std::string> entriesOf(const std::string &image) {
  std::vector<std::string> entries;
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image, MountRules::guarded);
  EXPECT_TRUE(volume) << image;
  if (!volume) return entries;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume->rootDirectory())) {
    std::string path;
    for (EMU3DirectoryPtr above = folder; above->parent(); above = above->parent())
      path.insert(0, above->name() + "/");
    entries.push_back(path + " " + std::to_string(folder->parent() ? folder->entryId() : 0));
    for (const EMU3FilePtr &file : folder->allFiles()) {
      const ByteBufferPtr bytes = volume->contentsOfFile(file);
      EXPECT_TRUE(bytes);
      entries.push_back(
          path + file->name() + " " + std::to_string(file->rawType()) + " " +
          std::to_string(bytes ? std::hash<std::string_view>()(std::string_view(
                                     reinterpret_cast<const char *>(bytes->data()), bytes->size()))
                               : 0));
    }
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

class Trees : public CliTest {
protected:
  static void expectSound(const std::string &image) {
    EXPECT_EQ(runCli({"check", image}), (Answer{0, "Nothing found.\n", ""})) << image;
  }
  std::string new_ = hostPath("new.hda");
};

TEST_F(Trees, AThousandHostFilesInSixtyFoldersComeBackAsTheyWent) {
  const std::string in = newHostFolder("in");
  for (int folder = 0; folder < 60; ++folder) {
    const std::string name = folder % 3 == 0
                                 ? "F" + std::to_string(folder)
                                 : "F" + std::to_string(folder / 3 * 3) + "/S" + std::to_string(folder);
    fs::create_directories(in + "/Top" + std::to_string(folder / 12) + "/" + name);
    const int files = folder < 40 ? 17 : 16;
    for (int file = 0; file < files; ++file) {
      writeBytes(
          in + "/Top" + std::to_string(folder / 12) + "/" + name + "/Name " + std::to_string(file) + ".E4B",
          patternBytes(static_cast<std::size_t>(file * 97 + folder), static_cast<std::uint32_t>(folder)));
    }
  }
  ASSERT_EQ(runCli({"new", new_, "--size", "256M"}).status, 0);
  Words words{"import", new_, "-R", "-q", "-t", "/"};
  for (const std::string &top : namesIn(in))
    words.push_back(in + "/" + top);
  ASSERT_EQ(runCli(words), (Answer{0, "", ""}));
  expectSound(new_);
  const std::string out = hostPath("out");
  ASSERT_EQ(runCli({"export", new_, "-R", "/", "-d", out, "-q"}), (Answer{0, "", ""}));
  const auto expected = treeOf(in);
  EXPECT_GE(expected.size(), 1000U + 60U);
  EXPECT_TRUE(treeOf(out) == expected);
}

TEST_F(Trees, WholeVolumeGoesIntoANewOneAndBack) {
  use(demoVolume());
  ASSERT_EQ(runCli({"new", new_, "--like", imagePath()}).status, 0);
  ASSERT_EQ(runCli({"cp", imagePath(), "-R", "/", "/", "--into", new_, "-q"}), (Answer{0, "", ""}));
  EXPECT_EQ(entriesOf(new_), entriesOf(imagePath()));
  expectSound(new_);
  const std::string back = hostPath("back.hda");
  ASSERT_EQ(runCli({"new", back, "--size", "64M"}).status, 0);
  ASSERT_EQ(runCli({"mv", new_, "-R", "/", "/", "--into", back, "-q"}), (Answer{0, "", ""}));
  EXPECT_EQ(entriesOf(back), entriesOf(imagePath()));
  EXPECT_EQ(entriesOf(new_), Words{" 0"});
  expectSound(new_);
  expectSound(back);
}

// The copy is ended at moments spread over the time that it takes here, by each of the signals in turn. Where
// the signal comes too late, the copy is repeated all the same.
TEST_F(Trees, CopyIntoANewVolumeAndBackThatWasEndedAnyhowIsCompleteWhenRepeated) {
  use(demoVolume());
  const std::vector<std::string> expected = entriesOf(imagePath());
  const std::string back = hostPath("back.hda");
  std::minstd_rand random(1);
  const auto copy = [&](const std::string &from, const std::string &to) {
    return Words{"cp", from, "-R", "/", "/", "--into", to, "--skip-existing", "-q"};
  };
  ASSERT_EQ(runCli({"new", new_, "--like", imagePath()}).status, 0);
  const auto begin = std::chrono::steady_clock::now();
  ASSERT_EQ(Subprocess(copy(imagePath(), new_)).finish(), (Ending{0, 0}));
  const auto whole = std::chrono::steady_clock::now() - begin;

  int cutShort = 0;
  const std::uint32_t moments = askedNumber("TESSARY_MOMENTS", 9);
  for (std::uint32_t moment = 0; moment < moments; ++moment) {
    const int signal = std::array{SIGINT, SIGTERM, SIGKILL}[moment % 3];
    SCOPED_TRACE("moment " + std::to_string(moment) + ", signal " + std::to_string(signal));
    for (const auto &[from, to] : {std::pair(imagePath(), new_), std::pair(new_, back)}) {
      fs::remove(to);
      ASSERT_EQ(runCli({"new", to, "--like", imagePath()}).status, 0);
      Subprocess program(copy(from, to));
      std::this_thread::sleep_for(whole * (random() % 1000) / 1000);
      program.signal(signal);
      if (!(program.finish() == Ending{0, 0})) ++cutShort;
      ASSERT_EQ(runCli(copy(from, to)), (Answer{0, "", ""}));
      ASSERT_EQ(entriesOf(to), expected);
      ASSERT_EQ(runCli({"check", to, "--json"}).out.find("harm-"), std::string::npos);
    }
  }
  std::cout << cutShort << " of " << 2 * moments << " copies cut short, all complete when repeated\n";
  EXPECT_GT(cutShort, 0);
}

TEST_F(Trees, NamesOf16BytesAndKindsStayInAnotherImage) {
  ImageBuilder image;
  image.root().addFile("SIXTEEN BYTES!!!", bytesOf("x"), {.type = 0x83});
  image.root().addFile("OS", bytesOf("system"), {.type = 0x80});
  image.root().addFile("TWICE", bytesOf("1"));
  image.root().addFile("TWICE", bytesOf("2"));
  image.root().addFolder("SIXTEEN FOLDER!!", {.entryId = 0x80}).addFile("A", bytesOf("a"));
  use(image);
  ASSERT_EQ(runCli({"new", new_, "--size", "1M"}).status, 0);
  ASSERT_EQ(cli("cp", {"-R", "/", "/", "--into", new_}).status, 0);
  EXPECT_EQ(entriesOf(new_), entriesOf(imagePath()));
  ASSERT_EQ(cli("cp", {"-R", "/", "/", "--into", new_, "--skip-existing"}).status, 0);
  EXPECT_EQ(entriesOf(new_), entriesOf(imagePath())) << "also of two files of one name";
}

TEST_F(Trees, ImageItselfIsTheSameVolumeWhateverPathLeadsToIt) {
  ImageBuilder image;
  image.root().addFile("KICK", bytesOf("kick"));
  image.root().addFolder("Drums");
  use(image);
  fs::create_hard_link(imagePath(), hostPath("link.hda"));
  for (const Words &exact : {Words{}, Words{"--exact"}}) {
    Words words{"mv", "/KICK", "/Drums", "--into", hostPath("link.hda")};
    words.insert(words.begin() + 1, imagePath());
    words.insert(words.end(), exact.begin(), exact.end());
    EXPECT_EQ(runCli(words).status, 0);
    EXPECT_EQ(volumeNames(), Words{"Drums/"});
    EXPECT_EQ(volumeNames("/Drums"), Words{"KICK"});
    EXPECT_EQ(cli("mv", {"/Drums/KICK", "/"}).status, 0);
  }
}

TEST_F(Trees, CopyIntoAnotherImageOnlyReadsThisOne) {
  ImageBuilder image;
  image.root().addFolder("Drums").addFile("KICK", bytesOf("kick"));
  use(image);
  ASSERT_EQ(runCli({"new", new_, "--size", "1M", "-q"}).status, 0);
  const OtherProgram program(imagePath());
  EXPECT_EQ(cli("cp", {"-R", "/", "/", "--into", new_, "-q"}), (Answer{0, "", ""}));
  EXPECT_EQ(cli("mv", {"-R", "/", "/", "--into", new_, "-q"}).status, 1);
  EXPECT_EQ(volumeNames("/Drums"), Words{"KICK"});
}

TEST_F(Trees, FolderThatIsThereIsGoneOnIn) {
  ImageBuilder image;
  image.root().addFolder("A").addFile("X", bytesOf("x"));
  image.root().addFolder("B").addFolder("A").addFile("Y", bytesOf("y"));
  use(image);
  ASSERT_EQ(cli("cp", {"-R", "/A", "/B"}),
            (Answer{0, "Copied the folder /A into /B\nCopied /A/X into /B/A\n", ""}));
  EXPECT_EQ(volumeNames("/B"), Words{"A/"});
  EXPECT_EQ(volumeNames("/B/A"), (Words{"Y", "X"}));
  ASSERT_EQ(cli("mv", {"-R", "/B/A", "/", "--skip-existing"}).status, 0);
  EXPECT_EQ(volumeNames("/A"), (Words{"X", "Y"}));
  EXPECT_EQ(volumeNames("/B/A"), Words{"X"}) << "what was left out stays, and its folder";
}

TEST_F(Trees, FolderGoesNotIntoItself) {
  ImageBuilder image;
  image.root().addFolder("A").addFolder("B");
  use(image);
  EXPECT_EQ(cli("mv", {"-R", "/A", "/A/B"}),
            (Answer{1, "", "tessary-cli: /A: A folder cannot be moved into itself\n"}));
}

TEST_F(Trees, LinkInsideDirIsNeverFollowed) {
  ImageBuilder image;
  image.root().addFolder("Drums").addFile("KICK", bytesOf("kick"));
  image.root().addFolder("Pads").addFile("PAD", bytesOf("pad"));
  use(image);
  const std::string out = newHostFolder("out");
  const std::string elsewhere = newHostFolder("elsewhere");
  writeText(elsewhere + "/file", "mine");
  fs::create_directory(out + "/Drums");
  fs::create_symlink(elsewhere + "/file", out + "/Drums/KICK.E4B");
  fs::create_directory_symlink(elsewhere, out + "/Pads");
  EXPECT_EQ(cli("export", {"-R", "/", "-d", out, "-q"}),
            (Answer{1, "",
                    "tessary-cli: /Pads: " + out + "/Pads: File exists\n" + "tessary-cli: /Pads/PAD: " + out +
                        "/Pads: File exists\n"}));
  EXPECT_EQ(namesIn(elsewhere), Words{"file"});
  EXPECT_EQ(readText(elsewhere + "/file"), "mine");
  EXPECT_FALSE(fs::is_symlink(out + "/Drums/KICK.E4B"));
  EXPECT_EQ(readText(out + "/Drums/KICK.E4B"), "kick");
}

TEST_F(Trees, DirIsMadeWhenItIsNotThere) {
  ImageBuilder image;
  image.root().addFile("KICK", bytesOf("kick"));
  use(image);
  EXPECT_EQ(cli("export", {"/KICK", "-d", hostPath("a/b"), "-q"}), (Answer{0, "", ""}));
  EXPECT_EQ(readText(hostPath("a/b/KICK.E4B")), "kick");
  EXPECT_EQ(cli("export", {"/NONE", "-d", hostPath("c")}).status, 1);
  EXPECT_FALSE(fs::exists(hostPath("c"))) << "nothing is done where a word names nothing";
  EXPECT_EQ(cli("export", {"/KICK", "-d", hostPath("a/b/KICK.E4B")}).err,
            "tessary-cli: " + hostPath("a/b/KICK.E4B") + ": Not a directory\n");
}

TEST_F(Trees, NoClobberReplacesNothing) {
  ImageBuilder image;
  image.root().addFile("KICK", bytesOf("kick"));
  image.root().addFile("PAD", bytesOf("pad"));
  use(image);
  const std::string out = newHostFolder("out");
  writeText(out + "/KICK.E4B", "mine");
  EXPECT_EQ(cli("export", {"/KICK", "/PAD", "-d", out, "--no-clobber", "-q"}),
            (Answer{1, "", "tessary-cli: /KICK: " + out + "/KICK.E4B: File exists\n"}));
  EXPECT_EQ(readText(out + "/KICK.E4B"), "mine");
  EXPECT_EQ(readText(out + "/PAD.E4B"), "pad");
}

TEST_F(Trees, PermissionsOfAReplacedFileAreKept) {
  ImageBuilder image;
  image.root().addFile("KICK", bytesOf("kick"));
  use(image);
  const std::string out = newHostFolder("out");
  writeText(out + "/KICK.E4B", "old");
  fs::permissions(out + "/KICK.E4B", fs::perms(0640));
  ASSERT_EQ(cli("export", {"/KICK", "-d", out}).status, 0);
  EXPECT_EQ(fs::status(out + "/KICK.E4B").permissions(), fs::perms(0640));
}

TEST_F(Trees, DashAsTargetIsStandardOutputAndAllElseGoesToStandardError) {
  ImageBuilder image;
  image.root().addFile("KICK", bytesOf("kick\n"));
  use(image);
  EXPECT_EQ(cli("export", {"/KICK", "-o", "-"}),
            (Answer{0, "kick\n", "Exported /KICK to standard output\n"}));
  EXPECT_EQ(cli("export", {"/KICK", "-o", "-", "-q"}), (Answer{0, "kick\n", ""}));
  const Answer json = cli("export", {"/KICK", "-o", "-", "--json"});
  EXPECT_EQ(json.out, "kick\n");
  EXPECT_EQ(parsedJson(json.err),
            parsedJson(R"({"ok":true,"results":[{"item":"/KICK","ok":true,"host":null,"bytes":5}]})"));
  EXPECT_EQ(cli("export", {"/NONE", "-o", "-"}), (Answer{1, "", "tessary-cli: No such file: /NONE\n"}));
}

TEST_F(Trees, NothingButTheBytesGoesToStandardOutputWhateverGoesWrong) {
  ImageBuilder image;
  image.root().addFile("KICK", bytesOf("kick"));
  image.root().addFile("CUT", bytesOf("x"), {.slot = 60000, .storesContents = false});
  use(image);
  const std::string nowhere = hostPath("nowhere.hda");
  for (const char *command : {"export", "wav"}) {
    for (const auto &[words, status] :
         std::vector<std::pair<Words, int>>{{{imagePath(), "/NONE", "-o", "-"}, 1},
                                            {{imagePath(), "/CUT", "-o", "-"}, 1},
                                            {{nowhere, "/KICK", "-o", "-"}, 1},
                                            {{imagePath(), "/KICK", "-o", "-", "--bogus"}, 2},
                                            {{imagePath(), "-o", "-"}, 2},
                                            {{imagePath(), "/KICK", "-qo", "-", "-d", "x"}, 2},
                                            {{imagePath(), "/KICK", "-o-", "-R"}, 2},
                                            {{imagePath(), "/KICK", "--output=-", "-R"}, 2},
                                            {{imagePath(), "/KICK", "--output", "-", "-R"}, 2}}) {
      Words all{command, "--json"};
      all.insert(all.end(), words.begin(), words.end());
      SCOPED_TRACE(std::string(command) + " " + words.back());
      const Answer answer = runCli(all);
      EXPECT_EQ(answer.status, status) << answer;
      EXPECT_EQ(answer.out, "");
      EXPECT_EQ(parsedJson(answer.err).at("ok"), false) << answer;
      const Answer interrupted =
          runCli(all, "", {.errIsTerminal = false, .interrupted = [] { return true; }});
      EXPECT_EQ(interrupted.out, "");
    }
  }
  EXPECT_EQ(runCli({"cat", imagePath(), "/KICK", "--json"}).out, "") << "whose bytes stand there too";
}

TEST_F(Trees, BatchInJsonHasNoStandardOutputForAFile) {
  ImageBuilder image;
  image.root().addFile("KICK", bytesOf("kick\n"));
  use(image);
  EXPECT_EQ(jsonOf(batch("export /KICK -o -\n", {"--json"})),
            failure("com.tessary.cli", 2, "export: -o - would stand among the answers of the batch in JSON"));
  EXPECT_EQ(batch("export /KICK -o - -q\n"), (Answer{0, "kick\n", ""}));
}

} // namespace
} // namespace tessary::test
