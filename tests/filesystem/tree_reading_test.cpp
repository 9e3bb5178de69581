// Directory entries: names, the two forms, block lists, order, damaged trees.

#include "filesystem/EMU3Filesystem.h"
#include "tests/support/EngineInternals.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/SampleVolumes.h"

#include <gtest/gtest.h>
#include <set>

namespace tessary {
namespace {

using namespace test;
using BlockNumbers = std::vector<std::int16_t>;

std::optional<std::string> nameOf(std::string field) {
  EXPECT_EQ(field.size(), 16U);
  return EMU3FilesystemInternals::parseName(reinterpret_cast<const std::uint8_t *>(field.data()));
}

std::string field(std::string text, char padding = ' ') {
  text.resize(16, padding);
  return text;
}

TEST(EntryName, TrailingSpacesAndZerosAreDropped) {
  EXPECT_EQ(nameOf(field("KICK")), "KICK");
  EXPECT_EQ(nameOf(field("KICK", '\0')), "KICK");
  EXPECT_EQ(nameOf(std::string("KICK\0 \0  \0      ", 16)), "KICK");
  EXPECT_EQ(nameOf("SIXTEEN LETTERS!"), "SIXTEEN LETTERS!");
}

TEST(EntryName, LeadingAndInnerSpacesStay) {
  EXPECT_EQ(nameOf(field("  PAD")), "  PAD");
  EXPECT_EQ(nameOf(field("A  B")), "A  B");
}

TEST(EntryName, EndsAtAZeroByteInTheMiddle) {
  EXPECT_EQ(nameOf(std::string("KICK\0SNARE      ", 16)), "KICK");
  EXPECT_EQ(nameOf(std::string("KI  \0SNARE      ", 16)), "KI  ");
}

TEST(EntryName, OfSpacesOrBehindAZeroIsNone) {
  EXPECT_EQ(nameOf(field("")), std::nullopt);
  EXPECT_EQ(nameOf(field("", '\0')), std::nullopt);
  EXPECT_EQ(nameOf(std::string("\0KICK           ", 16)), std::nullopt);
}

TEST(EntryName, IsDecodedAsUtf8) {
  EXPECT_EQ(nameOf(field("Caf\xC3\xA9")), "Caf\xC3\xA9");
  EXPECT_EQ(nameOf(field("\xF0\x9F\xA5\x81")), "\xF0\x9F\xA5\x81");
}

TEST(EntryName, ThatIsNotUtf8IsNone) {
  for (const char *text : {"Caf\xE9", "\xC3", "\x80", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"})
    EXPECT_EQ(nameOf(field(text)), std::nullopt) << text;
  EXPECT_EQ(nameOf("FIFTEEN LETTERS\xC3"), std::nullopt); // a character cut in two by the field's end
}

TEST(EntryName, BytesBehindItsEndNeedNotBeUtf8) {
  EXPECT_EQ(nameOf(std::string("KICK\0\xFF\xFE         ", 16)), "KICK");
}

TEST(TreeReading, EntriesWithoutANameArePassedOver) {
  ImageBuilder image;
  auto root = image.root();
  root.addRaw(rawFileEntry("", 0x81, 1, 1, 1, 1, 1));
  root.addRaw(rawFileEntry(std::string("\0HIDDEN", 7), 0x81, 1, 1, 1, 1, 1));
  root.addRaw(rawFileEntry("Caf\xE9", 0x81, 1, 1, 1, 1, 1));
  root.addRaw(rawFolderEntry("\xFF", 0x40, BlockNumbers{40}));
  root.addFile("After", {});
  const MountedVolume volume(image);
  EXPECT_EQ(namesOf(volume.root()->files()), std::vector<std::string>{"After"});
  EXPECT_TRUE(volume.root()->subdirectories().empty());
}

TEST(TreeReading, FileHasTheFieldsOfItsEntry) {
  ImageBuilder image;
  image.root().addFile("Pad", {},
                       {.type = 0x83,
                        .entryId = std::uint8_t{200},
                        .slot = std::uint16_t{0x1234},
                        .entry = 9,
                        .clusterCount = std::uint16_t{0x5678},
                        .blocksInLastCluster = std::uint16_t{0x0302},
                        .bytesInLastBlock = std::uint16_t{0x0109},
                        .byte16 = 0xEE,
                        .byte27 = 0xDD,
                        .storesContents = false});
  const MountedVolume volume(image);
  ASSERT_EQ(volume.root()->files().size(), 1U);
  const EMU3FileFields fields = volume.root()->files()[0]->fields();
  EXPECT_EQ(fields.name, "Pad");
  EXPECT_EQ(fields.rawType, 0x83);
  EXPECT_EQ(fields.fileType, kFileTypeBank);
  EXPECT_EQ(fields.entryId, 200);
  EXPECT_EQ(fields.startCluster, 0x1234);
  EXPECT_EQ(fields.clusterCount, 0x5678);
  EXPECT_EQ(fields.blocksInLastCluster, 0x0302);
  EXPECT_EQ(fields.bytesInLastBlock, 0x0109);
  EXPECT_EQ(fields.fileSize, 0x0302U * 512 + 0x0109 - 512);
  EXPECT_EQ(fields.dentryBlock, static_cast<std::int64_t>(image.rootDirBlock()));
  EXPECT_EQ(fields.dentryOffset, 9);
}

TEST(TreeReading, NewFileIsNeitherReadNorAnalysed) {
  ImageBuilder image;
  image.root().addFile("Bank", bytesOf("FORM"));
  const MountedVolume volume(image);
  const auto file = volume.root()->files()[0];
  EXPECT_EQ(file->cachedData(), nullptr);
  EXPECT_EQ(file->bankDetails(), BankDetails());
}

TEST(TreeReading, FolderHasTheFieldsOfItsEntry) {
  ImageBuilder image;
  const auto block = static_cast<std::int16_t>(image.rootDirBlock() + 5);
  image.root().addFolder("Drums", {.blockList = {block}, .entryId = 0x80, .entry = 15, .byte16 = 0xEE});
  const MountedVolume volume(image);
  const auto folder = folderNamed(volume.root(), "Drums");
  EXPECT_EQ(folder->entryId(), 0x80);
  EXPECT_EQ(folder->blockList(), std::vector<std::int64_t>{block});
  EXPECT_EQ(folder->parent(), volume.root());
  EXPECT_EQ(folder->dentryBlock(), static_cast<std::int64_t>(image.rootDirBlock()));
  EXPECT_EQ(folder->dentryOffset(), 15);
}

TEST(TreeReading, FoldersBlockNumbersOfZeroAndLessArePassedOver) {
  ImageBuilder image;
  image.root().addFolder("Drums", {.blockList = {7, 0, -3, 9, 0, 0, 0}});
  image.root().addFolder("None", {.blockList = {0, -1, -32768}});
  image.root().addFolder("High", {.blockList = {32767, 1}});
  const MountedVolume volume(image);
  EXPECT_EQ(folderNamed(volume.root(), "Drums")->blockList(), (std::vector<std::int64_t>{7, 9}));
  EXPECT_TRUE(folderNamed(volume.root(), "None")->blockList().empty());
  EXPECT_EQ(folderNamed(volume.root(), "High")->blockList(), (std::vector<std::int64_t>{32767, 1}));
}

TEST(TreeReading, RootReadsOneBlockOf16Entries) {
  ImageBuilder image;
  for (int i = 0; i < 16; ++i)
    image.root().addFile("F" + std::to_string(i), {});
  image.pokeEntry({image.rootDirBlock() + 1, 0}, rawFileEntry("Beyond", 0x82, 0, 1, 1, 0, 0));
  const MountedVolume volume(image);
  ASSERT_EQ(volume.root()->files().size(), 16U);
  EXPECT_EQ(volume.root()->files()[15]->name(), "F15");
}

TEST(TreeReading, FolderOfSevenBlocksHolds112Entries) {
  ImageBuilder image;
  auto folder = image.root().addFolder("Full", {.blockCount = 7});
  for (int i = 0; i < 112; ++i)
    folder.addFile("F" + std::to_string(i), {});
  const MountedVolume volume(image);
  const auto files = folderNamed(volume.root(), "Full")->files();
  ASSERT_EQ(files.size(), 112U);
  for (std::size_t i = 0; i < 112; ++i) {
    EXPECT_EQ(files[i]->name(), "F" + std::to_string(i));
    EXPECT_EQ(files[i]->dentryBlock(), static_cast<std::int64_t>(folder.blocks()[i / 16]));
    EXPECT_EQ(files[i]->dentryOffset(), static_cast<std::int64_t>(i % 16));
  }
}

TEST(TreeReading, BlocksAreReadInTheOrderOfTheList) {
  ImageBuilder image;
  const auto high = static_cast<std::int16_t>(image.rootDirBlock() + 9);
  const auto low = static_cast<std::int16_t>(image.rootDirBlock() + 3);
  auto folder = image.root().addFolder("Folder", {.blockList = {high, low}});
  folder.addFile("In low", {}, {.entry = 16});
  folder.addFile("In high", {}, {.entry = 0});
  const MountedVolume volume(image);
  EXPECT_EQ(namesOf(folderNamed(volume.root(), "Folder")->files()),
            (std::vector<std::string>{"In high", "In low"}));
}

TEST(TreeReading, BlocksBeyondTheImageArePassedOver) {
  ImageBuilder image({.sizeBytes = 200 * kBlockBytes, .directoryBlocks = 40});
  const auto inside = static_cast<std::int16_t>(image.rootDirBlock() + 1);
  image.root().addFolder("Folder", {.blockList = {30000, 200, inside, 32767}});
  image.pokeEntry({static_cast<std::uint64_t>(inside), 0}, rawFileEntry("Inside", 0x82, 0, 1, 1, 0, 0));
  const MountedVolume volume(image);
  EXPECT_EQ(namesOf(folderNamed(volume.root(), "Folder")->files()), std::vector<std::string>{"Inside"});
}

TEST(TreeReading, RootBeyondTheImageGivesAnEmptyTree) {
  for (const std::uint32_t root : {8192U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    ImageBuilder image;
    image.root().addFile("File", {});
    image.poke32(8, root);
    const MountedVolume volume(image);
    EXPECT_TRUE(volume.root()->files().empty()) << root;
    EXPECT_EQ(volume.root()->blockList(), std::vector<std::int64_t>{root});
  }
}

TEST(TreeReading, ListsKeepTheOrderOnDisk) {
  ImageBuilder image;
  auto root = image.root();
  root.addFolder("B");
  root.addFile("Y", {});
  root.addFolder("A");
  root.addFile("X", {});
  const MountedVolume volume(image);
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), (std::vector<std::string>{"B", "A"}));
  EXPECT_EQ(namesOf(volume.root()->files()), (std::vector<std::string>{"Y", "X"}));
}

TEST(TreeReading, FoldersNestAndKnowTheirParents) {
  ImageBuilder image;
  image.root().addFolder("A").addFolder("B").addFolder("C").addFile("Deep", {});
  const MountedVolume volume(image);
  const auto a = folderNamed(volume.root(), "A");
  const auto b = folderNamed(a, "B");
  const auto c = folderNamed(b, "C");
  EXPECT_EQ(namesOf(c->files()), std::vector<std::string>{"Deep"});
  EXPECT_EQ(c->parent(), b);
  EXPECT_EQ(b->parent(), a);
  EXPECT_EQ(a->parent(), volume.root());
}

TEST(TreeReading, EntryWithTypeZeroAndANameIsADeletedFile) {
  ImageBuilder image;
  image.root().addRaw(rawFileEntry("Gone", 0, 3, 1, 1, 1, 1));
  image.root().addDeletedFile();
  const MountedVolume volume(image);
  ASSERT_EQ(namesOf(volume.root()->files()), std::vector<std::string>{"Gone"});
  EXPECT_TRUE(volume.root()->files()[0]->isDeleted());
  EXPECT_TRUE(volume.root()->allFiles().empty());
  EXPECT_EQ(volume.root()->totalFileCount(), 0U);
}

// --- Which form an entry has -------------------------------------------------------------------------

enum class Form { file, folder };

Form formOf(std::uint8_t type, std::uint8_t id, bool marked) {
  ImageBuilder image({.sizeBytes = 200 * kBlockBytes, .directoryBlocks = 20});
  RawEntry entry = rawFileEntry("Entry", type, id, 0, 0, 0, 0);
  if (marked) std::copy_n("E4B0", 4, entry.begin() + 28);
  image.root().addRaw(entry);
  const MountedVolume volume(image);
  EXPECT_EQ(volume.root()->files().size() + volume.root()->subdirectories().size(), 1U);
  return volume.root()->files().empty() ? Form::folder : Form::file;
}

TEST(EntryForm, MarkedEntryIsAFileWhateverItsIdAndType) {
  for (const std::uint8_t id : Bytes{0x00, 0x40, 0x80, 0xFF})
    for (const std::uint8_t type : Bytes{0x00, 0x40, 0x80, 0x81, 0x82, 0x83, 0xFF})
      EXPECT_EQ(formOf(type, id, true), Form::file) << int{id} << ' ' << int{type};
}

TEST(EntryForm, TypeOfSystemOrBankMakesAFileWhateverItsId) {
  for (const std::uint8_t id : Bytes{0x00, 0x40, 0x80, 0xFF})
    for (const std::uint8_t type : Bytes{0x80, 0x81, 0x83})
      EXPECT_EQ(formOf(type, id, false), Form::file) << int{id} << ' ' << int{type};
}

TEST(EntryForm, OtherwiseTheIdDecides) {
  for (const std::uint8_t type : Bytes{0x00, 0x01, 0x7F, 0x82, 0x84, 0xFF}) {
    for (const std::uint8_t id : Bytes{0x40, 0x80})
      EXPECT_EQ(formOf(type, id, false), Form::folder) << int{id} << ' ' << int{type};
    for (const std::uint8_t id : Bytes{0x00, 0x01, 0x3F, 0x41, 0x7F, 0x81, 0xC0, 0xFF})
      EXPECT_EQ(formOf(type, id, false), Form::file) << int{id} << ' ' << int{type};
  }
}

TEST(EntryForm, MarkCountsOnlyWhole) {
  for (const char *mark : {"E4B1", "E3B0", "e4b0", " 4B0"}) {
    ImageBuilder image;
    RawEntry entry = rawFileEntry("Entry", 0, 0x40, 0, 0, 0, 0);
    std::copy_n(mark, 4, entry.begin() + 28);
    image.root().addRaw(entry);
    EXPECT_EQ(MountedVolume(image).root()->subdirectories().size(), 1U) << mark;
  }
}

TEST(EntryForm, FolderWhoseFifthBlockLooksLikeATypeReadsAsAFile) {
  for (const std::int16_t fifth : BlockNumbers{0x80, 0x81, 0x83, 0x180, 0x7F81}) {
    ImageBuilder image;
    image.root().addRaw(rawFolderEntry("Many Blocks", 0x40, BlockNumbers{50, 51, 52, 53, fifth}));
    const MountedVolume volume(image);
    ASSERT_EQ(namesOf(volume.root()->files()), std::vector<std::string>{"Many Blocks"}) << fifth;
    EXPECT_EQ(volume.root()->files()[0]->rawType(), fifth & 0xFF);
    EXPECT_EQ(volume.root()->files()[0]->startCluster(), 50);
    EXPECT_TRUE(volume.root()->subdirectories().empty());
  }
}

TEST(EntryForm, FolderWithAnotherFifthBlockStaysAFolder) {
  for (const std::int16_t fifth : BlockNumbers{0x82, 0x7F, 0x84, -0x7F00, 0x0100}) {
    ImageBuilder image;
    image.root().addRaw(rawFolderEntry("Folder", 0x40, BlockNumbers{50, 51, 52, 53, fifth}));
    EXPECT_EQ(namesOf(MountedVolume(image).root()->subdirectories()), std::vector<std::string>{"Folder"})
        << fifth;
  }
}

TEST(EntryForm, FolderWhoseLastBlocksSpellTheMarkReadsAsAFile) {
  ImageBuilder image;
  // 0x3445 and 0x3042 are stored as the bytes of "E4" and "B0".
  image.root().addRaw(rawFolderEntry("Spells", 0x40, BlockNumbers{1, 2, 3, 4, 5, 0x3445, 0x3042}));
  const MountedVolume volume(image);
  EXPECT_EQ(namesOf(volume.root()->files()), std::vector<std::string>{"Spells"});
}

// --- Damaged trees -----------------------------------------------------------------------------------

std::uint64_t entriesIn(const EMU3DirectoryPtr &root) {
  std::uint64_t entries = 0;
  for (const auto &folder : directoriesInPreOrder(root))
    entries += folder->files().size() + folder->subdirectories().size();
  return entries;
}

TEST(DamagedTree, BlockListedByTwoFoldersIsReadByTheFirst) {
  ImageBuilder image;
  const auto shared = static_cast<std::int16_t>(image.rootDirBlock() + 1);
  image.root().addFolder("First", {.blockList = {shared}}).addFile("File", {});
  image.root().addFolder("Second", {.blockList = {shared}});
  const MountedVolume volume(image);
  EXPECT_EQ(namesOf(folderNamed(volume.root(), "First")->files()), std::vector<std::string>{"File"});
  EXPECT_TRUE(folderNamed(volume.root(), "Second")->files().empty());
  EXPECT_EQ(folderNamed(volume.root(), "Second")->blockList(), std::vector<std::int64_t>{shared});
}

TEST(DamagedTree, FirstFolderIsTheOneThatTheParseReachesFirst) {
  // Depth first: a subfolder's blocks are reached before those of the folder that follows its parent, and
  // before the next block of the parent itself.
  ImageBuilder image;
  const auto base = static_cast<std::int16_t>(image.rootDirBlock());
  const auto shared = static_cast<std::int16_t>(base + 3);
  auto outer = image.root().addFolder("Outer", {.blockList = {static_cast<std::int16_t>(base + 1), shared}});
  image.root().addFolder("Later", {.blockList = {shared}});
  outer.addFolder("Inner", {.blockList = {shared}, .entry = 0}).addFile("File", {});
  const MountedVolume volume(image);
  const auto readOuter = folderNamed(volume.root(), "Outer");
  EXPECT_TRUE(readOuter->files().empty());
  EXPECT_EQ(namesOf(folderNamed(readOuter, "Inner")->files()), std::vector<std::string>{"File"});
  EXPECT_TRUE(folderNamed(volume.root(), "Later")->files().empty());
}

TEST(DamagedTree, BlockListedTwiceByOneFolderIsReadOnce) {
  ImageBuilder image;
  const auto block = static_cast<std::int16_t>(image.rootDirBlock() + 1);
  image.root().addFolder("Twice", {.blockList = {block, block}}).addFile("File", {});
  const MountedVolume volume(image);
  const auto folder = folderNamed(volume.root(), "Twice");
  EXPECT_EQ(folder->files().size(), 1U);
  EXPECT_EQ(folder->blockList(), (std::vector<std::int64_t>{block, block}));
}

TEST(DamagedTree, FolderThatListsTheRootsBlockIsEmpty) {
  ImageBuilder image;
  image.root().addFolder("Upwards", {.blockList = {static_cast<std::int16_t>(image.rootDirBlock())}});
  image.root().addFile("File", {});
  const MountedVolume volume(image);
  const auto folder = folderNamed(volume.root(), "Upwards");
  EXPECT_TRUE(folder->files().empty());
  EXPECT_TRUE(folder->subdirectories().empty());
}

TEST(DamagedTree, CyclesEndWithEachBlockReadOnce) {
  const MountedVolume volume(cyclicVolume());
  EXPECT_EQ(namesOf(volume.root()->subdirectories()), (std::vector<std::string>{"Upwards", "Self"}));
  const auto self = folderNamed(volume.root(), "Self");
  EXPECT_EQ(namesOf(self->subdirectories()), (std::vector<std::string>{"Self again", "Other"}));
  EXPECT_EQ(namesOf(self->files()), std::vector<std::string>{"File in Self"});
  EXPECT_TRUE(folderNamed(self, "Self again")->subdirectories().empty());
  const auto other = folderNamed(self, "Other");
  EXPECT_EQ(namesOf(other->files()), std::vector<std::string>{"File in Other"});
  EXPECT_TRUE(folderNamed(other, "Back to Self")->files().empty());
}

TEST(DamagedTree, NoEntryOfAHostileVolumeIsReadTwice) {
  for (const NamedVolume &hostile : hostileVolumes()) {
    const MountedVolume volume(hostile.image);
    std::set<std::pair<std::int64_t, std::int64_t>> places;
    for (const auto &folder : directoriesInPreOrder(volume.root())) {
      for (const auto &file : folder->files())
        EXPECT_TRUE(places.emplace(file->dentryBlock(), file->dentryOffset()).second) << hostile.name;
      for (const auto &below : folder->subdirectories())
        EXPECT_TRUE(places.emplace(below->dentryBlock(), below->dentryOffset()).second) << hostile.name;
    }
    EXPECT_EQ(places.size(), entriesIn(volume.root())) << hostile.name;
    EXPECT_LE(places.size(), volume->totalBlocks() * 16) << hostile.name;
  }
}

} // namespace
} // namespace tessary
