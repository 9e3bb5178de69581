// What a device is given of a sound, piece by piece.

#include "app/panel/SoundFeed.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace tessary {
namespace {

Sound soundOf(const std::vector<std::int16_t> &frames, std::uint64_t start = 0) {
  auto bytes = std::make_shared<ByteBuffer>();
  bytes->push_back(0x77); // what lies before the sound is not of it
  for (const std::int16_t frame : frames) {
    bytes->push_back(static_cast<std::uint8_t>(frame & 0xFF));
    bytes->push_back(static_cast<std::uint8_t>(frame >> 8 & 0xFF));
  }
  return {bytes, 1, frames.size(), start, 8000};
}

std::vector<std::int16_t> filled(SoundFeed &feed, std::size_t frames, bool *goesOn,
                                 std::size_t channels = 1) {
  std::vector<std::int16_t> buffer(frames * channels, 99);
  *goesOn = feed.fill(buffer.data(), frames);
  return buffer;
}

TEST(SoundFeed, GivesTheFramesAsTheyAreStoredAndThenSilence) {
  SoundFeed feed;
  feed.begin(soundOf({1, -32768, 32767, -2, 5}), 1, 0);
  bool goesOn = false;
  EXPECT_EQ(filled(feed, 3, &goesOn), (std::vector<std::int16_t>{1, -32768, 32767}));
  EXPECT_TRUE(goesOn);
  EXPECT_EQ(filled(feed, 3, &goesOn), (std::vector<std::int16_t>{-2, 5, 0}));
  EXPECT_FALSE(goesOn);
  EXPECT_EQ(filled(feed, 2, &goesOn), (std::vector<std::int16_t>{0, 0}));
  EXPECT_FALSE(goesOn);
}

TEST(SoundFeed, EndsWithTheLastFrameWhereThatFillsTheBuffer) {
  SoundFeed feed;
  feed.begin(soundOf({1, 2}), 1, 0);
  bool goesOn = true;
  EXPECT_EQ(filled(feed, 2, &goesOn), (std::vector<std::int16_t>{1, 2}));
  EXPECT_FALSE(goesOn);
}

TEST(SoundFeed, BeginsWithTheFrameThatIsWanted) {
  SoundFeed feed;
  feed.begin(soundOf({1, 2, 3}, 2), 1, 0);
  bool goesOn = true;
  EXPECT_EQ(filled(feed, 1, &goesOn), std::vector<std::int16_t>{3});
  feed.begin(soundOf({1, 2, 3}, 77), 1, 0); // behind its end
  EXPECT_EQ(filled(feed, 1, &goesOn), std::vector<std::int16_t>{0});
  EXPECT_FALSE(goesOn);
}

TEST(SoundFeed, GivesBothChannelsTheSame) {
  SoundFeed feed;
  feed.begin(soundOf({1, 2}), 2, 0);
  bool goesOn = true;
  EXPECT_EQ(filled(feed, 3, &goesOn, 2), (std::vector<std::int16_t>{1, 1, 2, 2, 0, 0}));
}

TEST(SoundFeed, VolumeScalesWhatIsGivenFromThenOn) {
  SoundFeed feed;
  feed.setVolume(0.5F);
  feed.begin(soundOf({100, -32768, 100}), 1, 0);
  bool goesOn = true;
  EXPECT_EQ(filled(feed, 2, &goesOn), (std::vector<std::int16_t>{50, -16384}));
  feed.setVolume(0);
  EXPECT_EQ(filled(feed, 1, &goesOn), std::vector<std::int16_t>{0});
}

TEST(SoundFeed, TellsWhatIsHeardNotWhatIsGiven) {
  SoundFeed feed;
  feed.begin(soundOf(std::vector<std::int16_t>(1000, 1), 100), 1, 50);
  bool goesOn = true;
  EXPECT_EQ(feed.position(), 100U);
  static_cast<void>(filled(feed, 40, &goesOn));
  EXPECT_EQ(feed.position(), 100U) << "it is on its way";
  static_cast<void>(filled(feed, 40, &goesOn));
  EXPECT_EQ(feed.position(), 130U);
  feed.deviceEnded();
  EXPECT_EQ(feed.position(), 180U);
}

TEST(SoundFeed, WithoutASoundIsSilent) {
  SoundFeed feed;
  bool goesOn = true;
  EXPECT_EQ(filled(feed, 2, &goesOn), (std::vector<std::int16_t>{0, 0}));
  EXPECT_FALSE(goesOn);
}

} // namespace
} // namespace tessary
