// What the shells' completions offer.

#include "tests/cli/CliRun.h"
#include "tests/cli/ProjectFile.h"
#include "tests/support/HostFiles.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#ifdef __APPLE__
#include <util.h>
#else
#include <pty.h>
#endif

namespace tessary::test {
namespace {

class Completion : public CliTest {
protected:
  Completion() {
    ImageBuilder image;
    image.root().addFile("KICK", bytesOf("kick"));
    image.root().addFile("It's a $5 \"bass\"", bytesOf("bass"));
    image.root().addFile("A/B*", bytesOf("slash"));
    image.root().addFile("two\nlines", bytesOf("lines"));
    FolderBuilder drums = image.root().addFolder("My Drums");
    drums.addFile("SNARE", bytesOf("snare"));
    drums.addFolder("Sub");
    use(image);
  }

  std::string plain(const std::string &word) const { return runCli({"--complete", imagePath(), word}).out; }
  std::string bash(const std::string &typed, const std::string &kept = "") const {
    return runCli({"--complete-bash", imagePath(), typed, kept}).out;
  }

  /// The words, each on a line, that a command gets when these keys are typed in bash, in the folder of the
  /// image. `show` is completed as tessary-cli is.
  std::string inBash(const std::string &keys) const {
    const std::string setUp = hostPath("bashrc"), shown = hostPath("shown");
    writeText(setUp, "PATH='" + std::filesystem::path(TESSARY_CLI_PROGRAM).parent_path().native() +
                         "':\"$PATH\"\nsource '" + projectFile("packaging/completions/tessary-cli.bash") +
                         "'\nshow() { printf '%s\\n' \"$@\" >'" + shown +
                         "'; }\ncomplete -F _tessary_cli show\ncd '" + hostPath("") + "'\nrm -f bashrc\n");
    typeInBash(setUp, keys + "\nexit\n");
    return std::filesystem::exists(shown) ? readText(shown) : "";
  }

private:
  static void typeInBash(const std::string &setUp, const std::string &keys) {
    int terminal = -1;
    const pid_t shell = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_GE(shell, 0);
    if (shell == 0) {
      ::setenv("INPUTRC", "/dev/null", 1);
      ::setenv("HISTFILE", "/dev/null", 1);
      ::unsetenv("BASH_ENV");
      ::execlp("bash", "bash", "--noprofile", "--rcfile", setUp.c_str(), "-i", nullptr);
      ::_exit(127);
    }
    ASSERT_EQ(::write(terminal, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    constexpr int patience = 20'000; // milliseconds; it waits for ever where a quote was left open
    std::array<char, 4096> drawn{};
    pollfd ready{terminal, POLLIN, 0};
    while (::poll(&ready, 1, patience) > 0 && ::read(terminal, drawn.data(), drawn.size()) > 0) {
    }
    ::kill(shell, SIGKILL); // where it has not ended
    ::waitpid(shell, nullptr, 0);
    ::close(terminal);
  }
};

TEST_F(Completion, OffersAddressesThatBeginWithTheWord) {
  EXPECT_EQ(plain(""), "/\n");
  EXPECT_EQ(plain("/K"), "/KICK\n");
  EXPECT_EQ(plain("/My"), "/My Drums/\n");
  EXPECT_EQ(plain("/My Drums/"), "/My Drums/SNARE\n/My Drums/Sub/\n");
  EXPECT_EQ(plain("@34:4/S"), "@34:4/SNARE\n@34:4/Sub/\n");
  EXPECT_EQ(plain("/A"), "/A\\/B\\*\n");
  EXPECT_EQ(plain("/A\\/"), "/A\\/B\\*\n");
  EXPECT_EQ(plain("/two"), "@34:3\n") << "what would break the line has its place";
  EXPECT_EQ(plain("/None/"), "");
  EXPECT_EQ(runCli({"--complete", hostPath("none.hda"), "/"}), (Answer{0, "", ""}));
}

TEST_F(Completion, OffersThemAsTheyAreWrittenInBash) {
  EXPECT_EQ(bash("/My"), "/My\\ Drums/\n");
  EXPECT_EQ(bash("/My\\ Drums/SN"), "/My\\ Drums/SNARE\n");
  EXPECT_EQ(bash("'/My Dr"), "/My Drums/\n");
  EXPECT_EQ(bash("\"/My Dr"), "/My Drums/\n");
  EXPECT_EQ(bash("/It"), "/It\\'s\\ a\\ \\$5\\ \\\"bass\\\"\n");
  EXPECT_EQ(bash("'/It"), "/It'\\''s a $5 \"bass\"\n");
  EXPECT_EQ(bash("\"/It"), "/It's a \\$5 \\\"bass\\\"\"\n") << "which it would not close";
  EXPECT_EQ(bash("/A"), "/A\\\\/B\\\\\\*\n");
}

TEST_F(Completion, LeavesOutWhatBashLeavesAloneOfTheWord) {
  EXPECT_EQ(bash("@34:4/S", "@34:"), "4/SNARE\n4/Sub/\n");
  EXPECT_EQ(bash("'@34:4/S", "'"), "@34:4/SNARE\n@34:4/Sub/\n");
  EXPECT_EQ(bash("/two", "/x="), "");
}

TEST_F(Completion, BashCompletesCommandsImagesAndHostFiles) {
  EXPECT_EQ(inBash("show fin\t"), "find\n");
  EXPECT_EQ(inBash("show ls di\t"), "ls\ndisk.hda\n");
  EXPECT_EQ(inBash("show import disk.hda di\t"), "import\ndisk.hda\ndisk.hda\n");
  EXPECT_EQ(inBash("show cp disk.hda /KICK / --into di\t"), "cp\ndisk.hda\n/KICK\n/\n--into\ndisk.hda\n");
  EXPECT_EQ(inBash("show ls disk.hda --so\tna\t"), "ls\ndisk.hda\n--sort\nname\n");
}

TEST_F(Completion, BashCompletesNamesInTheImage) {
  EXPECT_EQ(inBash("show ls disk.hda /My\t"), "ls\ndisk.hda\n/My Drums/\n");
  EXPECT_EQ(inBash("show stat disk.hda /My\tSN\t"), "stat\ndisk.hda\n/My Drums/SNARE\n");
  EXPECT_EQ(inBash("show cp -R disk.hda /K\t/\t"), "cp\n-R\ndisk.hda\n/KICK\n/\n");
  EXPECT_EQ(inBash("show import disk.hda x.E4B -t /My\t"), "import\ndisk.hda\nx.E4B\n-t\n/My Drums/\n");
  EXPECT_EQ(inBash("show stat disk.hda /It\t"), "stat\ndisk.hda\n/It's a $5 \"bass\"\n");
  EXPECT_EQ(inBash("show stat disk.hda /A\t"), "stat\ndisk.hda\n/A\\/B\\*\n");
}

TEST_F(Completion, BashCompletesBetweenQuotes) {
  EXPECT_EQ(inBash("show stat disk.hda '/My\tSN\t"), "stat\ndisk.hda\n/My Drums/SNARE\n");
  EXPECT_EQ(inBash("show stat disk.hda \"/My Dr\tSN\t"), "stat\ndisk.hda\n/My Drums/SNARE\n");
  EXPECT_EQ(inBash("show stat disk.hda \"/It\t"), "stat\ndisk.hda\n/It's a $5 \"bass\"\n");
  EXPECT_EQ(inBash("show stat disk.hda '/It\t"), "stat\ndisk.hda\n/It's a $5 \"bass\"\n");
}

// These part words for bash, and so do the ":" and "@" of a place.
TEST_F(Completion, BashCompletesNamesAndPlacesWithItsOwnWordBreaks) {
  ImageBuilder image;
  for (const char *name : {"a:b:cd", "x=y z", "m@n:o", "p|q&r;s"})
    image.root().addFile(name, bytesOf("x"));
  FolderBuilder folder = image.root().addFolder("F:G");
  folder.addFile("DEEP:1", bytesOf("x"));
  const auto place = folder.place();
  use(image);
  const std::string at = "@" + std::to_string(place.block) + ":" + std::to_string(place.index);
  EXPECT_EQ(inBash("show stat disk.hda /a\t"), "stat\ndisk.hda\n/a:b:cd\n");
  EXPECT_EQ(inBash("show stat disk.hda /a:b\t"), "stat\ndisk.hda\n/a:b:cd\n");
  EXPECT_EQ(inBash("show stat disk.hda /a\\:b:\t"), "stat\ndisk.hda\n/a:b:cd\n");
  EXPECT_EQ(inBash("show stat disk.hda '/a:b\t"), "stat\ndisk.hda\n/a:b:cd\n");
  EXPECT_EQ(inBash("show stat disk.hda /x=\t"), "stat\ndisk.hda\n/x=y z\n");
  EXPECT_EQ(inBash("show stat disk.hda /m@n\t"), "stat\ndisk.hda\n/m@n:o\n");
  EXPECT_EQ(inBash("show stat disk.hda /p\t"), "stat\ndisk.hda\n/p|q&r;s\n");
  EXPECT_EQ(inBash("show stat disk.hda /F:G/D\t"), "stat\ndisk.hda\n/F:G/DEEP:1\n");
  EXPECT_EQ(inBash("show stat disk.hda " + at + "/D\t"), "stat\ndisk.hda\n" + at + "/DEEP:1\n");
  EXPECT_EQ(inBash("show stat disk.hda '" + at + "/D\t"), "stat\ndisk.hda\n" + at + "/DEEP:1\n");
}

TEST_F(Completion, NothingThatIsTypedOrNamedIsRun) {
  for (const char *name : {"$(touch ran)", "`touch ran`", "; touch ran", "\"$(touch ran)\""}) {
    ImageBuilder image;
    image.root().addFile(name, bytesOf("x"));
    use(image);
    for (const char *quote : {"", "'", "\""})
      EXPECT_EQ(inBash("show stat disk.hda " + std::string(quote) + "/\t"),
                "stat\ndisk.hda\n/" + std::string(name) + "\n")
          << quote;
  }
  EXPECT_EQ(inBash("show ls '$(touch ran)disk.hda' /\t"), "ls\n$(touch ran)disk.hda\n/\n");
  EXPECT_FALSE(std::filesystem::exists(hostPath("ran")));
}

} // namespace
} // namespace tessary::test
