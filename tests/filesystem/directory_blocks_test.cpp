// Directory blocks: reading them, and the four ways to write entries.

#include "tests/writing/EngineParts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace tessary::test {
namespace {

TEST(EntryWriting, ReplacesItsThirtyTwoBytesAlone) {
  ImageBuilder image(smallLayout());
  image.poke(7 * kBlockBytes, patternBytes(kBlockBytes, 4));
  EngineParts parts(std::move(image));
  const RawEntry entry = newFileEntry("entry", 3, 4, 5);
  for (const std::size_t index : {std::size_t{0}, std::size_t{6}, std::size_t{15}}) {
    EXPECT_TRUE(parts.entries.write({7, static_cast<std::int64_t>(index)}, entry));
    parts.expected.pokeEntry({7, index}, entry);
    EXPECT_TRUE(parts.imageIsAsExpected()) << index;
  }
}

TEST(EntryWriting, InABlockOutsideTheImageDoesNothing) {
  EngineParts parts{ImageBuilder(smallLayout())};
  for (const std::int64_t block : {std::int64_t{512}, std::int64_t{1} << 60, std::int64_t{-1}})
    EXPECT_FALSE(parts.entries.write({block, 0}, newFileEntry("entry", 3, 4, 5))) << block;
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST(EntryReading, GivesAllOfABlockInsideTheImageAndNothingOfOneOutside) {
  ImageBuilder image(smallLayout());
  image.resize(256 * kKiB + 300);
  const Bytes contents = patternBytes(kBlockBytes, 4);
  image.poke(511 * kBlockBytes, contents);
  const EngineParts parts(std::move(image));
  EXPECT_TRUE(parts.entries.contains(511));
  const std::optional<format::Block> read = parts.entries.read(511);
  ASSERT_TRUE(read);
  EXPECT_TRUE(std::equal(read->begin(), read->end(), contents.begin(), contents.end()));
  for (const std::int64_t block : {std::int64_t{512}, std::int64_t{1} << 60, std::int64_t{-1}}) {
    EXPECT_FALSE(parts.entries.contains(block)) << block;
    EXPECT_FALSE(parts.entries.read(block)) << block;
  }
}

// --- Planned entries -------------------------------------------------------------------------------

TEST(PlannedEntries, AreSeenByReadersAndNotOnTheImage) {
  EngineParts parts{ImageBuilder(smallLayout())};
  const RawEntry entry = newFileEntry("entry", 3, 4, 5);
  parts.entries.plan({7, 6}, entry);
  EXPECT_EQ(parts.entries.readEntry({7, 6}), entry);
  const std::optional<format::Block> block = parts.entries.read(7);
  ASSERT_TRUE(block);
  EXPECT_TRUE(std::equal(entry.begin(), entry.end(), block->begin() + 6 * 32));
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST(PlannedEntries, OneIsForgottenWithoutItsNeighbours) {
  ImageBuilder image(smallLayout());
  image.poke(7 * kBlockBytes, patternBytes(kBlockBytes, 4));
  EngineParts parts(std::move(image));
  const std::optional<format::Dentry> stands = parts.entries.readEntry({7, 7});
  const RawEntry entry = newFileEntry("entry", 3, 4, 5);
  for (const tessary::EntryPlace place : {tessary::EntryPlace{7, 0}, tessary::EntryPlace{7, 7},
                                          tessary::EntryPlace{7, 15}, tessary::EntryPlace{8, 7}})
    parts.entries.plan(place, entry);
  parts.entries.forgetPlan({7, 7});
  parts.entries.forgetPlan({9, 7}); // where nothing is planned
  EXPECT_FALSE(parts.entries.isPlanned({7, 7}));
  EXPECT_EQ(parts.entries.readEntry({7, 7}), stands);
  for (const tessary::EntryPlace place :
       {tessary::EntryPlace{7, 0}, tessary::EntryPlace{7, 15}, tessary::EntryPlace{8, 7}}) {
    EXPECT_TRUE(parts.entries.isPlanned(place));
    EXPECT_EQ(parts.entries.readEntry(place), entry);
  }
  const std::optional<format::Block> block = parts.entries.read(7);
  ASSERT_TRUE(block);
  EXPECT_TRUE(std::equal(entry.begin(), entry.end(), block->begin()));
  EXPECT_TRUE(std::equal(stands->begin(), stands->end(), block->begin() + 7 * 32));
  EXPECT_TRUE(std::equal(entry.begin(), entry.end(), block->begin() + 15 * 32));
}

TEST(PlannedEntries, AreAllForgottenAtOnce) {
  EngineParts parts{ImageBuilder(smallLayout())};
  parts.entries.plan({7, 0}, newFileEntry("one", 3, 4, 5));
  parts.entries.plan({8, 0}, newFileEntry("other", 3, 4, 5));
  parts.entries.forgetPlans();
  EXPECT_FALSE(parts.entries.isPlanned({7, 0}));
  EXPECT_EQ(parts.entries.readEntry({8, 0}), format::Dentry{});
}

// --- Writing ---------------------------------------------------------------------------------------

// One way of writing: what it does to the 32 bytes of an entry, and to nothing else.
class EntryChange : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder(smallLayout());
    builder.poke(7 * kBlockBytes, patternBytes(kBlockBytes, 4));
    return builder;
  }
  static constexpr std::size_t kIndexes[] = {0, 6, 15};

  EngineParts parts{image()};
};

TEST_F(EntryChange, OfTheNameReplacesItsSixteenBytesAlone) {
  for (const std::size_t index : kIndexes) {
    format::NameField name{};
    std::copy_n("sixteen bytes ok", name.size(), name.begin());
    EXPECT_TRUE(parts.entries.writeName({7, static_cast<std::int64_t>(index)}, name));
    putName(parts.expected, {7, index}, "sixteen bytes ok");
    EXPECT_TRUE(parts.imageIsAsExpected()) << index;
  }
}

TEST_F(EntryChange, ByADeletionClearsNameAndTypeByteAlone) {
  for (const std::size_t index : kIndexes) {
    EXPECT_TRUE(parts.entries.clearEntry({7, static_cast<std::int64_t>(index)}));
    clearFileEntry(parts.expected, {7, index});
    EXPECT_TRUE(parts.imageIsAsExpected()) << index;
  }
}

TEST_F(EntryChange, ToZeroClearsItsThirtyTwoBytesAlone) {
  for (const std::size_t index : kIndexes) {
    EXPECT_TRUE(parts.entries.zeroEntry({7, static_cast<std::int64_t>(index)}));
    parts.expected.pokeEntry({7, index}, RawEntry{});
    EXPECT_TRUE(parts.imageIsAsExpected()) << index;
  }
}

TEST_F(EntryChange, OfAWholeBlockClearsThatBlockAlone) {
  EXPECT_TRUE(parts.entries.clearBlock(7));
  clearBlock(parts.expected, 7);
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST_F(EntryChange, OutsideTheImageDoesNothing) {
  for (const std::int64_t block : {std::int64_t{512}, std::int64_t{1} << 60, std::int64_t{-1}}) {
    EXPECT_FALSE(parts.entries.writeName({block, 0}, {})) << block;
    EXPECT_FALSE(parts.entries.clearEntry({block, 0})) << block;
    EXPECT_FALSE(parts.entries.zeroEntry({block, 0})) << block;
    EXPECT_FALSE(parts.entries.clearBlock(block)) << block;
  }
  EXPECT_TRUE(parts.imageIsAsExpected());
}

} // namespace
} // namespace tessary::test
