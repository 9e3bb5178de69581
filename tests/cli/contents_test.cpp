#include "tests/cli/CliRun.h"
#include "tests/support/BankBuilder.h"

namespace tessary::test {
namespace {

class Contents : public CliTest {
protected:
  Contents() {
    ImageBuilder image;
    FolderBuilder root = image.root();
    root.addFile("BRASS", IffBank()
                              .preset("Brass")
                              .toc({.type = "", .name = "deleted"})
                              .sample("one", patternBytes(1000, 1))
                              .sample("Links", patternBytes(7, 2), "LINK")
                              .toc({.type = "E4S1", .name = "three"})
                              .build());
    root.addFile("OLD", emulatorThreeBank("Old", 1, 2));
    root.addFile("OS", bytesOf("system"), {.type = 0x80});
    use(image);
  }
};

TEST_F(Contents, AreTheEntriesWithTheirChunks) {
  EXPECT_EQ(cliJson("contents", {"/BRASS"}), parsedJson(R"({"ok":true,"contents":[
      {"index":0,"kind":"preset","type":"E4P1","name":"Brass","bytes":64},
      {"index":2,"kind":"sample","type":"E4S1","name":"one","bytes":1000},
      {"index":3,"kind":"other","type":"LINK","name":"Links","bytes":7},
      {"index":4,"kind":"sample","type":"E4S1","name":"three","bytes":null}]})"));
  EXPECT_EQ(cli("contents", {"/BRASS"}), (Answer{0,
                                                 "Index  Kind    Type  Name   Bytes\n"
                                                 "    0  preset  E4P1  Brass     64\n"
                                                 "    2  sample  E4S1  one     1000\n"
                                                 "    3  other   LINK  Links      7\n"
                                                 "    4  sample  E4S1  three      —\n",
                                                 ""}));
}

TEST_F(Contents, BanksOfOtherFormatsListNothing) {
  EXPECT_EQ(cliJson("contents", {"/OLD"}), parsedJson(R"({"ok":true,"contents":[]})"));
}

TEST_F(Contents, FileThatIsNoBankIsTheEnginesError) {
  EXPECT_EQ(cliJson("contents", {"/OS"}), failure("com.tessary.error", 6, "Not a bank file"));
}

} // namespace
} // namespace tessary::test
