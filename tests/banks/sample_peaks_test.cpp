// The peaks that a long sample is drawn by, and where the audio of listed samples lies.

#include "banks/BankContents.h"
#include "banks/BankSamples.h"
#include "tessary/SamplePeaks.h"
#include "tests/support/BankBuilder.h"

#include <gtest/gtest.h>

namespace tessary {
namespace {

using namespace test;

Bytes stored(const std::vector<std::int16_t> &frames) {
  Bytes bytes;
  for (const std::int16_t frame : frames) {
    bytes.push_back(static_cast<std::uint8_t>(frame & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(frame >> 8 & 0xFF));
  }
  return bytes;
}

FileContents inMemory(const Bytes &bytes) {
  return FileContents(std::make_shared<ByteBuffer>(bytes.begin(), bytes.end()));
}

TEST(SamplePeaks, AreTheLowestAndHighestOfEach256Frames) {
  std::vector<std::int16_t> frames(600, 0);
  frames[3] = 500;
  frames[255] = -700;
  frames[256] = 32767;
  frames[599] = -32768;
  SamplePeaks peaks;
  peaks.add(stored(frames));
  EXPECT_EQ(peaks.frames(), 600U);
  EXPECT_EQ(peaks.peaks(), (std::vector<Peak>{{-700, 500}, {0, 32767}, {-32768, 0}}));
}

TEST(SamplePeaks, AreTheSameHoweverTheAudioComesInPieces) {
  const Bytes audio = patternBytes(10'001, 3);
  SamplePeaks whole;
  whole.add(audio);
  EXPECT_EQ(whole.frames(), 5000U) << "half a frame at the end is none";
  for (const std::size_t size : {1U, 3U, 512U, 4096U}) {
    SamplePeaks inPieces;
    for (std::size_t at = 0; at < audio.size(); at += size)
      inPieces.add(std::span(audio).subspan(at, std::min(size, audio.size() - at)));
    EXPECT_EQ(inPieces.frames(), whole.frames());
    EXPECT_EQ(inPieces.peaks(), whole.peaks()) << size;
  }
}

TEST(SamplePeaks, OfASectionAreRoundedOutwards) {
  std::vector<std::int16_t> frames(1024, 0);
  frames[0] = 1;
  frames[511] = 2;
  frames[512] = 3;
  frames[1023] = -4;
  SamplePeaks peaks;
  peaks.add(stored(frames));
  EXPECT_EQ(peaks.across(300, 301), (Peak{0, 2}));
  EXPECT_EQ(peaks.across(300, 513), (Peak{0, 3}));
  EXPECT_EQ(peaks.across(0, 99'999), (Peak{-4, 3}));
  EXPECT_EQ(peaks.across(5, 5), Peak());
  EXPECT_EQ(peaks.across(1024, 2000), Peak());
}

TEST(SamplePeaks, OfNothingAreNone) {
  SamplePeaks peaks;
  peaks.add({});
  EXPECT_EQ(peaks.frames(), 0U);
  EXPECT_EQ(peaks.across(0, 1), Peak());
}

TEST(BankEntrySample, IsTheNumberAmongTheListedSamples) {
  const Bytes bank = IffBank()
                         .toc({.type = "RIFF", .name = "not listed"})
                         .sample("One", patternBytes(4), "E4S1")
                         .preset("Preset")
                         .sample("Two", patternBytes(6), "ESND")
                         .toc({.type = "E4S\xFF", .name = "no text"})
                         .sample("Three", patternBytes(7), "E4S1")
                         .build();
  const FileContents contents = inMemory(bank);
  const std::vector<BankEntry> entries = bankContents(contents);
  const std::vector<BankSample> samples = listedSamples(contents);
  const SampleAudio audio = audioOfOwnChunks(contents, samples);
  std::size_t listed = 0;
  for (const BankEntry &entry : entries) {
    if (!entry.sample) continue;
    ASSERT_EQ(*entry.sample, listed);
    EXPECT_EQ(entry.name, samples[listed].name);
    ASSERT_TRUE(entry.chunk);
    EXPECT_EQ(audioIn(*entry.chunk), audio[listed]);
    ++listed;
  }
  EXPECT_EQ(listed, samples.size());
  EXPECT_EQ(listed, 3U);
}

TEST(BankEntrySample, IsNoneInBanksThatListNoSamples) {
  for (const BankEntry &entry :
       bankContents(inMemory(IffBank("E3B0").sample("S", patternBytes(4), "E3S1").build())))
    EXPECT_FALSE(entry.sample);
}

} // namespace
} // namespace tessary
