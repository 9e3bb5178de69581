// The judge of what power cuts leave sees each loss, in images made by hand.

#include "tests/durability/Judge.h"
#include "tests/durability/Operations.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

#include <string>

namespace tessary::test {
namespace {

class Judging : public testing::Test {
protected:
  [[nodiscard]] Place at(std::string_view path) const { return maker_.at(path); }
  static EntryPlace placed(Place place) { return {place.first, place.second}; }
  [[nodiscard]] RawEntry entryOf(std::string_view path) const { return image_.entryAt(placed(at(path))); }
  [[nodiscard]] std::uint64_t firstBlockOf(std::string_view path) const {
    return maker_.now().contentsOf(entryOf(path)).first;
  }
  [[nodiscard]] std::string fault(const Operation &asked) const {
    return Judge(before_, asked.asked).faultOf(image_.build());
  }
  [[nodiscard]] std::string faultWhenDone(const Operation &asked) const {
    return Judge(before_, asked.asked).faultWhenDone(image_.build());
  }
  static bool tells(const std::string &fault, std::string_view what) {
    return fault.find(what) != std::string::npos;
  }

  const TemporaryFolder host_;
  ImageBuilder image_ = volumeToChange(Layout::apart);
  const Bytes before_ = image_.build();
  const OperationMaker maker_{before_, host_};
  const Operation nothing_{};
};

#define EXPECT_TELLS(fault, what) EXPECT_TRUE(tells(fault, what)) << (fault)

TEST_F(Judging, WhatNobodyTouchedIsToStay) {
  EXPECT_EQ(faultWhenDone(nothing_), "");
  clearFileEntry(image_, placed(at("/Part/P2")));
  EXPECT_TELLS(fault(nothing_), "lost: \"P2");
}

TEST_F(Judging, SeesChangedContents) {
  image_.pokeBlock(firstBlockOf("/ROOT2") + 8, 511, bytesOf("?"));
  EXPECT_TELLS(fault(nothing_), "lost of \"ROOT2");
}

TEST_F(Judging, SeesFreedMarks) {
  image_.setFatEntry(firstBlockOf("/ROOT2") + 8, 0);
  EXPECT_TELLS(fault(nothing_), "is marked free under \"ROOT2");
}

TEST_F(Judging, SeesEntriesThatChanged) {
  putName(image_, placed(at("/ROOT1")), "ROOT9           ");
  EXPECT_TELLS(fault(nothing_), "nobody asked for: \"ROOT9");
  EXPECT_EQ(faultWhenDone(maker_.renameFile(at("/ROOT1"), "ROOT9")), "");
  EXPECT_TELLS(faultWhenDone(maker_.renameFile(at("/ROOT1"), "ROOT8")), "nobody asked for");
}

TEST_F(Judging, SeesFoldersThatChanged) {
  image_.pokeEntry(placed(at("/Nest")), {});
  EXPECT_TELLS(fault(nothing_), "lost: \"N");
}

TEST_F(Judging, SeesAChangedHeader) {
  image_.poke(100, bytesOf("?"));
  EXPECT_EQ(fault(nothing_), "the header changed");
}

TEST_F(Judging, WhatIsNewIsWholeOrNotThere) {
  const Bytes contents = patternBytes(1300, 7);
  const Operation import = maker_.importFile("NEW", contents, at("/Part"));
  const std::uint16_t slot = 80;
  EXPECT_EQ(fault(import), "");
  EXPECT_TELLS(faultWhenDone(import), "done, but not there: \"NEW");

  image_.pokeEntry({40, 5}, newFileEntry("NEW", slot, 77, contents.size()));
  EXPECT_TELLS(fault(import), "an entry over wrong bytes: \"NEW");
  image_.poke(image_.slotBlock(slot) * kBlockBytes, contents);
  EXPECT_TELLS(fault(import), "is marked free under the new \"NEW");
  putMarks(image_, image_.slotBlock(slot), 3, 0x8000);
  EXPECT_EQ(faultWhenDone(import), "");

  EXPECT_TELLS(fault(maker_.importFile("NEW", contents, at("/Full"))), "nobody asked for");
  EXPECT_TELLS(fault(maker_.importFile("NEW2", contents, at("/Part"))), "nobody asked for");
  image_.pokeEntry({40, 6}, newFileEntry("NEW", slot, 78, contents.size()));
  EXPECT_TELLS(fault(import), "nobody asked for");
}

TEST_F(Judging, NewFileHasNoBlockOfAnother) {
  const Operation copy = maker_.copyFile(at("/Part/P2"), at("/Void"));
  RawEntry shared = entryOf("/Part/P2");
  shared[20] = 1;
  image_.pokeEntry({48, 0}, shared);
  EXPECT_TELLS(fault(copy), "is another file's too");
}

TEST_F(Judging, MovedFileIsInOnePlaceOrInBoth) {
  const Operation move = maker_.moveFile(at("/ROOT2"), at("/Part"));
  RawEntry moved = entryOf("/ROOT2");
  moved[17] = 9;
  image_.pokeEntry({40, 5}, moved);
  EXPECT_EQ(fault(move), "");
  EXPECT_TELLS(faultWhenDone(move), "done, but not moved: \"ROOT2");
  clearFileEntry(image_, placed(at("/ROOT2")));
  EXPECT_EQ(faultWhenDone(move), "");
  clearFileEntry(image_, {40, 5});
  EXPECT_TELLS(fault(move), "in neither place: \"ROOT2");
}

TEST_F(Judging, MovedFolderBringsAllThatIsInIt) {
  const Operation move = maker_.moveFolder(at("/Nest"), at("/Part"));
  image_.pokeEntry({40, 5}, entryOf("/Nest"));
  EXPECT_EQ(fault(move), "");
  image_.pokeEntry(placed(at("/Nest")), {});
  EXPECT_EQ(faultWhenDone(move), "");
  image_.pokeEntry({40, 5}, {});
  EXPECT_FALSE(fault(move).empty());
}

TEST_F(Judging, DeletedFileIsThereWithItsMarksOrNot) {
  const Operation remove = maker_.deleteFile(at("/ROOT2"));
  EXPECT_EQ(fault(remove), "");
  EXPECT_TELLS(faultWhenDone(remove), "done, but not deleted: \"ROOT2");
  image_.setFatEntry(firstBlockOf("/ROOT2"), 0);
  EXPECT_TELLS(fault(remove), "is marked free under \"ROOT2");
  clearFileEntry(image_, placed(at("/ROOT2")));
  EXPECT_EQ(faultWhenDone(remove), "");
}

TEST_F(Judging, ReplacedFileStaysUntilTheNewOneIsThere) {
  Operation replace = maker_.importFile("NEW", {}, at("/Part"));
  replace.asked += maker_.deleteFile(at("/Part/P2")).asked;
  replace.asked.newFiles.front().replaced = at("/Part/P2");
  EXPECT_EQ(fault(replace), "");
  clearFileEntry(image_, placed(at("/Part/P2")));
  EXPECT_TELLS(fault(replace), "gone before what replaces it is there: \"P2");
  image_.pokeEntry({40, 5}, newFileEntry("NEW", 80, 77, 0));
  EXPECT_EQ(faultWhenDone(replace), "");
}

TEST_F(Judging, FolderGrowsByAClearedBlockThatIsFree) {
  const Operation import = maker_.importFile("NEW", {}, at("/Full"));
  RawEntry grown = entryOf("/Full");
  grown[20] = 24;
  image_.pokeEntry(placed(at("/Full")), grown);
  EXPECT_TELLS(fault(import), "block 24 of a new or grown folder is not cleared");
  clearBlock(image_, 24);
  EXPECT_EQ(fault(import), "");
  EXPECT_TELLS(fault(nothing_), "nobody asked for: \"Full");
  image_.pokeEntry({24, 0}, newFileEntry("NEW", 80, 77, 0));
  EXPECT_EQ(faultWhenDone(import), "");
  grown[20] = 40; // where another folder's entries are
  image_.pokeEntry(placed(at("/Full")), grown);
  EXPECT_FALSE(fault(import).empty());
}

TEST_F(Judging, NewFolderHasAClearedBlockThatIsFree) {
  const Operation make = maker_.createFolder("Made", at("/Part"));
  EXPECT_TELLS(faultWhenDone(make), "done, but not there: folder \"Made");
  image_.pokeEntry({40, 5}, newFolderEntry("Made", 24));
  EXPECT_TELLS(fault(make), "block 24 of a new or grown folder is not cleared");
  clearBlock(image_, 24);
  EXPECT_EQ(faultWhenDone(make), "");
}

TEST_F(Judging, FolderBroughtBackHasWhatWasInIt) {
  const std::uint64_t block = lostBlock(Layout::apart);
  const Operation recover = maker_.recoverFolder(block, "Back", at("/Part"));
  image_.pokeEntry({40, 5}, newFolderEntry("Back", static_cast<std::uint16_t>(block)));
  EXPECT_EQ(faultWhenDone(recover), "");
  clearFileEntry(image_, {block, 1});
  EXPECT_TELLS(fault(recover), "lost in its lost folder: \"L2");
}

} // namespace
} // namespace tessary::test
