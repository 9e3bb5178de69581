// A sample is its own chunk of the bank.

#include "tests/support/BankBuilder.h"
#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tessary::test {
namespace {

constexpr const char *kIndexError = "Error Domain=com.tessary.error Code=6 \"Sample index out of range\"";
constexpr const char *kNoChunkError = "Error Domain=com.tessary.error Code=2 \"Sample chunk not found\"";

using Names = std::vector<std::string>;

class Bank {
public:
  explicit Bank(const Bytes &contents) : volume_(image(contents)) {}

  /// The audio of a sample's WAV file; fails when it is no such file.
  Bytes audio(std::uint64_t index) const {
    const std::string target = volume_.folder().path("sample.wav");
    EMU3Error error;
    EXPECT_TRUE(volume_->exportSampleAtIndex(index, file(), target, &error)) << error.message;
    const Bytes wav = readBytes(target);
    if (wav.size() < 44) return {};
    EXPECT_EQ(wav[40] | (wav[41] << 8) | (wav[42] << 16), static_cast<int>(wav.size() - 44));
    return {wav.begin() + 44, wav.end()};
  }
  std::string failureOf(std::uint64_t index) const {
    const std::string target = volume_.folder().path("none.wav");
    EMU3Error error;
    EXPECT_FALSE(volume_->exportSampleAtIndex(index, file(), target, &error));
    EXPECT_FALSE(std::filesystem::exists(target));
    return error.description();
  }
  Names names() const {
    Names all;
    for (const BankSample &sample : volume_->namedSamplesFromBankFile(file()))
      all.push_back(sample.type + "=" + sample.name);
    return all;
  }

private:
  static ImageBuilder image(const Bytes &contents) {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("bank", contents);
    return builder;
  }
  EMU3FilePtr file() const { return volume_.file("bank"); }

  GuardedVolume volume_;
};

// --- Its audio -------------------------------------------------------------------------------------

TEST(OwnChunk, IsThatOfTheSamplesNumberAmongItsType) {
  const Bank bank(IffBank("E4B0")
                      .preset("Piano")
                      .sample("a", patternBytes(100, 1), "E4S1")
                      .sample("b", patternBytes(200, 2), "E3S1")
                      .sample("c", patternBytes(300, 3), "E4S1")
                      .sample("d", patternBytes(400, 4), "E3S1")
                      .build());
  for (std::uint32_t index = 0; index < 4; ++index)
    EXPECT_EQ(bank.audio(index), patternBytes(100 * (index + 1U), index + 1)) << index;
  EXPECT_EQ(bank.failureOf(4), kIndexError);
}

TEST(OwnChunk, IsCountedOnTheWalkWhateverTheTableSaysOfPlacesAndSizes) {
  IffBank bank("E4B0");
  bank.toc({.type = "E4S1", .name = "first", .size = 77});
  bank.toc({.type = "E4S1", .name = "second", .size = 99999});
  bank.chunk("E4P1", patternBytes(31, 9)); // an odd size and its pad byte
  bank.chunk("E4S1", patternBytes(10, 1)).chunk("XXXX", {}).chunk("E4S1", patternBytes(20, 2));
  EXPECT_EQ(Bank(bank.build()).audio(0), patternBytes(10, 1));
  EXPECT_EQ(Bank(bank.build()).audio(1), patternBytes(20, 2));
}

TEST(OwnChunk, IsCutToWholeFrames) {
  const Bank bank(IffBank("E4B0")
                      .sample("odd", patternBytes(101, 1))
                      .sample("one", patternBytes(1, 2))
                      .sample("none", {})
                      .sample("even", patternBytes(4, 3))
                      .build());
  EXPECT_EQ(bank.audio(0), patternBytes(100, 1));
  EXPECT_EQ(bank.audio(1), Bytes{});
  EXPECT_EQ(bank.audio(2), Bytes{});
  EXPECT_EQ(bank.audio(3), patternBytes(4, 3));
}

TEST(OwnChunk, GoesAsFarAsTheContentsDo) {
  for (const std::uint32_t size : {12U, 1000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    const IffBank bank = IffBank("E4B0").toc({.type = "E4S1"}).chunk("E4S1", patternBytes(10, 1), size);
    EXPECT_EQ(Bank(bank.build()).audio(0), patternBytes(10, 1)) << size;
  }
  const IffBank odd = IffBank("E4B0").toc({.type = "E4S1"}).chunk("E4S1", patternBytes(10, 1), 1000);
  const Bytes whole = odd.build();
  EXPECT_EQ(Bank(odd.build(whole.size() - 1)).audio(0), patternBytes(8, 1)) << "whole frames there too";
}

TEST(OwnChunk, WithAHeaderAtTheVeryEndHasNoAudio) {
  const IffBank bank = IffBank("E4B0").toc({.type = "E4S1"}).chunk("E4P1", {}).chunk("E4S1", {});
  EXPECT_EQ(Bank(bank.build()).audio(0), Bytes{});
}

TEST(OwnChunk, MayBeTheFirstOfAll) {
  // The table of contents has the type's own name: it is the first chunk of the walk.
  const IffBank bank =
      IffBank("E4B0").firstChunk("E4S1").toc({.type = "E4S1"}).chunk("E4S1", patternBytes(10));
  const Bytes contents = bank.build();
  EXPECT_EQ(Bank(contents).audio(0), Bytes(contents.begin() + 20, contents.begin() + 52));
}

TEST(OwnChunk, ShorterTypeIsCompletedByZeroBytes) {
  const IffBank bank =
      IffBank("E4B0").toc({.type = "E4S"}).chunk("E4S1", patternBytes(10)).chunk("E4S", patternBytes(6, 2));
  EXPECT_EQ(Bank(bank.build()).audio(0), patternBytes(6, 2));
}

TEST(MissingChunk, IsNotFound) {
  EXPECT_EQ(Bank(IffBank("E4B0").toc({.type = "E4S1"}).build()).failureOf(0), kNoChunkError);
  const IffBank one = IffBank("E4B0").toc({.type = "E4S1"}).toc({.type = "E4S1"}).chunk("E4S1", {});
  EXPECT_EQ(Bank(one.build()).failureOf(1), kNoChunkError) << "not the first one in its place";
}

TEST(MissingChunk, WithAHeaderThatIsNotWholeIsNotFound) {
  const Bytes whole = IffBank("E4B0").toc({.type = "E4S1"}).chunk("E4S1", {}).build();
  for (std::size_t missing = 1; missing <= 8; ++missing) {
    EXPECT_EQ(Bank(Bytes(whole.begin(), whole.end() - static_cast<std::ptrdiff_t>(missing))).failureOf(0),
              kNoChunkError)
        << missing;
  }
}

TEST(MissingChunk, BehindOneThatClaimsMoreThanThereIsIsNotFound) {
  for (const std::uint32_t size : {1000U, 0x7FFFFFFFU, 0xFFFFFFF7U, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
    const IffBank bank =
        IffBank("E4B0").toc({.type = "E4S1"}).chunk("E4P1", {}, size).chunk("E4S1", patternBytes(10));
    EXPECT_EQ(Bank(bank.build()).failureOf(0), kNoChunkError) << size;
  }
}

TEST(MissingChunk, InALongWalkEnds) {
  IffBank bank = IffBank("E4B0").toc({.type = "E4S1"});
  for (int i = 0; i < 20000; ++i)
    bank.chunk("E4P1", {});
  EXPECT_EQ(Bank(bank.build()).failureOf(0), kNoChunkError);
}

// --- Its name --------------------------------------------------------------------------------------

TEST(SampleName, IsTheNameFieldWithoutSpacesAndZerosAtItsEnd) {
  IffBank bank("E4B0");
  bank.toc({.type = "E4S1", .name = "Kick C1"});
  bank.toc({.type = "E4S1", .name = std::string("Snare\0\0\0", 8)});
  bank.toc({.type = "E4S1", .name = std::string("Hat \0 \0", 7)});
  bank.toc({.type = "E4S1", .name = "sixteen bytes..."});
  bank.toc({.type = "ESND", .name = "  lead"});
  EXPECT_EQ(Bank(bank.build()).names(),
            (Names{"E4S1=Kick C1", "E4S1=Snare", "E4S1=Hat", "E4S1=sixteen bytes...", "ESND=  lead"}));
}

TEST(SampleName, ThatIsBlankOrNoTextIsTheType) {
  IffBank bank("E4B0");
  bank.toc({.type = "E4S1", .name = ""});
  bank.toc({.type = "E3S1", .name = std::string("\0\0", 2)});
  bank.toc({.type = "ESND", .name = "Caf\xE9"});
  bank.toc({.type = "E4S", .name = "   "});
  EXPECT_EQ(Bank(bank.build()).names(), (Names{"E4S1=E4S1", "E3S1=E3S1", "ESND=ESND", "E4S=E4S"}));
}

} // namespace
} // namespace tessary::test
