// --replace and --skip-existing of import, cp and mv; import -R, --name and standard input.

#include "tests/cli/CliRun.h"
#include "tests/support/HostFiles.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

using Names = std::vector<std::string>;

class Existing : public CliTest {
protected:
  Existing() {
    ImageBuilder image;
    image.root().addFile("A", bytesOf("new A"));
    image.root().addFile("B", bytesOf("new B"));
    FolderBuilder drums = image.root().addFolder("Drums");
    drums.addFile("A", bytesOf("old A"));
    drums.addFile("A", bytesOf("older A"));
    drums.addFile("C", bytesOf("old C"));
    use(image);
    writeText(hostPath("A.E4B"), "host A");
    writeText(hostPath("B.E4B"), "host B");
  }

  std::string contents(const std::string &address) const { return cli("cat", {address}).out; }
  void expectSound() const { EXPECT_EQ(cli("check"), (Answer{0, "Nothing found.\n", ""})); }
};

TEST_F(Existing, WithoutEitherNamesAreNotCompared) {
  EXPECT_EQ(cli("import", {hostPath("A.E4B"), "-t", "/Drums"}).status, 0);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"A", "A", "C", "A"}));
}

TEST_F(Existing, ReplaceDeletesAllOfTheNameOnceTheNewOneIsStored) {
  EXPECT_EQ(cli("import", {hostPath("A.E4B"), hostPath("B.E4B"), "-t", "/Drums", "--replace"}).status, 0);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"C", "A", "B"}));
  EXPECT_EQ(contents("/Drums/A"), "host A");
  expectSound();
}

TEST_F(Existing, ReplaceKeepsTheOldOnesWhereTheNewOneCannotBeStored) {
  EXPECT_EQ(cli("import", {hostPath("none/A.E4B"), "-t", "/Drums", "--replace"}).status, 1);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"A", "A", "C"}));
}

TEST_F(Existing, SkipLeavesOutWhatIsThereWhichIsNoFailure) {
  EXPECT_EQ(cli("import", {hostPath("A.E4B"), hostPath("B.E4B"), "-t", "/Drums", "--skip-existing"}),
            (Answer{0,
                    "Left out, since its name is there: " + hostPath("A.E4B") + "\nImported " +
                        hostPath("B.E4B") + " into /Drums\n",
                    ""}));
  EXPECT_EQ(volumeNames("/Drums"), (Names{"A", "A", "C", "B"}));
  EXPECT_EQ(contents("/Drums/A"), "old A");
  const nlohmann::json answer = cliJson("import", {hostPath("A.E4B"), "-t", "/Drums", "--skip-existing"});
  EXPECT_EQ(answer.at("results").at(0),
            parsedJson(R"({"item":")" + hostPath("A.E4B") + R"(","ok":true,"skipped":true})"));
}

TEST_F(Existing, NameIsComparedAsItIsStored) {
  writeText(hostPath("0123456789ABCDEFGH.E4B"), "long");
  const Names words{hostPath("0123456789ABCDEFGH.E4B"), "-t", "/Drums", "--skip-existing"};
  EXPECT_EQ(cli("import", words).status, 0);
  EXPECT_EQ(cli("import", words).status, 0);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"A", "A", "C", "0123456789ABCDE"}));
}

TEST_F(Existing, CopiesAndMovesObeyThemToo) {
  EXPECT_EQ(cli("cp", {"/A", "/B", "/Drums", "--skip-existing"}).status, 0);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"A", "A", "C", "B"}));
  EXPECT_EQ(cli("cp", {"/A", "/Drums", "--replace"}).status, 0);
  EXPECT_EQ(volumeNames("/Drums"), (Names{"C", "B", "A"}));
  EXPECT_EQ(contents("/Drums/A"), "new A");
  EXPECT_EQ(cli("mv", {"/B", "/Drums", "--skip-existing"}).status, 0);
  EXPECT_EQ(volumeNames(), (Names{"A", "B", "Drums/"})) << "what is left out stays where it is";
  EXPECT_EQ(cli("mv", {"/B", "/Drums", "--replace"}).status, 0);
  EXPECT_EQ(volumeNames(), (Names{"A", "Drums/"}));
  EXPECT_EQ(contents("/Drums/B"), "new B");
  expectSound();
}

TEST_F(Existing, MoveIntoTheFolderItIsInChangesNothing) {
  const Bytes before = readBytes(imagePath());
  for (const char *option : {"--replace", "--skip-existing"})
    EXPECT_EQ(cli("mv", {"/Drums/A", "/Drums", option}).status, 0);
  EXPECT_TRUE(readBytes(imagePath()) == before);
}

TEST_F(Existing, TheyExcludeEachOther) {
  EXPECT_EQ(cli("cp", {"/A", "/Drums", "--replace", "--skip-existing"}).status, 2);
}

TEST_F(Existing, TheSameScriptTwiceIsAsGoodAsOnce) {
  const std::string tree = newHostFolder("tree");
  std::filesystem::create_directories(tree + "/Sub");
  writeText(tree + "/X.E4B", "x");
  writeText(tree + "/Sub/Y.E4B", "y");
  for (const char *option : {"--replace", "--skip-existing"}) {
    const std::string script = std::string("import -R ") + tree + " -t / " + option +
                               "\ncp -R /Drums /tree/Sub " + option + "\ncp /A /tree " + option + "\n";
    ASSERT_EQ(batch(script).status, 0);
    const std::string once = cli("ls", {"-R", "/tree"}).out;
    ASSERT_EQ(batch(script).status, 0);
    EXPECT_EQ(cli("ls", {"-R", "--sort", "name", "/tree"}).out.size(), once.size()) << option;
    EXPECT_EQ(volumeNames("/tree/Sub/Drums").size(), 3U) << option;
    expectSound();
  }
}

TEST_F(Existing, NameIsTheFilesAsGiven) {
  EXPECT_EQ(cli("import", {hostPath("A.E4B"), "-t", "/", "--name", " x.y "}).status, 0);
  EXPECT_EQ(volumeNames(), (Names{"A", "B", " x.y", "Drums/"}));
  const std::string badName = ": Name must be 1–15 characters";
  EXPECT_EQ(cli("import", {hostPath("A.E4B"), "-t", "/", "--name", "0123456789abcdef"}),
            (Answer{1, "", "tessary-cli: " + hostPath("A.E4B") + badName + "\n"}));
  EXPECT_EQ(cli("import", {hostPath("A.E4B"), "-t", "/", "--name", ""}).status, 1);
  EXPECT_EQ(cli("import", {hostPath("A.E4B"), "-t", "/", "--name", "a\xff"}),
            (Answer{1, "", "tessary-cli: " + hostPath("A.E4B") + badName + ": Not a text in UTF-8\n"}));
  EXPECT_EQ(cli("import", {hostPath("A.E4B"), hostPath("B.E4B"), "-t", "/", "--name", "N"}).status, 2);
  EXPECT_EQ(volumeNames(), (Names{"A", "B", " x.y", "Drums/"}));
}

TEST_F(Existing, DashIsStandardInput) {
  const std::string bytes = std::string("a\0b\r\n\x1a", 6) + std::string(100000, 'z');
  EXPECT_EQ(runCli({"import", imagePath(), "-", "--name", "PIPED", "-t", "/Drums"}, bytes),
            (Answer{0, "Imported - into /Drums\n", ""}));
  EXPECT_EQ(contents("/Drums/PIPED"), bytes);
  EXPECT_EQ(cli("import", {"-", "-t", "/Drums"}).status, 2);
  EXPECT_EQ(batch("import - --name X -t /\n").status, 1);
  EXPECT_EQ(jsonLines(batch("import - --name X -t /\n", {"--json"}).out).at(0).at("error").at("code"), 2);
  const nlohmann::json answer =
      jsonOf(runCli({"import", imagePath(), "-", "--name", "P2", "-t", "/Drums", "--json"}, "xyz"));
  EXPECT_EQ(answer.at("results").at(0),
            parsedJson(R"({"item":"-","ok":true,"path":"/Drums/P2","place":"@35:4","bytes":3})"));
}

TEST_F(Existing, FolderNeedsR) {
  const std::string tree = newHostFolder("tree");
  EXPECT_EQ(cli("import", {tree, "-t", "/"}), (Answer{1, "", "tessary-cli: " + tree + ": Is a directory\n"}));
  EXPECT_EQ(cli("import", {"-R", tree, "-t", "/", "--name", "X"}).status, 1);
}

TEST_F(Existing, ResultsTellWhatCameToBe) {
  EXPECT_EQ(cliJson("cp", {"/B", "/Drums"}).at("results").at(0),
            parsedJson(R"({"item":"/B","ok":true,"path":"/Drums/B","place":"@35:3","bytes":5})"));
  EXPECT_EQ(cliJson("mkdir", {"/Drums/New"}).at("results").at(0),
            parsedJson(R"({"item":"/Drums/New","ok":true,"path":"/Drums/New","place":"@35:4"})"));
  EXPECT_EQ(cliJson("rename", {"/B", "B2"}).at("results").at(0),
            parsedJson(R"({"item":"/B","ok":true,"path":"/B2","place":"@34:1"})"));
  EXPECT_EQ(cliJson("rm", {"/B2"}).at("results").at(0), parsedJson(R"({"item":"/B2","ok":true})"));
  const std::string target = hostPath("out.E4B");
  EXPECT_EQ(cliJson("export", {"/A", "-o", target}).at("results").at(0),
            parsedJson(R"({"item":"/A","ok":true,"host":")" + target + R"(","bytes":5})"));
}

TEST_F(Existing, MkdirWithParentsMakesWhatIsMissingAndIsContentWithWhatIsThere) {
  EXPECT_EQ(cli("mkdir", {"-p", "/Drums/One/Two"}),
            (Answer{0, "Created the folder /Drums/One\nCreated the folder /Drums/One/Two\n", ""}));
  const Bytes before = readBytes(imagePath());
  EXPECT_EQ(cli("mkdir", {"-p", "/Drums/One/Two/"}),
            (Answer{0, "The folder is there: /Drums/One/Two/\n", ""}));
  EXPECT_EQ(cli("mkdir", {"-p", "/"}).status, 0);
  EXPECT_TRUE(readBytes(imagePath()) == before);
  EXPECT_EQ(cli("mkdir", {"/Drums/X/Y"}).status, 1);
  EXPECT_EQ(cli("mkdir", {"-p", "/Drums/A\\/B/C"}).status, 0);
  EXPECT_EQ(volumeNames("/Drums/A\\/B"), Names{"C/"});
  EXPECT_EQ(cli("mkdir", {"-p", "/X/0123456789abcdef/Y"}).status, 1);
  EXPECT_EQ(volumeNames("/X"), Names{});
}

TEST_F(Existing, QuietLeavesTheSentencesOutAndTheProblemsIn) {
  EXPECT_EQ(cli("rm", {"/A", "-q"}), (Answer{0, "", ""}));
  EXPECT_EQ(cli("rename", {"-q", "/B", ""}),
            (Answer{1, "", "tessary-cli: /B: Name must be 1–15 characters\n"}));
  EXPECT_EQ(batch("rename /B B2\nls /Drums --csv\n", {"-q"}).out.substr(0, 5), "Path,");
}

} // namespace
} // namespace tessary::test
