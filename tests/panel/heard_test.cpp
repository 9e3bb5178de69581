// What is heard through the sound system itself: ALSA writes what it is given into a file. Where PortAudio
// was built without ALSA there is nothing to listen with, and these tests are skipped.

#include "app/panel/PortAudioOutput.h"
#include "tests/panel/PanelTest.h"
#include "tests/support/MountedVolume.h"

#include <QTest>
#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace tessary {
namespace {

using namespace test;

/// A sound card that writes what it plays into a file, as fast as it is given, or a machine without one, or
/// one whose sound system knows of none.
class SoundCard {
public:
  enum class Kind { writesFile, none, notSetUp };

  SoundCard(const TemporaryFolder &folder, Kind kind)
      : heard_(folder.path("heard.raw")), before_(qgetenv("ALSA_CONFIG_PATH")),
        hadBefore_(qEnvironmentVariableIsSet("ALSA_CONFIG_PATH")) {
    const std::string configuration = folder.path("alsa.conf");
    std::ofstream text(configuration);
    if (kind == Kind::writesFile)
      text << "pcm.!default {\n type file\n slave.pcm \"nowhere\"\n file \"" << heard_
           << "\"\n format \"raw\"\n}\npcm.nowhere { type null }\n";
    if (kind == Kind::none) text << "pcm.!default {\n type hw\n card 77\n}\n";
    text.close();
    qputenv("ALSA_CONFIG_PATH", QByteArray::fromStdString(configuration));
  }
  ~SoundCard() { hadBefore_ ? qputenv("ALSA_CONFIG_PATH", before_) : qunsetenv("ALSA_CONFIG_PATH"); }

  /// What was heard, without the silence before and behind it.
  [[nodiscard]] Bytes heard() const {
    Bytes bytes = std::filesystem::exists(heard_) ? readBytes(heard_) : Bytes();
    const auto isSound = [](std::uint8_t byte) { return byte != 0; };
    auto first = std::find_if(bytes.begin(), bytes.end(), isSound);
    auto last = std::find_if(bytes.rbegin(), bytes.rend(), isSound).base();
    first -= (first - bytes.begin()) % 2;
    if (first >= last) return {};
    if ((last - first) % 2 != 0) ++last;
    return {first, last};
  }

private:
  const std::string heard_;
  const QByteArray before_;
  const bool hadBefore_;
};

/// What is written to standard error as long as it lives.
class StandardError {
public:
  explicit StandardError(const TemporaryFolder &folder) : path_(folder.path("stderr")), before_(::dup(2)) {
    const int file = ::open(path_.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    ::dup2(file, 2);
    ::close(file);
  }
  ~StandardError() {
    ::dup2(before_, 2);
    ::close(before_);
  }
  [[nodiscard]] std::string text() const { return readText(path_); }

private:
  const std::string path_;
  const int before_;
};

/// Sound whose first and last frames are no silence.
Sound soundOf(std::uint64_t frames, std::uint32_t rate) {
  auto bytes = std::make_shared<ByteBuffer>();
  for (const std::uint8_t byte : patternBytes(frames * 2, 5))
    bytes->push_back(byte);
  (*bytes)[1] |= 1;
  bytes->back() |= 1;
  return {bytes, 0, frames, 0, rate};
}

Bytes bytesOf(const Sound &sound) {
  return {sound.bytes->begin(), sound.bytes->end()};
}

bool always() {
  return true;
}

class HeardSound : public testing::Test {
protected:
  [[nodiscard]] static bool waitForEnd(const AudioOutput &output) {
    return QTest::qWaitFor([&] { return output.hasEnded(); }, 30000);
  }
  void SetUp() override {
#ifndef __linux__
    GTEST_SKIP() << "ALSA is Linux's";
#endif
  }

  TemporaryFolder folder_;
};

class HeardAtRate : public HeardSound, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(HeardAtRate, IsTheSoundByteForByteFromItsFirstFrameToItsLast) {
  const SoundCard card(folder_, SoundCard::Kind::writesFile);
  const StandardError errors(folder_);
  const Sound sound = soundOf(100'003, GetParam());
  PortAudioOutput output;
  QString problem;
  ASSERT_TRUE(output.play(sound, always, &problem)) << problem.toStdString();
  ASSERT_TRUE(waitForEnd(output));
  output.stop();
  EXPECT_EQ(card.heard(), bytesOf(sound));
  EXPECT_EQ(errors.text(), "");
}

INSTANTIATE_TEST_SUITE_P(Rates, HeardAtRate, testing::Values(8000, 22050, 48000),
                         [](const auto &rate) { return std::to_string(rate.param); });

TEST_F(HeardSound, AtHalfTheVolumeIsHalfAsHigh) {
  const SoundCard card(folder_, SoundCard::Kind::writesFile);
  auto bytes = std::make_shared<ByteBuffer>();
  for (int i = 0; i < 1000; ++i) {
    bytes->push_back(0x00);
    bytes->push_back(0x20);
  }
  PortAudioOutput output;
  output.setVolume(0.5F);
  QString problem;
  ASSERT_TRUE(output.play({bytes, 0, 1000, 0, 44100}, always, &problem));
  ASSERT_TRUE(waitForEnd(output));
  output.stop();
  Bytes half;
  for (int i = 0; i < 1000; ++i) {
    half.push_back(0x00);
    half.push_back(0x10);
  }
  EXPECT_EQ(card.heard(), half);
}

// The card takes all that it is given at once, so what is counted is frames: those that it may hold, unheard,
// when it is told to stop, are what can still sound.
TEST_F(HeardSound, StopsWithinFiftyMilliseconds) {
  EXPECT_LE(PortAudioOutput::kMostSecondsAhead, 0.05);
  const SoundCard card(folder_, SoundCard::Kind::writesFile);
  for (const std::uint32_t rate : {8000U, 48000U}) {
    auto bytes = std::make_shared<ByteBuffer>();
    bytes->assign(32 * kMiB, 1);
    const Sound sound{bytes, 0, bytes->size() / 2, 0, rate};
    PortAudioOutput output;
    QString problem;
    ASSERT_TRUE(output.play(sound, always, &problem));
    EXPECT_LE(static_cast<double>(output.framesAhead()), 0.05 * rate);
    output.stop();
    const std::size_t heard = card.heard().size();
    QTest::qWait(100);
    EXPECT_EQ(card.heard().size(), heard) << "nothing sounds after it";
  }
}

TEST_F(HeardSound, ThatIsNotWantedAnyMoreWhenTheDeviceIsOpenDoesNotBegin) {
  const SoundCard card(folder_, SoundCard::Kind::writesFile);
  PortAudioOutput output;
  QString problem;
  EXPECT_FALSE(output.play(
      soundOf(1000, 44100), [] { return false; }, &problem));
  EXPECT_EQ(problem, "");
  EXPECT_TRUE(card.heard().empty());
}

TEST_F(HeardSound, WithoutADeviceIsRefusedQuietly) {
  for (const SoundCard::Kind kind : {SoundCard::Kind::none, SoundCard::Kind::notSetUp}) {
    const TemporaryFolder folder;
    const SoundCard card(folder, kind);
    const StandardError errors(folder);
    PortAudioOutput output;
    QString problem;
    EXPECT_FALSE(output.play(soundOf(1000, 44100), always, &problem));
    EXPECT_EQ(problem, "No sound device was found.");
    EXPECT_EQ(errors.text(), "");
  }
}

TEST_F(HeardSound, DeviceThatComesLaterIsFound) {
  PortAudioOutput output;
  QString problem;
  {
    const SoundCard none(folder_, SoundCard::Kind::none);
    EXPECT_FALSE(output.play(soundOf(1000, 44100), always, &problem));
  }
  const TemporaryFolder later;
  const SoundCard card(later, SoundCard::Kind::writesFile);
  const Sound sound = soundOf(1000, 44100);
  ASSERT_TRUE(output.play(sound, always, &problem)) << problem.toStdString();
  ASSERT_TRUE(waitForEnd(output));
  output.stop();
  EXPECT_EQ(card.heard(), bytesOf(sound));
}

TEST_F(HeardSound, StartsNoOtherProgram) {
  const SoundCard card(folder_, SoundCard::Kind::none);
  PortAudioOutput output;
  QString problem;
  EXPECT_FALSE(output.play(soundOf(10, 44100), always, &problem));
  std::ifstream children("/proc/thread-self/children");
  ASSERT_TRUE(children.is_open());
  std::string first;
  children >> first;
  EXPECT_EQ(first, "");
}

/// The window with the sound system behind it.
class HeardWindow : public FileCommandTest {
protected:
  BankContentsPanel *panel() const { return controller_->bankContentsPanel(); }
};

TEST_F(HeardWindow, PlaysTheAudioThatItExports) {
  const SoundCard card(folder_, SoundCard::Kind::writesFile);
  mount(kitImage());
  pressKeyIn(window(), Qt::Key_B, Qt::ControlModifier);
  chooseFiles({"KIT"});
  ASSERT_TRUE(waitUntilIdle());
  pressKeyIn(window(), Qt::Key_Space);
  ASSERT_TRUE(
      QTest::qWaitFor([&] { return panel()->playButton()->text() == QStringLiteral("Stop"); }, 30000));
  ASSERT_TRUE(
      QTest::qWaitFor([&] { return panel()->playButton()->text() == QStringLiteral("Play"); }, 30000));
  ASSERT_TRUE(waitUntilIdle());
  const EMU3FilePtr bank = fileNamed(controller_->currentDirectory(), "KIT");
  const ByteBufferPtr wav = controller_->filesystem()->wavOfSample(0, bank, 44100);
  ASSERT_TRUE(wav);
  EXPECT_EQ(card.heard(), Bytes(wav->begin() + 44, wav->end()));
}

} // namespace
} // namespace tessary
