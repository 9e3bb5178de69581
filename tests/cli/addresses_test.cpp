#include "cli/AddressSyntax.h"
#include "tests/cli/CliRun.h"

#include <string>
#include <vector>

namespace tessary::test {
namespace {

using cli::Address;
using cli::parseAddress;

std::vector<std::string> partsOf(const std::string &word) {
  const std::optional<Address> address = parseAddress(word);
  EXPECT_TRUE(address.has_value()) << word;
  return address ? address->parts : std::vector<std::string>{};
}

TEST(AddressSyntax, SlashesPartNames) {
  EXPECT_EQ(partsOf("/"), std::vector<std::string>{});
  EXPECT_EQ(partsOf("/Drums/KICK"), (std::vector<std::string>{"Drums", "KICK"}));
  EXPECT_EQ(partsOf("//Drums///KICK/"), (std::vector<std::string>{"Drums", "KICK"}));
  EXPECT_TRUE(parseAddress("/Drums/")->endsInSlash);
  EXPECT_FALSE(parseAddress("/Drums\\/")->endsInSlash);
}

TEST(AddressSyntax, BackslashKeepsTheNextCharacterInTheName) {
  EXPECT_EQ(partsOf("/A\\/B/C"), (std::vector<std::string>{"A\\/B", "C"}));
  EXPECT_EQ(partsOf("/A\\\\/C"), (std::vector<std::string>{"A\\\\", "C"}));
  EXPECT_EQ(cli::unescapedName("A\\/B\\\\C\\x"), "A/B\\Cx");
}

TEST(AddressSyntax, PlaceMayBeginAPath) {
  const std::optional<Address> address = parseAddress("@7:3/KICK");
  ASSERT_TRUE(address.has_value());
  EXPECT_EQ(address->start, (tessary::EntryPlace{7, 3}));
  EXPECT_EQ(address->parts, std::vector<std::string>{"KICK"});
  EXPECT_EQ(parseAddress("@7:3")->parts.size(), 0U);
}

TEST(AddressSyntax, OtherWordsAreNoAddresses) {
  for (const char *word :
       {"", "KICK", "Drums/KICK", "@", "@7", "@7:", "@:3", "@7:3KICK", "@7:3:1", "@-7:3", "@+7:3", "@ 7:3",
        "@7: 3", "@0x7:3", "@99999999999999999999:3", "/KICK\\", "\\/KICK"}) {
    EXPECT_FALSE(parseAddress(word).has_value()) << word;
  }
}

TEST(AddressSyntax, PathOfAnEntryLeadsBackToIt) {
  EXPECT_EQ(cli::pathAddress("/", "KICK"), "/KICK");
  EXPECT_EQ(cli::pathAddress("/Drums", "KICK"), "/Drums/KICK");
  EXPECT_EQ(cli::pathAddress("/Drums/", "KICK"), "/Drums/KICK");
  EXPECT_EQ(cli::pathAddress("/A\\/", "KICK"), "/A\\//KICK");
  EXPECT_EQ(cli::pathAddress("/A\\\\/", "KICK"), "/A\\\\/KICK");
  EXPECT_EQ(cli::pathAddress("@7:3", "K/\\*?"), "@7:3/K\\/\\\\\\*\\?");
}

// Two folders "Drums" with a "KICK" each, two files "KICK" in the root, names full of special characters.
class Addresses : public CliTest {
protected:
  Addresses() {
    ImageBuilder image;
    FolderBuilder root = image.root();
    root.addFile("KICK", bytesOf("root 1"));
    root.addFile("KICK", bytesOf("root 2"));
    FolderBuilder first = root.addFolder("Drums");
    first.addFile("KICK", bytesOf("drums 1"));
    FolderBuilder second = root.addFolder("Drums");
    second.addFile("KICK", bytesOf("drums 2"));
    second.addFile("ONLY", bytesOf("only"));
    second.addFolder("Sub").addFile("DEEP", bytesOf("deep"));
    root.addFile("Drums", bytesOf("a file"));
    root.addFile("A/B", bytesOf("slash"));
    root.addFile("A\\B", bytesOf("backslash"));
    root.addFile("@7:3", bytesOf("at"));
    root.addRaw(rawFileEntry("GONE", 0, 0, 1, 1, 1, 5));
    root.addFolder("tail/").addFile("IN", bytesOf("in"));
    use(image);
  }

  std::string contents(const std::string &word) const {
    const Answer answer = cli("cat", {word});
    return answer.status == 0 ? answer.out : answer.err;
  }
};

TEST_F(Addresses, FirstOfOneNameInTheFoldersListIsMeant) {
  EXPECT_EQ(contents("/KICK"), "root 1");
  EXPECT_EQ(contents("/Drums/KICK"), "drums 1");
  EXPECT_EQ(contents("/Drums/ONLY"), "tessary-cli: No such file: /Drums/ONLY\n");
}

TEST_F(Addresses, NamesMatchExactly) {
  EXPECT_EQ(contents("/kick"), "tessary-cli: No such file: /kick\n");
  EXPECT_EQ(contents("/KICK "), "tessary-cli: No such file: /KICK \n");
}

TEST_F(Addresses, PlaceReachesEveryEntry) {
  EXPECT_EQ(contents("@34:0"), "root 1");
  EXPECT_EQ(contents("@34:1"), "root 2");
  EXPECT_EQ(contents("@36:1"), "only");
  EXPECT_EQ(contents("@34:3/KICK"), "drums 2");
  EXPECT_EQ(contents("@34:3/Sub/DEEP"), "deep");
  EXPECT_EQ(cliJson("ls", {"@34:3"}).at("folder").at("files").size(), 2U);
}

TEST_F(Addresses, PlaceOfNothingNamesNothing) {
  EXPECT_EQ(contents("@34:15"), "tessary-cli: No such file: @34:15\n");
  EXPECT_EQ(contents("@34:16"), "tessary-cli: No such file: @34:16\n");
  EXPECT_EQ(contents("@34:0/KICK"), "tessary-cli: No such file: @34:0/KICK\n");
}

TEST_F(Addresses, RootIsTheSlashAlone) {
  EXPECT_EQ(cli("ls", {"/"}).status, 0);
  EXPECT_EQ(cli("ls", {"@0:0"}), (Answer{1, "", "tessary-cli: No such folder: @0:0\n"}));
  EXPECT_EQ(cli("ls", {"disk.hda"}).status, 1);
}

TEST_F(Addresses, KindOfTheArgumentDecides) {
  EXPECT_EQ(contents("/Drums"), "a file");
  EXPECT_EQ(cliJson("ls", {"/Drums"}).at("folder").at("blockList"), parsedJson("[35]"));
  EXPECT_EQ(contents("/Drums/"), "tessary-cli: Not a file but a folder: /Drums/\n");
  EXPECT_EQ(contents("@34:2"), "tessary-cli: Not a file but a folder: @34:2\n");
  EXPECT_EQ(cli("ls", {"/KICK"}), (Answer{1, "", "tessary-cli: Not a folder but a file: /KICK\n"}));
  EXPECT_EQ(cli("ls", {"@34:0"}), (Answer{1, "", "tessary-cli: Not a folder but a file: @34:0\n"}));
  EXPECT_EQ(contents("/"), "tessary-cli: Not a file but a folder: /\n");
}

TEST_F(Addresses, BackslashEscapesTheNextCharacter) {
  EXPECT_EQ(contents("/A\\/B"), "slash");
  EXPECT_EQ(contents("/A\\\\B"), "backslash");
  EXPECT_EQ(contents("/\\K\\I\\C\\K"), "root 1");
  EXPECT_EQ(contents("/A/B"), "tessary-cli: No such file: /A/B\n");
  EXPECT_EQ(contents("/tail\\//IN"), "in");
}

TEST_F(Addresses, NameThatLooksLikeAPlaceIsReachedByItsPath) {
  EXPECT_EQ(contents("/@7:3"), "at");
}

TEST_F(Addresses, DeletedFilesHaveNoAddress) {
  EXPECT_EQ(contents("/GONE"), "tessary-cli: No such file: /GONE\n");
  EXPECT_EQ(contents("@34:8"), "tessary-cli: No such file: @34:8\n");
  EXPECT_EQ(cli("rm", {"/G*"}), (Answer{1, "", "tessary-cli: No file matches: /G*\n"}));
}

TEST_F(Addresses, WhatIsNoAddressNamesNothing) {
  EXPECT_EQ(contents("KICK"),
            "tessary-cli: Not an address in the volume (they begin with / or @BLOCK:INDEX): KICK\n");
  EXPECT_EQ(jsonOf(runCli({"stat", imagePath(), "--json", "KICK"})),
            failure("com.tessary.cli", 1,
                    "Not an address in the volume (they begin with / or @BLOCK:INDEX): KICK"));
}

TEST_F(Addresses, WhatNamesNothingHasAnErrorOfItsOwn) {
  EXPECT_EQ(cliJson("stat", {"/NONE"}), failure("com.tessary.cli", 1, "No such file: /NONE"));
  EXPECT_EQ(cliJson("ls", {"/None"}), failure("com.tessary.cli", 1, "No such folder: /None"));
  EXPECT_EQ(cliJson("rm", {"/N*"}), failure("com.tessary.cli", 1, "No file matches: /N*"));
  EXPECT_EQ(cliJson("export", {"-R", "/None"}),
            failure("com.tessary.cli", 1, "No such file or folder: /None"));
  EXPECT_EQ(cliJson("export", {"-R", "/N*"}),
            failure("com.tessary.cli", 1, "No file or folder matches: /N*"));
  EXPECT_EQ(cliJson("mkdir", {"/None/New"}),
            failure("com.tessary.cli", 1, "No such folder to make it in: /None/New"));
}

} // namespace
} // namespace tessary::test
