#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"

#include <sstream>
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

constexpr const char *kCsvTitles = "Path,Name,Type,Format,Presets,Samples,Bytes,Place\n";

TEST_F(Ls, CsvHasPathsPlacesAndPlainNumbersAndNothingWhereThereIsNone) {
  use(listedVolume());
  const std::size_t kick = IffBank().preset("Kick").sample("C1", patternBytes(1000)).build().size();
  const std::size_t old = emulatorThreeBank("Old Bank", 5, 12).size();
  EXPECT_EQ(cli("ls", {"-R", "--csv"}).out,
            kCsvTitles + ("/KICK,KICK,Bank,Emulator IV,1,1," + std::to_string(kick)) +
                ",@34:0\n/OLD,OLD,Bank,Emulator III,5,12," + std::to_string(old) +
                ",@34:1\n"
                "/OS,OS,System,,,,100,@34:3\n"
                "/NOTE,NOTE,File,,,,5,@34:4\n"
                "/Drums,Drums,Folder,,,,,@34:5\n"
                "/Pads,Pads,Folder,,,,,@34:6\n"
                "/Drums/SNARE,SNARE,Bank,,,,5,@35:0\n"
                "/Drums/Empty,Empty,Folder,,,,,@35:1\n");
  EXPECT_EQ(cli("ls", {"--csv", "/Drums"}),
            (Answer{0,
                    kCsvTitles + std::string("/Drums/SNARE,SNARE,Bank,,,,5,@35:0\n"
                                             "/Drums/Empty,Empty,Folder,,,,,@35:1\n"),
                    ""}));
}

TEST_F(Ls, CsvKeepsEachFilesOwnAddressInAnyOrder) {
  ImageBuilder image;
  for (const std::size_t size : {3U, 9U, 6U})
    image.root().addFile(size == 9 ? "OTHER" : "TWICE", patternBytes(size), {.type = 0x82});
  image.root().addRaw(rawFileEntry("GONE", 0, 0, 9, 1, 1, 1));
  image.root().addFolder("TWICE");
  use(image);
  EXPECT_EQ(cli("ls", {"--csv", "--sort", "size", "--reverse"}).out,
            kCsvTitles + std::string("/OTHER,OTHER,File,,,,9,@34:1\n"
                                     "@34:2,TWICE,File,,,,6,@34:2\n"
                                     "/TWICE,TWICE,File,,,,3,@34:0\n"
                                     "@34:4,TWICE,Folder,,,,,@34:4\n"));
  EXPECT_EQ(cli("ls", {"--csv", "--reverse"}).out,
            kCsvTitles + std::string("@34:2,TWICE,File,,,,6,@34:2\n"
                                     "/OTHER,OTHER,File,,,,9,@34:1\n"
                                     "/TWICE,TWICE,File,,,,3,@34:0\n"
                                     "@34:4,TWICE,Folder,,,,,@34:4\n"));
}

TEST_F(Ls, CsvNeverLetsANameOutOfItsCell) {
  ImageBuilder image;
  for (const char *name :
       {"a,b", "say \"hi\"", "  lead", "it's", "two\nlines", "=1+1", "+A", "-A", "@A", "'A", "a\\nb"})
    image.root().addFile(name, {}, {.type = 0x82});
  use(image);
  EXPECT_EQ(cli("ls", {"--csv"}).out,
            kCsvTitles + std::string("\"/a,b\",\"a,b\",File,,,,0,@34:0\n"
                                     "\"/say \"\"hi\"\"\",\"say \"\"hi\"\"\",File,,,,0,@34:1\n"
                                     "/  lead,\"  lead\",File,,,,0,@34:2\n"
                                     "/it's,it's,File,,,,0,@34:3\n"
                                     "@34:4,two\\nlines,File,,,,0,@34:4\n"
                                     "/=1+1,'=1+1,File,,,,0,@34:5\n"
                                     "/+A,'+A,File,,,,0,@34:6\n"
                                     "/-A,'-A,File,,,,0,@34:7\n"
                                     "/@A,'@A,File,,,,0,@34:8\n"
                                     "/'A,''A,File,,,,0,@34:9\n"
                                     "/a\\\\nb,a\\\\nb,File,,,,0,@34:10\n"));
}

TEST_F(Ls, LongAddsExactBytesAndPlaces) {
  use(listedVolume());
  EXPECT_EQ(cli("ls", {"-l", "/Drums"}),
            (Answer{0,
                    "Name   Type    Format  Presets  Samples  Size  Bytes  Place\n"
                    "SNARE  Bank    —             —        —   5 B      5  @35:0\n"
                    "Empty  Folder  —             —        —     —      —  @35:1\n",
                    ""}));
}

// The first words of the lines.
std::vector<std::string> firstWords(const std::string &out) {
  std::vector<std::string> words;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);)
    words.push_back(line.substr(0, line.find(' ')));
  return words;
}

TEST_F(Ls, SortsFilesByTheKeyAndKeepsFoldersBehindThem) {
  use(listedVolume());
  using Names = std::vector<std::string>;
  const auto order = [&](const Names &words) { return firstWords(cli("ls", words).out); };
  EXPECT_EQ(order({"--sort", "none"}), (Names{"Name", "KICK", "OLD", "OS", "NOTE", "Drums", "Pads"}));
  EXPECT_EQ(order({"--sort", "name"}), (Names{"Name", "KICK", "NOTE", "OLD", "OS", "Drums", "Pads"}));
  EXPECT_EQ(order({"--sort", "name", "--reverse"}),
            (Names{"Name", "OS", "OLD", "NOTE", "KICK", "Pads", "Drums"}));
  EXPECT_EQ(order({"--sort", "size"}), (Names{"Name", "NOTE", "OS", "KICK", "OLD", "Drums", "Pads"}));
  EXPECT_EQ(order({"--sort", "type"}), (Names{"Name", "KICK", "OLD", "NOTE", "OS", "Drums", "Pads"}));
  EXPECT_EQ(order({"--sort", "format", "--reverse"}),
            (Names{"Name", "NOTE", "OS", "KICK", "OLD", "Pads", "Drums"}));
  EXPECT_EQ(order({"--reverse"}), (Names{"Name", "NOTE", "OS", "OLD", "KICK", "Pads", "Drums"}));
  EXPECT_EQ(cli("ls", {"--sort", "colour"}).status, 2);
  EXPECT_EQ(cliJson("ls", {"--sort", "size"}).at("folder").at("files").at(0).at("name"), "NOTE");
}

TEST_F(Ls, WhatDoesNotPrintIsNeverShownRawAndABackslashIsUnlikeAnEscape) {
  ImageBuilder image;
  image.root().addFile("a\u202Ecod", {}, {.type = 0x82});
  image.root().addFile("a\\u202ecod", {}, {.type = 0x82});
  use(image);
  const std::string out = cli("ls").out;
  EXPECT_NE(out.find("\na\\u202ecod  "), std::string::npos) << out;
  EXPECT_NE(out.find("\na\\\\u202ecod  "), std::string::npos) << out;
  EXPECT_EQ(cli("ls", {"--json"}).out.find("\u202E"), std::string::npos);
  EXPECT_EQ(cliJson("ls").at("folder").at("files").at(0).at("name"), "a\u202Ecod");
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
