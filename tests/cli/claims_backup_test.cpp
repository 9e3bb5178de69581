// What the command line says while another program has the image, and `backup`.

#include "tests/cli/CliRun.h"
#include "tests/support/HostFiles.h"

#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;
using Words = std::vector<std::string>;

constexpr const char *kTaken = "Image is read-only: another program has it open";

class WhileTaken : public CliTest {
protected:
  WhileTaken() {
    ImageBuilder image;
    image.root().addFile("KICK", bytesOf("kick"));
    image.root().addFile("SNARE", bytesOf("snare"));
    image.root().addFolder("Drums");
    use(image);
    take();
  }
  ~WhileTaken() override { letGo(); }

  void take() {
    fd_ = ::open(imagePath().c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(fd_, LOCK_EX | LOCK_NB), 0);
  }
  void letGo() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

private:
  int fd_ = -1;
};

TEST_F(WhileTaken, CommandsThatReadDoNotFail) {
  const std::string out = newHostFolder("out");
  for (const bool exact : {false, true}) {
    for (Words words : std::vector<Words>{{"info"},
                                          {"ls", "-R"},
                                          {"stat", "/KICK"},
                                          {"cat", "/KICK"},
                                          {"export", "/KICK", "-d", out},
                                          {"contents", "/KICK"},
                                          {"samples", "/KICK"},
                                          {"check"},
                                          {"recover"}}) {
      const std::string command = words.front();
      words.erase(words.begin());
      if (exact) words.push_back("--exact");
      const Answer answer = cli(command, words);
      EXPECT_EQ(answer.err.find("read-only"), std::string::npos) << command << answer;
      EXPECT_TRUE(answer.status == 0 || command == "check") << command << answer; // check finds bare dangers
    }
  }
  EXPECT_NE(cli("info").out.find("Read-only:             no\n"), std::string::npos);
}

TEST_F(WhileTaken, CommandsThatChangeFailWithTheReason) {
  writeText(hostPath("x"), "x");
  const Bytes before = readBytes(imagePath());
  for (Words words : std::vector<Words>{{"rm", "/KICK"},
                                        {"cp", "/KICK", "/Drums"},
                                        {"mv", "/KICK", "/Drums"},
                                        {"rename", "/KICK", "X"},
                                        {"mkdir", "/X"},
                                        {"rmdir", "/Drums"},
                                        {"import", hostPath("x"), "-t", "/"}}) {
    const std::string command = words.front();
    words.erase(words.begin());
    const Answer answer = cli(command, words);
    EXPECT_EQ(answer.status, 1) << command;
    EXPECT_EQ(answer.out, "") << command;
    EXPECT_TRUE(answer.err.ends_with(std::string(": ") + kTaken + "\n")) << command << answer;
  }
  EXPECT_EQ(cliJson("rm", {"/KICK"})["results"][0]["error"]["code"], 3);
  EXPECT_EQ(readBytes(imagePath()), before);
}

TEST_F(WhileTaken, BatchReadsAndFailsAtItsChanges) {
  const Answer answer = batch("cat /KICK\nrm /KICK\ncat /SNARE\n");
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.out, "kicksnare");
  EXPECT_EQ(answer.err, std::string("tessary-cli: line 2: /KICK: ") + kTaken + "\n");
}

TEST_F(WhileTaken, BackupIsRefused) {
  const Answer answer = cli("backup", {hostPath("copy.hda")});
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.err, "tessary-cli: " + imagePath() + ": " + kTaken + "\n");
  EXPECT_FALSE(std::filesystem::exists(hostPath("copy.hda")));
}

TEST_F(WhileTaken, ChangesSucceedOnceItIsLetGo) {
  letGo();
  EXPECT_EQ(cli("rm", {"/KICK"}), (Answer{0, "Deleted /KICK\n", ""}));
  EXPECT_EQ(volumeNames(), (Names{"SNARE", "Drums/"}));
}

class BackupCommand : public WhileTaken {
protected:
  BackupCommand() { letGo(); }
};

TEST_F(BackupCommand, CopiesTheImage) {
  const std::string copy = hostPath("copy.hda");
  EXPECT_EQ(cli("backup", {copy}), (Answer{0, "Backed up " + imagePath() + " to " + copy + "\n", ""}));
  EXPECT_EQ(readBytes(copy), readBytes(imagePath()));
  EXPECT_EQ(cliItems("backup", {hostPath("second.hda")}), allDone({imagePath()}));
}

TEST_F(BackupCommand, NeverReplacesAFile) {
  const std::string copy = hostPath("copy.hda");
  writeText(copy, "earlier");
  const Answer answer = cli("backup", {copy});
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.out, "");
  EXPECT_NE(answer.err.find("File exists"), std::string::npos) << answer;
  EXPECT_EQ(readText(copy), "earlier");
}

TEST_F(BackupCommand, IsALineOfABatch) {
  const std::string copy = hostPath("copy.hda");
  EXPECT_EQ(batch("rm /KICK\nbackup " + copy + "\n").status, 0);
  EXPECT_EQ(readBytes(copy), readBytes(imagePath()));
}

} // namespace
} // namespace tessary::test
