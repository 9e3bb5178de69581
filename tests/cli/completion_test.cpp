// What the shells' completions offer.

#include "tests/cli/CliRun.h"
#include "tests/cli/ProjectFile.h"
#include "tests/support/HostFiles.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

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
  std::string bash(const std::string &typed) const {
    return runCli({"--complete-bash", imagePath(), typed}).out;
  }

  // What bash itself would have after the completion function ran.
  std::string inBash(const std::string &words) const {
    const std::string script = hostPath("complete.sh");
    writeText(
        script,
        "PATH='" + std::filesystem::path(TESSARY_CLI_PROGRAM).parent_path().native() +
            "':\"$PATH\"\nsource '" + projectFile("packaging/completions/tessary-cli.bash") + "'\ncd '" +
            hostPath("") + "'\nCOMP_WORDS=(" + words +
            ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_tessary_cli\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n");
    std::string out;
    FILE *pipe = ::popen(("bash '" + script + "' 2>&1").c_str(), "r");
    for (int byte; (byte = std::fgetc(pipe)) != EOF;)
      out += static_cast<char>(byte);
    ::pclose(pipe);
    return out;
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
  EXPECT_EQ(bash("\"/It"), "/It's a \\$5 \\\"bass\\\"\n");
  EXPECT_EQ(bash("/A"), "/A\\\\/B\\\\\\*\n");
}

TEST_F(Completion, BashFunctionOffersCommandsImagesNamesAndHostFiles) {
  EXPECT_EQ(inBash("tessary-cli fin"), "find\n");
  EXPECT_EQ(inBash("tessary-cli ls di"), "disk.hda\n");
  EXPECT_EQ(inBash("tessary-cli ls disk.hda /My"), "/My\\ Drums/\n");
  EXPECT_EQ(inBash("tessary-cli cp -R disk.hda /K"), "/KICK\n");
  EXPECT_EQ(inBash("tessary-cli export disk.hda -d out '/My\\ Drums/S'"),
            "/My\\ Drums/SNARE\n/My\\ Drums/Sub/\n");
  EXPECT_EQ(inBash("tessary-cli import disk.hda x.E4B -t /My"), "/My\\ Drums/\n");
  EXPECT_EQ(inBash("tessary-cli import disk.hda di"), "disk.hda\n");
  EXPECT_EQ(inBash("tessary-cli cp disk.hda /KICK / --into di"), "disk.hda\n");
  EXPECT_EQ(inBash("tessary-cli ls disk.hda --so"), "--sort\n");
  EXPECT_EQ(inBash("tessary-cli ls disk.hda --sort na"), "name\n");
}

TEST_F(Completion, NothingThatIsTypedOrNamedIsRun) {
  ImageBuilder image;
  image.root().addFile("$(touch ran)", bytesOf("x"));
  image.root().addFile("`touch ran`", bytesOf("x"));
  image.root().addFile("; touch ran", bytesOf("x"));
  use(image);
  EXPECT_EQ(inBash("tessary-cli ls disk.hda /"),
            "/\\$\\(touch\\ ran\\)\n/\\`touch\\ ran\\`\n/\\;\\ touch\\ ran\n");
  EXPECT_EQ(inBash("tessary-cli ls '$(touch ran)disk.hda' /"), "\n");
  EXPECT_FALSE(std::filesystem::exists(hostPath("ran")));
}

} // namespace
} // namespace tessary::test
