// The mapping of an image: its bounds, and contents written over blocks.

#include "tests/support/HostFiles.h"
#include "tests/writing/EngineParts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <memory>
#include <sys/resource.h>

namespace tessary::test {
namespace {

constexpr std::uint64_t kMaxBlock = std::numeric_limits<std::uint64_t>::max();

TEST(BlockAccess, ReachesTheLastWholeBlockAndNoFurther) {
  ImageBuilder image({.sizeBytes = 100 * kBlockBytes + 300});
  image.poke(99 * kBlockBytes, {1, 2, 3}).poke(100 * kBlockBytes, {4, 5, 6});
  Bytes byte(1);
  EngineParts parts(std::move(image));
  Bytes last(kBlockBytes);
  ASSERT_TRUE(parts.mapping.read(99, 0, last.data(), last.size()));
  EXPECT_EQ(last[2], 3);
  EXPECT_FALSE(parts.mapping.containsBlock(100));
  EXPECT_FALSE(parts.mapping.read(100, 0, byte.data(), 1));
  EXPECT_TRUE(parts.mapping.write(99, 0, byte.data(), 1));
  EXPECT_FALSE(parts.mapping.write(100, 0, byte.data(), 1));
}

TEST(BlockAccess, NumbersWhoseByteOffsetWrapsLieOutside) {
  Bytes byte(1);
  EngineParts parts{ImageBuilder(smallLayout())};
  for (const std::uint64_t block : {kMaxBlock, kMaxBlock / 512, kMaxBlock / 512 + 1, kMaxBlock / 512 + 2,
                                    std::uint64_t{1} << 63, std::uint64_t{1} << 55}) {
    EXPECT_FALSE(parts.mapping.containsBlock(block)) << block;
    EXPECT_FALSE(parts.mapping.read(block, 0, byte.data(), 1)) << block;
    EXPECT_FALSE(parts.mapping.write(block, 0, byte.data(), 1)) << block;
  }
}

bool writeContents(const EngineParts &parts, const Bytes &contents, std::uint64_t firstBlock) {
  return parts.mapping.writeData(firstBlock, contents.data(), contents.size());
}

class WritingContents : public testing::TestWithParam<std::size_t> {};

TEST_P(WritingContents, FillsTheLastBlockWithZerosAndTouchesNoOther) {
  ImageBuilder image(smallLayout());
  image.poke(16 * kBlockBytes, patternBytes(64 * kBlockBytes, 9)); // what lay there before
  EngineParts parts(std::move(image));
  const Bytes contents = patternBytes(GetParam(), 3);
  EXPECT_TRUE(writeContents(parts, contents, 24));
  putData(parts.expected, 24, contents);
  EXPECT_TRUE(parts.imageIsAsExpected());
}

INSTANTIATE_TEST_SUITE_P(Lengths, WritingContents,
                         testing::Values(0U, 1U, 511U, 512U, 513U, 1024U, 4096U, 4097U, 20000U));

TEST(WritingContentsBeyondTheEnd, OfAFirstBlockOutsideWritesNothing) {
  const EngineParts parts{ImageBuilder(smallLayout())};
  for (const std::uint64_t first : {std::uint64_t{512}, std::uint64_t{1} << 55, ~std::uint64_t{0}}) {
    EXPECT_FALSE(writeContents(parts, patternBytes(600), first)) << first;
    EXPECT_FALSE(writeContents(parts, {}, first)) << first;
  }
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST(WritingContentsBeyondTheEnd, LeavesTheBlocksThatFitted) {
  EngineParts parts{ImageBuilder(smallLayout())};
  const Bytes contents = patternBytes(5 * kBlockBytes, 3);
  EXPECT_FALSE(writeContents(parts, contents, 509));
  putData(parts.expected, 509, std::span(contents).first(3 * kBlockBytes));
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST(WritingContentsBeyondTheEnd, NeverReachesATrailingPartialBlock) {
  ImageBuilder image(smallLayout());
  image.resize(256 * kKiB + 300);
  EngineParts parts(std::move(image));
  const Bytes contents = patternBytes(700, 3);
  EXPECT_FALSE(writeContents(parts, contents, 511));
  putData(parts.expected, 511, std::span(contents).first(kBlockBytes));
  EXPECT_TRUE(parts.imageIsAsExpected());
}

TEST(WritingContentsBeyondTheEnd, EndsExactlyAtTheLastBlock) {
  EngineParts parts{ImageBuilder(smallLayout())};
  const Bytes contents = patternBytes(2 * kBlockBytes, 3);
  EXPECT_TRUE(writeContents(parts, contents, 510));
  putData(parts.expected, 510, contents);
  EXPECT_TRUE(parts.imageIsAsExpected());
}

// What is cut off stays cut off: longer again, the image would pass for whole with zeros in the files behind.
TEST(WritingContentsOfACutImage, DoesNotMakeItLongerAgain) {
  for (const bool atBarriers : {false, true}) {
    const EngineParts parts{ImageBuilder(smallLayout())};
    if (atBarriers) parts.mapping.flushAtBarriers();
    std::filesystem::resize_file(parts.path(), 128 * kBlockBytes);
    EXPECT_FALSE(writeContents(parts, patternBytes(8 * kBlockBytes), 200));
    EXPECT_FALSE(writeContents(parts, patternBytes(64 * kBlockBytes), 100)); // only its beginning is there
    EXPECT_EQ(std::filesystem::file_size(parts.path()), 128 * kBlockBytes);
  }
}

TEST(WritingContentsOfACutImage, LeavesTheBlocksThatAreThere) {
  const EngineParts parts{ImageBuilder(smallLayout())};
  const Bytes contents = patternBytes(64 * kBlockBytes, 3);
  std::filesystem::resize_file(parts.path(), 128 * kBlockBytes);
  EXPECT_FALSE(writeContents(parts, contents, 100));
  const Bytes there = readBytes(parts.path(), 100 * kBlockBytes, 28 * kBlockBytes);
  EXPECT_EQ(there, Bytes(contents.begin(), contents.begin() + 28 * kBlockBytes));
  EXPECT_GT(parts.mapping.writeFaults(), 0U);
}

// The host would end the process for a write behind that limit.
TEST(WritingContentsUnderALimit, OfFileSizesGoesOn) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const WrittenImage image{ImageBuilder(smallLayout())};
  rlimit limit = before;
  limit.rlim_cur = 64 * kBlockBytes;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  EMU3Error error;
  const std::unique_ptr<ImageMapping> mapping = ImageMapping::open(image.path(), &error);
  const Bytes contents = patternBytes(8 * kBlockBytes, 3);
  const bool isWritten = mapping && mapping->writeData(200, contents.data(), contents.size());
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  EXPECT_TRUE(isWritten);
  EXPECT_EQ(readBytes(image.path(), 200 * kBlockBytes, contents.size()), contents);
}

TEST(PagesThatWereRead, CanBeGivenBackAtAnyTime) {
  EngineParts parts{ImageBuilder(smallLayout())};
  const Bytes written = patternBytes(100);
  ASSERT_TRUE(parts.mapping.write(300, 5, written.data(), written.size()));
  parts.mapping.letGoOfPages(); // what was written too, which no flush has seen yet
  Bytes read(written.size());
  EXPECT_TRUE(parts.mapping.read(300, 5, read.data(), read.size()));
  EXPECT_EQ(read, written);
  parts.expected.pokeBlock(300, 5, written);
  EXPECT_TRUE(parts.imageIsAsExpected());
}

// What a trial writes is read back as written, and the file does not change.
TEST(PrivateMapping, KeepsWhatIsWrittenFromTheFile) {
  const WrittenImage image{ImageBuilder(smallLayout())};
  const Bytes before = readBytes(image.path());
  EMU3Error error;
  const auto mapping = ImageMapping::open(image.path(), ImageMapping::Writes::privately, &error);
  ASSERT_NE(mapping, nullptr) << error.message;
  mapping->flushAtBarriers();
  for (const std::size_t blocks : {1U, 8U, 200U}) {
    const Bytes contents = patternBytes(blocks * kBlockBytes, static_cast<std::uint32_t>(blocks));
    ASSERT_TRUE(mapping->writeData(200, contents.data(), contents.size()));
    mapping->startFlush(200, blocks);
    EXPECT_TRUE(mapping->barrier());
    mapping->letGoOfPages();
    for (const bool passing : {false, true}) {
      Bytes read(contents.size());
      const std::uint64_t got = passing ? mapping->readPassing(200, 0, read.data(), read.size())
                                        : mapping->readBytes(200, 0, read.data(), read.size());
      EXPECT_EQ(got, contents.size());
      EXPECT_TRUE(read == contents) << blocks << " blocks";
    }
  }
  EXPECT_TRUE(readBytes(image.path()) == before);
}

} // namespace
} // namespace tessary::test
