#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"

#include <string>
#include <vector>

namespace tessary::test {
namespace {

// A root with each kind of file, a deleted one, and two levels of folders.
ImageBuilder listedVolume() {
  ImageBuilder image;
  FolderBuilder root = image.root();
  root.addFile("KICK", IffBank().preset("Kick").sample("C1", patternBytes(1000)).build());
  root.addFile("OLD", emulatorThreeBank("Old Bank", 5, 12), {.type = 0x83});
  root.addRaw(rawFileEntry("GONE", 0, 0, 9, 1, 1, 1));
  root.addFile("OS", patternBytes(100), {.type = 0x80});
  root.addFile("NOTE", bytesOf("hello"), {.type = 0x82});
  FolderBuilder drums = root.addFolder("Drums");
  drums.addFile("SNARE", bytesOf("short"));
  drums.addFolder("Empty");
  root.addFolder("Pads", {.blockCount = 2, .entryId = 0x80});
  return image;
}

class Ls : public CliTest {};

TEST_F(Ls, ShowsTheWindowsColumnsAndTheSubfolders) {
  use(listedVolume());
  const std::string expected = "Name   Type    Format        Presets  Samples    Size\n"
                               "KICK   Bank    Emulator IV         1        1  1.1 KB\n"
                               "OLD    Bank    Emulator III        5       12  2.0 KB\n"
                               "OS     System  —                   —        —   100 B\n"
                               "NOTE   File    —                   —        —     5 B\n"
                               "Drums  Folder  —                   —        —       —\n"
                               "Pads   Folder  —                   —        —       —\n";
  EXPECT_EQ(cli("ls"), (Answer{0, expected, ""}));
  EXPECT_EQ(cli("ls", {"/"}), (Answer{0, expected, ""}));
}

TEST_F(Ls, ShowsOneFolder) {
  use(listedVolume());
  const Answer expected{0,
                        "Name   Type    Format  Presets  Samples  Size\n"
                        "SNARE  Bank    —             —        —   5 B\n"
                        "Empty  Folder  —             —        —     —\n",
                        ""};
  EXPECT_EQ(cli("ls", {"/Drums"}), expected);
  EXPECT_EQ(cli("ls", {"/Drums/"}), expected);
  EXPECT_EQ(cli("ls", {"@34:5"}), expected);
  EXPECT_EQ(cli("ls", {"/Drums/Empty"}), (Answer{0, "Name  Type  Format  Presets  Samples  Size\n", ""}));
}

TEST_F(Ls, RecursivelyShowsEachFolderUnderItsAddress) {
  use(listedVolume());
  EXPECT_EQ(cli("ls", {"/Drums", "-R"}), (Answer{0,
                                                 "/Drums:\n"
                                                 "Name   Type    Format  Presets  Samples  Size\n"
                                                 "SNARE  Bank    —             —        —   5 B\n"
                                                 "Empty  Folder  —             —        —     —\n"
                                                 "\n"
                                                 "/Drums/Empty:\n"
                                                 "Name  Type  Format  Presets  Samples  Size\n",
                                                 ""}));
}

TEST_F(Ls, FoldersComeInTheOrderOfTheirListsEachBeforeWhatIsBelow) {
  use(listedVolume());
  const std::string out = cli("ls", {"-R", "--csv"}).out;
  EXPECT_EQ(out, "Name,Type,Format,Presets,Samples,Size,Folder\n"
                 "KICK,Bank,Emulator IV,1,1,1.1 KB,/\n"
                 "OLD,Bank,Emulator III,5,12,2.0 KB,/\n"
                 "OS,System,—,—,—,100 B,/\n"
                 "NOTE,File,—,—,—,5 B,/\n"
                 "Drums,Folder,—,—,—,—,/\n"
                 "Pads,Folder,—,—,—,—,/\n"
                 "SNARE,Bank,—,—,—,5 B,/Drums\n"
                 "Empty,Folder,—,—,—,—,/Drums\n");
}

TEST_F(Ls, CsvHoldsTheTable) {
  use(listedVolume());
  EXPECT_EQ(cli("ls", {"--csv", "/Drums"}), (Answer{0,
                                                    "Name,Type,Format,Presets,Samples,Size\n"
                                                    "SNARE,Bank,—,—,—,5 B\n"
                                                    "Empty,Folder,—,—,—,—\n",
                                                    ""}));
}

TEST_F(Ls, CsvQuotesWhatNeedsIt) {
  ImageBuilder image;
  image.root().addFile("a,b", {}, {.type = 0x82});
  image.root().addFile("say \"hi\"", {}, {.type = 0x82});
  image.root().addFile("  lead", {}, {.type = 0x82});
  image.root().addFile("it's", {}, {.type = 0x82});
  image.root().addFile("two\nlines", {}, {.type = 0x82});
  use(image);
  EXPECT_EQ(cli("ls", {"--csv"}).out, "Name,Type,Format,Presets,Samples,Size\n"
                                      "\"a,b\",File,—,—,—,0 B\n"
                                      "\"say \"\"hi\"\"\",File,—,—,—,0 B\n"
                                      "\"  lead\",File,—,—,—,0 B\n"
                                      "it's,File,—,—,—,0 B\n"
                                      "two\\nlines,File,—,—,—,0 B\n");
}

constexpr const char *kSnare = R"({"name":"SNARE","rawType":129,"entryId":0,"startCluster":5,"clusterCount":1,
    "blocksInLastCluster":1,"bytesInLastBlock":5,"fileType":1,"fileTypeString":"Bank","fileSize":5,
    "fileSizeString":"5 B","dentryBlock":35,"dentryOffset":0,"bankName":null,"bankFormat":0,"presetCount":0,
    "sampleCount":0})";

TEST_F(Ls, JsonOfOneFolderHasSubfoldersWithoutTheirMembers) {
  use(listedVolume());
  EXPECT_EQ(cliJson("ls", {"/Drums"}),
            parsedJson(std::string(R"({"ok":true,"folder":{"name":"Drums","entryId":64,"blockList":[35],
                "dentryBlock":34,"dentryOffset":5,"files":[)") +
                       kSnare +
                       R"(],"subdirectories":[{"name":"Empty","entryId":64,"blockList":[36],"dentryBlock":35,
                "dentryOffset":1}]}})"));
}

TEST_F(Ls, JsonWithEverythingBelowNestsTheFolders) {
  use(listedVolume());
  const nlohmann::json root = cliJson("ls", {"-R"}).at("folder");
  EXPECT_EQ(root.at("name"), "disk.hda");
  EXPECT_EQ(root.at("entryId"), 1);
  EXPECT_EQ(root.at("files").size(), 4U);
  EXPECT_EQ(root.at("subdirectories"),
            parsedJson(std::string(R"([{"name":"Drums","entryId":64,"blockList":[35],"dentryBlock":34,
                "dentryOffset":5,"files":[)") +
                       kSnare +
                       R"(],"subdirectories":[{"name":"Empty","entryId":64,"blockList":[36],"dentryBlock":35,
                "dentryOffset":1,"files":[],"subdirectories":[]}]},
                {"name":"Pads","entryId":128,"blockList":[37,38],"dentryBlock":34,"dentryOffset":6,"files":[],
                "subdirectories":[]}])"));
}

TEST_F(Ls, JsonHoldsTheBankDetails) {
  use(listedVolume());
  const nlohmann::json files = cliJson("ls").at("folder").at("files");
  ASSERT_EQ(files.size(), 4U);
  EXPECT_EQ(files[0].at("bankName"), "Kick");
  EXPECT_EQ(files[0].at("bankFormat"), 4);
  EXPECT_EQ(files[1].at("bankName"), "Old Bank");
  EXPECT_EQ(files[1].at("presetCount"), 5);
  EXPECT_EQ(files[1].at("sampleCount"), 12);
  EXPECT_EQ(files[3].at("bankName"), nullptr);
}

TEST_F(Ls, DeletedFilesAreLeftOut) {
  use(listedVolume());
  EXPECT_EQ(cli("ls").out.find("GONE"), std::string::npos);
  EXPECT_EQ(cli("ls", {"-R", "--json"}).out.find("GONE"), std::string::npos);
}

TEST_F(Ls, ControlCharactersOfNamesAreShownEscapedButExactInJson) {
  ImageBuilder image;
  image.root().addFile("a\x1b[2Jb", {}, {.type = 0x82});
  image.root().addFolder("x\ny");
  use(image);
  const std::string out = cli("ls", {"-R"}).out;
  EXPECT_NE(out.find("\na\\x1b[2Jb  File"), std::string::npos) << out;
  EXPECT_NE(out.find("\n/x\\ny:\n"), std::string::npos) << out;
  EXPECT_EQ(out.find('\x1b'), std::string::npos);
  const nlohmann::json folder = cliJson("ls").at("folder");
  EXPECT_EQ(folder.at("files").at(0).at("name"), "a\x1b[2Jb");
  EXPECT_EQ(folder.at("subdirectories").at(0).at("name"), "x\ny");
}

TEST_F(Ls, ColumnsAlignByCharactersNotBytes) {
  ImageBuilder image;
  image.root().addFile("Flöte", {}, {.type = 0x82});
  image.root().addFile("Organ", {}, {.type = 0x82});
  use(image);
  EXPECT_EQ(cli("ls").out, "Name   Type  Format  Presets  Samples  Size\n"
                           "Flöte  File  —             —        —   0 B\n"
                           "Organ  File  —             —        —   0 B\n");
}

TEST_F(Ls, NamesThatMeanSomethingInAnAddressAreEscapedInHeadings) {
  ImageBuilder image;
  image.root().addFolder("A/B\\C*?");
  image.root().addFolder("Twice");
  image.root().addFolder("Twice");
  use(image);
  const std::string out = cli("ls", {"-R"}).out;
  EXPECT_NE(out.find("\n/A\\/B\\\\C\\*\\?:\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\n/Twice:\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\n@34:2:\n"), std::string::npos) << out;
}

} // namespace
} // namespace tessary::test
