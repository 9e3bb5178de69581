// --dry-run: answers what would be done, and writes nothing.

#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"
#include "tests/support/OtherProgram.h"
#include "tests/support/OtherUser.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace tessary::test {
namespace {

using Words = std::vector<std::string>;

class DryRun : public CliTest {
protected:
  DryRun() {
    ImageBuilder image;
    image.root().addFile("KICK", IffBank().sample("one", patternBytes(100, 1)).build());
    image.root().addFile("CUT", bytesOf("x"), {.slot = 60000, .storesContents = false});
    FolderBuilder drums = image.root().addFolder("Drums");
    drums.addFile("SNARE", bytesOf("snare"));
    use(image);
    writeText(hostPath("x.E4B"), "x");
    std::filesystem::create_directory(hostPath("tree"));
    writeText(hostPath("tree/y.E4B"), "y");
    ImageBuilder().writeTo(hostPath("other.hda"));
  }

  struct Case {
    std::string command;
    Words words;
  };
  std::vector<Case> changes() const {
    return {{"import", {hostPath("x.E4B"), hostPath("none"), "-t", "/Drums"}},
            {"import", {"-R", hostPath("tree"), "-t", "/", "--replace"}},
            {"cp", {"/KICK", "/CUT", "/Drums"}},
            {"cp", {"-R", "/", "/Drums"}},
            {"cp", {"-R", "/", "/", "--into", hostPath("other.hda")}},
            {"mv", {"/KICK", "/Drums", "--skip-existing"}},
            {"mv", {"-R", "/Drums", "/", "--into", hostPath("other.hda")}},
            {"rm", {"/KICK", "/CUT"}},
            {"rename", {"/KICK", "Other"}},
            {"rename", {"/KICK", ""}},
            {"mkdir", {"-p", "/One/Two"}},
            {"rmdir", {"-R", "/Drums"}},
            {"export", {"-R", "/", "-d", hostPath("out/deep")}},
            {"export", {"/KICK", "-o", hostPath("none/KICK")}},
            {"export", {"/KICK", "-o", hostPath("x.E4B"), "--no-clobber"}},
            {"wav", {"/KICK", "-d", hostPath("out")}},
            {"wav", {"/KICK", "9", "-d", hostPath("out")}},
            {"backup", {hostPath("copy.hda")}},
            {"backup", {hostPath("x.E4B")}}};
  }
};

TEST_F(DryRun, AnswersForEachItemWhatTheRealRunDoesAndWritesNothing) {
  const Bytes other = readBytes(hostPath("other.hda"));
  const Bytes before = readBytes(imagePath());
  for (const Case &change : changes()) {
    SCOPED_TRACE(change.command + " " + change.words.front());
    Words dry = change.words;
    dry.insert(dry.begin(), {"-n", "--json"});
    const std::vector<std::string> names = namesIn(hostPath(""));
    const Answer trial = cli(change.command, dry);
    EXPECT_TRUE(readBytes(imagePath()) == before);
    EXPECT_TRUE(readBytes(hostPath("other.hda")) == other);
    EXPECT_EQ(namesIn(hostPath("")), names);
    dry[0] = "--json";
    dry.erase(dry.begin() + 1);
    const Answer real = cli(change.command, dry);
    EXPECT_EQ(trial, real);
    writeBytes(imagePath(), before);
    writeBytes(hostPath("other.hda"), other);
    std::filesystem::remove_all(hostPath("out"));
    std::filesystem::remove(hostPath("copy.hda"));
  }
  EXPECT_EQ(readText(hostPath("x.E4B")), "x");
}

TEST_F(DryRun, TextSaysThatNothingWasWritten) {
  EXPECT_EQ(cli("rm", {"-n", "/KICK"}), (Answer{0, "Deleted /KICK\nDry run: nothing was written.\n", ""}));
  EXPECT_EQ(cli("rm", {"-n", "-q", "/KICK"}), (Answer{0, "", ""}));
}

TEST_F(DryRun, OfABatchIsOneForAllItsLines) {
  const Bytes before = readBytes(imagePath());
  const Answer answer = batch("mkdir /New\nmv /KICK /New\nls /New --csv\nrm /KICK\nexport /New/KICK -d " +
                                  hostPath("out") + "\n",
                              {"-n", "-q"});
  EXPECT_NE(answer.out.find("/New/KICK,KICK,"), std::string::npos) << answer;
  EXPECT_EQ(answer.err, "tessary-cli: line 4: No such file: /KICK\n");
  EXPECT_TRUE(readBytes(imagePath()) == before);
  EXPECT_FALSE(std::filesystem::exists(hostPath("out")));
}

TEST_F(DryRun, OfALineSeesWhatTheLinesBeforeHaveDone) {
  EXPECT_EQ(batch("mkdir /New\nmv -n /KICK /New\nmv /KICK /New\n").status, 0);
  EXPECT_EQ(volumeNames("/New"), Words{"KICK"});
}

TEST_F(DryRun, WorksWhileAnotherProgramHasTheImage) {
  const OtherProgram program(imagePath());
  EXPECT_EQ(cli("rm", {"-n", "/KICK"}).status, 0);
  EXPECT_EQ(cli("rm", {"/KICK"}).status, 1);
}

TEST_F(DryRun, ImageThatCannotBeWrittenIsRefusedAsInTheRealRun) {
  makeReadOnly();
  const OtherUser user;
  EXPECT_EQ(cli("rm", {"-n", "/KICK"}).err, cli("rm", {"/KICK"}).err);
  EXPECT_EQ(cli("rm", {"-n", "/KICK"}).status, 1);
}

TEST_F(DryRun, CommandsThatOnlyReadDoNotTakeIt) {
  for (const char *command : {"info", "ls", "stat", "cat", "contents", "samples", "check"})
    EXPECT_EQ(cli(command, {"-n", "/KICK"}).status, 2) << command;
}

} // namespace
} // namespace tessary::test
