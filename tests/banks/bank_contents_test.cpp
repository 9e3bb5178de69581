// The table of contents of Emulator IV banks, and which chunk belongs to which of its entries.

#include "banks/BankContents.h"
#include "banks/BankSamples.h"
#include "tests/support/BankBuilder.h"

#include <chrono>
#include <gtest/gtest.h>

namespace tessary {
namespace {

using namespace test;

FileContents inMemory(const Bytes &bytes) {
  auto buffer = std::make_shared<ByteBuffer>();
  buffer->resize(bytes.size());
  std::copy(bytes.begin(), bytes.end(), buffer->begin());
  return FileContents(std::move(buffer));
}

std::vector<BankEntry> contentsOf(const IffBank &bank) {
  return bankContents(inMemory(bank.build()));
}

TEST(BankContents, EntriesComeInTheirOrderWithKindTypeAndName) {
  const auto entries =
      contentsOf(IffBank().preset("Strings").sample("C1", patternBytes(10)).toc({.type = "Seq1"}));
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[0].kind, BankEntryKind::preset);
  EXPECT_EQ(entries[1].kind, BankEntryKind::sample);
  EXPECT_EQ(entries[2].kind, BankEntryKind::other);
  EXPECT_EQ(bankTypeText(entries[1].type), "E4S1");
  EXPECT_EQ(entries[1].name, "C1");
  EXPECT_EQ(entries[2].name, "Seq1") << "an entry without a name has its type's";
}

TEST(BankContents, KindsAreThoseOfTheBankDetails) {
  for (const char *type : {"E3S", "E4Sx", "E3I9", "E4I", "ESND", "RIFF", "FORM"})
    EXPECT_EQ(contentsOf(IffBank().toc({.type = type})).front().kind, BankEntryKind::sample) << type;
  for (const char *type : {"E4P1", "E3P1"})
    EXPECT_EQ(contentsOf(IffBank().toc({.type = type})).front().kind, BankEntryKind::preset) << type;
  for (const char *type : {"E4P2", "TOC2", "e4s1"})
    EXPECT_EQ(contentsOf(IffBank().toc({.type = type})).front().kind, BankEntryKind::other) << type;
}

TEST(BankContents, DeletedEntriesAreCountedAndNotListed) {
  const auto entries = contentsOf(IffBank().toc({.type = "", .name = "gone"}).preset("P"));
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].index, 1U);
}

TEST(BankContents, TypesThatAreNoTextShowAsCodes) {
  EXPECT_EQ(bankTypeText({'E', 0xFF, 0, 'x'}), "E%FF");
}

TEST(BankContents, OtherBanksListNothing) {
  EXPECT_TRUE(bankContents(inMemory(emulatorThreeBank("Old", 1, 2))).empty());
  EXPECT_TRUE(bankContents(inMemory(bytesOf("FORM"))).empty());
  EXPECT_TRUE(contentsOf(IffBank("AIFF").preset("P")).empty());
  EXPECT_EQ(contentsOf(IffBank("E3B0").preset("P")).size(), 1U);
}

TEST(BankContents, ChunksOfOneTypeGoToItsEntriesInTurn) {
  IffBank bank;
  bank.toc({.type = "E4S1", .name = "one"}).toc({.type = "E4P1"}).toc({.type = "E4S1", .name = "two"});
  bank.toc({.type = "E4S1", .name = "three"});
  bank.chunk("E4S1", patternBytes(5, 1)).chunk("junk", patternBytes(3)).chunk("E4S1", patternBytes(8, 2));
  const auto entries = contentsOf(bank);
  ASSERT_TRUE(entries[0].chunk && entries[2].chunk);
  EXPECT_EQ(entries[0].chunk->size, 5U);
  EXPECT_EQ(entries[0].chunk->data.offset, 20U + 4 * 32 + 8);
  EXPECT_EQ(entries[2].chunk->size, 8U);
  EXPECT_EQ(entries[2].chunk->data.offset, 20U + 4 * 32 + 8 + 6 + 8 + 4 + 8);
  EXPECT_FALSE(entries[1].chunk);
  EXPECT_FALSE(entries[3].chunk);
}

TEST(BankContents, ChunkSizeIsAsStatedAndItsDataAsFarAsTheBankGoes) {
  const auto entries =
      contentsOf(IffBank().toc({.type = "E4S1"}).chunk("E4S1", patternBytes(10), 0xFFFFFFF0U));
  ASSERT_TRUE(entries[0].chunk);
  EXPECT_EQ(entries[0].chunk->size, 0xFFFFFFF0U);
  EXPECT_EQ(entries[0].chunk->data.size, 10U);
}

// As many entries and chunks of one type as a bank of 32 MiB can hold.
TEST(BankContents, AreLinearInEntriesAndChunks) {
  constexpr std::size_t count = 800000;
  Bytes bank = bytesOf("FORM....E4B0TOC1");
  const auto size = bigEndian32(count * 32);
  bank.insert(bank.end(), size.begin(), size.end());
  Bytes entry = bytesOf("E4S1");
  entry.resize(32);
  for (std::size_t i = 0; i < count; ++i)
    bank.insert(bank.end(), entry.begin(), entry.end());
  for (std::size_t i = 0; i < count; ++i)
    bank.insert(bank.end(), entry.begin(), entry.begin() + 8); // an empty chunk
  const FileContents contents = inMemory(bank);
  const auto begin = std::chrono::steady_clock::now();
  const auto entries = bankContents(contents);
  EXPECT_EQ(entries.size(), count);
  EXPECT_TRUE(entries.back().chunk);
  const auto samples = listedSamples(contents);
  EXPECT_TRUE(audioOfOwnChunks(contents, samples).back());
  EXPECT_TRUE(audioBehindFirstChunks(contents, samples).back());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

} // namespace
} // namespace tessary
