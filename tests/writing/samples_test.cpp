#include "filesystem/TreeEditor.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/OtherUser.h"
#include "tests/writing/HostConditions.h"
#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tessary::test {
namespace {

constexpr const char *kNotABankError = "Error Domain=com.tessary.error Code=6 \"Not a bank file\"";
constexpr const char *kIndexError = "Error Domain=com.tessary.error Code=6 \"Sample index out of range\"";
constexpr const char *kNoChunkError = "Error Domain=com.tessary.error Code=2 \"Sample chunk not found\"";

// One bank on a volume.
class Bank {
public:
  explicit Bank(const Bytes &contents, std::uint8_t type = 0x81) : volume(image(contents, type)) {}

  std::vector<std::string> samples(EMU3Error *error = nullptr) const {
    return volume->samplesFromBankFile(file(), error);
  }
  /// The error of an export that must fail and leave nothing behind.
  std::string failureOf(std::uint64_t index) const {
    EMU3Error error;
    EXPECT_FALSE(volume->exportSampleAtIndex(index, file(), target(), &error));
    EXPECT_FALSE(volume->exportSampleAtIndex(index, file(), target()));
    EXPECT_TRUE(namesIn(host.path()).empty());
    return error.description();
  }
  /// The WAV file of a sample.
  Bytes wav(std::uint64_t index) const {
    EMU3Error error;
    EXPECT_TRUE(volume->exportSampleAtIndex(index, file(), target(), &error)) << error.message;
    EXPECT_FALSE(error.isSet());
    EXPECT_TRUE(volume.imageIsAsExpected()) << "the volume is never written";
    return readBytes(target());
  }
  EMU3FilePtr file() const { return volume.root()->files().at(0); }
  std::string target() const { return host.path("sample.wav"); }

  WritableVolume volume;
  TemporaryFolder host;

private:
  static ImageBuilder image(const Bytes &contents, std::uint8_t type) {
    ImageBuilder builder(smallLayout());
    builder.root().addFile("bank", contents, {.type = type});
    return builder;
  }
};

IffBank e4bank() {
  return IffBank("E4B0");
}

Bytes littleEndian32(std::size_t value) {
  return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
          static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
}

Bytes joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes &part : parts)
    all.insert(all.end(), part.begin(), part.end());
  return all;
}

Bytes wavOf(const Bytes &audio) {
  return joined({bytesOf("RIFF"), littleEndian32(audio.size() + 36), bytesOf("WAVEfmt "), littleEndian32(16),
                 Bytes{1, 0, 1, 0}, littleEndian32(44100), littleEndian32(88200), Bytes{2, 0, 16, 0},
                 bytesOf("data"), littleEndian32(audio.size()), audio});
}

using Names = std::vector<std::string>;

// --- Listing ---------------------------------------------------------------------------------------

TEST(SampleList, HoldsTheTypesOfTheSampleEntriesInOrder) {
  IffBank bank = e4bank();
  for (const std::string type : {"E4P1", "E4S1", "E4S1", "ESND", "XXXX"})
    bank.toc({.type = type});
  EMU3Error error;
  EXPECT_EQ(Bank(bank.build()).samples(&error), (Names{"E4S1", "E4S1", "ESND"}));
  EXPECT_FALSE(error.isSet());
}

TEST(SampleList, TakesAnyFourthByteOfE3sAndE4sButOnlyEsnd) {
  IffBank bank = e4bank();
  for (const std::string type : {"E3S1", "E3S ", "E4SZ", "E4S\x01", "ESND", "ESNX", "ESN", "E3P1", "E4P1",
                                 "E3I1", "E4I1", "RIFF", "FORM", "e4s1", "E5S1", ""})
    bank.toc({.type = type});
  EXPECT_EQ(Bank(bank.build()).samples(), (Names{"E3S1", "E3S ", "E4SZ", "E4S\x01", "ESND"}));
}

TEST(SampleList, TypeEndsAtItsFirstZeroByte) {
  EXPECT_EQ(Bank(e4bank().toc({.type = "E4S"}).toc({.type = "E3S"}).build()).samples(),
            (Names{"E4S", "E3S"}));
}

TEST(SampleList, SkipsATypeThatIsNoText) {
  const IffBank bank = e4bank().toc({.type = "E4S\xFF"}).toc({.type = "E4S\xC3"}).toc({.type = "E4S1"});
  EXPECT_EQ(Bank(bank.build()).samples(), Names{"E4S1"});
}

TEST(SampleList, OfAFileThatIsNoBankIsEmptyWithAnError) {
  for (const int type : {0x80, 0x82, 0x00, 0x99}) {
    const Bank bank(e4bank().toc({.type = "E4S1"}).build(), static_cast<std::uint8_t>(type));
    EMU3Error error;
    EXPECT_TRUE(bank.samples(&error).empty());
    EXPECT_EQ(error.description(), kNotABankError);
    EXPECT_TRUE(bank.samples().empty());
  }
}

TEST(SampleList, OfTheOtherBankTypeIsRead) {
  EXPECT_EQ(Bank(e4bank().toc({.type = "E4S1"}).build(), 0x83).samples(), Names{"E4S1"});
}

TEST(SampleList, OfAnyOtherKindOfBankIsEmptyWithoutAnError) {
  Bytes riff = e4bank().toc({.type = "E4S1"}).build();
  riff[0] = 'R';
  for (const Bytes &contents :
       {IffBank("E3B0").toc({.type = "E3S1"}).build(), IffBank("E4B").toc({.type = "E4S1"}).build(),
        IffBank("E4B1").toc({.type = "E4S1"}).build(), IffBank("e4b0").toc({.type = "E4S1"}).build(), riff,
        emulatorThreeBank("Bank", 1, 1), emulator3XBank("Bank", 1, 1), esi32Bank("Bank", 1, 1),
        patternBytes(3000)}) {
    EMU3Error error;
    EXPECT_TRUE(Bank(contents).samples(&error).empty());
    EXPECT_FALSE(error.isSet());
  }
}

TEST(SampleList, OfABankCutShortHoldsItsWholeEntries) {
  const IffBank bank = e4bank().toc({.type = "E4S1"}).toc({.type = "E4S2"});
  for (std::size_t length = 0; length <= 20 + 64; ++length) {
    EMU3Error error;
    EXPECT_EQ(Bank(bank.build(length)).samples(&error).size(), length < 52   ? 0U
                                                               : length < 84 ? 1U
                                                                             : 2U)
        << length;
    EXPECT_FALSE(error.isSet()) << length;
  }
}

TEST(SampleList, EndsWhereTheTableSaysItEnds) {
  const auto listed = [](std::uint32_t tocSize) {
    const IffBank bank = e4bank().toc({.type = "E4S1"}).toc({.type = "E4S2"}).toc({.type = "E4S3"});
    return Bank(IffBank(bank).tocSize(tocSize).build()).samples().size();
  };
  EXPECT_EQ(listed(0), 0U);
  EXPECT_EQ(listed(31), 0U);
  EXPECT_EQ(listed(32), 1U);
  EXPECT_EQ(listed(63), 1U);
  EXPECT_EQ(listed(64), 2U);
  EXPECT_EQ(listed(96), 3U);
  EXPECT_EQ(listed(100000), 3U) << "what the file has";
  EXPECT_EQ(listed(0xFFFFFFEB), 3U);
  EXPECT_EQ(listed(0xFFFFFFEC), 0U) << "size and offset wrap to 0";
  EXPECT_EQ(listed(0xFFFFFFFF), 0U);
}

TEST(SampleList, ReadsTheCachedContents) {
  const Bank bank(patternBytes(100));
  const Bytes cached = e4bank().toc({.type = "E4S1"}).build();
  TreeEditor::setCachedData(*bank.file(), std::make_shared<ByteBuffer>(cached.begin(), cached.end()));
  EXPECT_EQ(bank.samples(), Names{"E4S1"});
}

// --- Exporting -------------------------------------------------------------------------------------

TEST(SampleExport, WritesTheHeaderAndTheAudio) {
  const Bytes audio = patternBytes(1000, 3);
  const Bytes wav = Bank(e4bank().preset("Piano").sample("Kick", audio).build()).wav(0);
  ASSERT_EQ(wav.size(), 1044U);
  EXPECT_EQ((Bytes(wav.begin(), wav.begin() + 44)),
            (Bytes{'R', 'I', 'F', 'F', 0x0C, 0x04, 0,   0,   'W', 'A',  'V',  'E',  'f', 'm',  't',
                   ' ', 16,  0,   0,   0,    1,    0,   1,   0,   0x44, 0xAC, 0,    0,   0x88, 0x58,
                   1,   0,   2,   0,   16,   0,    'd', 'a', 't', 'a',  0xE8, 0x03, 0,   0}));
  EXPECT_EQ(Bytes(wav.begin() + 44, wav.end()), audio);
}

TEST(SampleExport, AudioRunsToTheEndOfTheFile) {
  const Bytes first = patternBytes(500, 1);
  const Bytes second = patternBytes(300, 2);
  const Bank bank(e4bank().sample("a", first, "E4S1").sample("b", second, "E4S2").build());
  const Bytes secondChunk = joined({bytesOf("E4S2"), Bytes{0, 0, 1, 44}, second});
  EXPECT_EQ(bank.wav(0), wavOf(joined({first, secondChunk})));
  EXPECT_EQ(bank.wav(1), wavOf(second));
}

TEST(SampleExport, SamplesOfOneTypeAllResolveToTheFirstChunk) {
  const Bank bank(e4bank().sample("a", patternBytes(500, 1)).sample("b", patternBytes(300, 2)).build());
  ASSERT_EQ(bank.samples(), (Names{"E4S1", "E4S1"}));
  EXPECT_EQ(bank.wav(0), bank.wav(1));
}

TEST(SampleExport, IndexBehindTheLastSampleIsOutOfRange) {
  const Bank bank(e4bank().sample("a", patternBytes(500, 1)).build());
  EXPECT_EQ(bank.failureOf(1), kIndexError);
  EXPECT_EQ(bank.failureOf(~std::uint64_t{0}), kIndexError);
}

TEST(SampleExport, OfAFileThatIsNoBankIsOutOfRange) {
  EXPECT_EQ(Bank(e4bank().sample("a", patternBytes(500, 1)).build(), 0x82).failureOf(0), kIndexError);
  EXPECT_EQ(Bank(emulatorThreeBank("Bank", 1, 1)).failureOf(0), kIndexError);
  EXPECT_EQ(Bank({}).failureOf(0), kIndexError);
}

TEST(SampleExport, SampleWithoutAChunkIsNotFound) {
  EXPECT_EQ(Bank(e4bank().toc({.type = "E4S1"}).build()).failureOf(0), kNoChunkError);
  const IffBank bank = e4bank().toc({.type = "E4S1"}).chunk("E4P1", patternBytes(20)).chunk("ESND", {});
  EXPECT_EQ(Bank(bank.build()).failureOf(0), kNoChunkError);
}

TEST(SampleExport, ChunkOfOddSizeIsFollowedByAPadByte) {
  const Bytes audio = patternBytes(101, 2);
  const IffBank bank =
      e4bank().toc({.type = "E4S1"}).chunk("E4P1", patternBytes(33, 1)).chunk("E4P1", patternBytes(1, 1));
  EXPECT_EQ(Bank(IffBank(bank).chunk("E4S1", audio).build()).wav(0), wavOf(joined({audio, Bytes{0}})))
      << "its own pad byte belongs to the rest of the file";
}

TEST(SampleExport, FirstChunkOfTheTypeGivesWhatFollowsTheTableSize) {
  const Bytes contents = e4bank().firstChunk("E4S1").toc({.type = "E4S1"}).chunk("E4S1", {}).build();
  EXPECT_EQ(Bank(contents).wav(0), wavOf(Bytes(contents.begin() + 20, contents.end())));
}

TEST(SampleExport, ShorterTypeIsCompletedByAZeroByte) {
  const Bytes audio = patternBytes(100, 2);
  const IffBank bank = e4bank().toc({.type = "E4S"}).chunk("E4S1", patternBytes(10)).chunk("E4S", audio);
  EXPECT_EQ(Bank(bank.build()).wav(0), wavOf(audio));
}

TEST(SampleExport, ChunkHeaderAtTheVeryEndGivesNoAudio) {
  const IffBank bank = e4bank().toc({.type = "E4S1"}).chunk("E4P1", patternBytes(10)).chunk("E4S1", {});
  EXPECT_EQ(Bank(bank.build()).wav(0), wavOf({}));
}

TEST(SampleExport, ChunkHeaderThatIsNotWholeIsNotFound) {
  const Bytes whole = e4bank().toc({.type = "E4S1"}).chunk("E4S1", {}).build();
  for (std::size_t missing = 1; missing <= 8; ++missing) {
    EXPECT_EQ(Bank(Bytes(whole.begin(), whole.end() - static_cast<std::ptrdiff_t>(missing))).failureOf(0),
              kNoChunkError)
        << missing;
  }
}

TEST(SampleExport, FoundChunksOwnSizePlaysNoPart) {
  const Bytes audio = patternBytes(100, 2);
  for (const std::uint32_t size : {0U, 1U, 0xFFFFFFFFU}) {
    const IffBank bank = e4bank().toc({.type = "E4S1"}).chunk("E4S1", audio, size);
    EXPECT_EQ(Bank(bank.build()).wav(0), wavOf(audio));
  }
}

TEST(SampleExport, WalkThatCannotAdvanceEnds) {
  for (const std::uint32_t size : {0xFFFFFFF8U, 0xFFFFFFF7U}) { // either adds up to no step at all
    const IffBank bank = e4bank().toc({.type = "E4S1"}).chunk("E4P1", {}, size).chunk("E4S1", {});
    EXPECT_EQ(Bank(bank.build()).failureOf(0), kNoChunkError);
  }
}

TEST(SampleExport, StepThatWrapsGoesOnFromWhereItLeads) {
  // The sum of a size of 0xFFFFFFFF, its pad byte and the chunk's header is 8: the next header follows.
  const Bytes audio = patternBytes(100, 2);
  const IffBank bank = e4bank().toc({.type = "E4S1"}).chunk("E4P1", {}, 0xFFFFFFFF).chunk("E4S1", audio);
  EXPECT_EQ(Bank(bank.build()).wav(0), wavOf(audio));
}

TEST(SampleExport, StepBehindTheEndIsNotFound) {
  for (const std::uint32_t size : {0x7FFFFFFFU, 0xFFFFFFF0U, 0x80000000U}) {
    const IffBank bank = e4bank().toc({.type = "E4S1"}).chunk("E4P1", {}, size).chunk("E4S1", {});
    EXPECT_EQ(Bank(bank.build()).failureOf(0), kNoChunkError);
  }
}

TEST(SampleExport, SlowWalkThroughALongBankEnds) {
  IffBank bank = e4bank().toc({.type = "E4S1"});
  for (int i = 0; i < 20000; ++i)
    bank.chunk("E4P1", {});
  EXPECT_EQ(Bank(bank.build()).failureOf(0), kNoChunkError);
}

TEST(SampleExport, OfABankThatRunsOffTheImageGivesTheAudioThatIsThere) {
  const Bytes contents = e4bank().sample("a", patternBytes(2000, 1)).build();
  ImageBuilder image(smallLayout());
  image.root().addFile("bank", contents);
  image.resize(18 * kBlockBytes + 77); // two of its blocks
  const MountedVolume volume(image);
  const TemporaryFolder host;
  ASSERT_TRUE(volume->exportSampleAtIndex(0, volume.root()->files()[0], host.path("a.wav")));
  EXPECT_EQ(readBytes(host.path("a.wav")),
            wavOf(Bytes(contents.begin() + 20 + 32 + 8, contents.begin() + 1024)));
}

TEST(SampleExport, WavReplacesAnEarlierFileAndKeepsItsPermissions) {
  const Umask umask(022);
  const Bank bank(e4bank().sample("a", patternBytes(500, 1)).build());
  writeBytes(bank.target(), patternBytes(9000, 5));
  setPermissions(bank.target(), 0600);
  EXPECT_EQ(bank.wav(0), wavOf(patternBytes(500, 1)));
  EXPECT_EQ(permissionsOf(bank.target()), mode_t{0600});
  EXPECT_EQ(namesIn(bank.host.path()), Names{"sample.wav"});
}

TEST(SampleExport, WavThatCannotBeWrittenIsReportedAndKeepsTheEarlierFile) {
  const Bank bank(e4bank().sample("a", patternBytes(500, 1)).build());
  writeText(bank.target(), "earlier");
  EMU3Error error;
  {
    const FileSizeLimit limit(400);
    EXPECT_FALSE(bank.volume->exportSampleAtIndex(0, bank.file(), bank.target(), &error));
  }
  EXPECT_EQ(error.description(), kWavWriteError);
  EXPECT_EQ(readText(bank.target()), "earlier");
  EXPECT_EQ(namesIn(bank.host.path()), Names{"sample.wav"});
}

TEST(SampleExport, WavIntoAFolderThatIsNotThereOrMayNotBeWrittenIsReported) {
  const Bank bank(e4bank().sample("a", patternBytes(500, 1)).build());
  EMU3Error error;
  EXPECT_FALSE(bank.volume->exportSampleAtIndex(0, bank.file(), bank.host.path("absent/a.wav"), &error));
  EXPECT_EQ(error.description(), kWavWriteError);
  setPermissions(bank.host.path(), 0555);
  const OtherUser user;
  EXPECT_EQ(bank.failureOf(0), kWavWriteError);
}

TEST(SampleExport, WavOntoAFolderIsReported) {
  const Bank bank(e4bank().sample("a", patternBytes(500, 1)).build());
  std::filesystem::create_directory(bank.target());
  EMU3Error error;
  EXPECT_FALSE(bank.volume->exportSampleAtIndex(0, bank.file(), bank.target(), &error));
  EXPECT_EQ(error.description(), kWavWriteError);
  EXPECT_TRUE(std::filesystem::is_directory(bank.target()));
}

} // namespace
} // namespace tessary::test
