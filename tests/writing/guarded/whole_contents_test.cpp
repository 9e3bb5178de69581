// Contents are passed on whole or not at all, and never over a mounted image.

#include "filesystem/FileReading.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/UnreadablePages.h"
#include "tests/writing/EngineParts.h"
#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>

namespace tessary::test {
namespace {

Bytes bankContents() {
  return IffBank("E4B0").preset("Piano").sample("Kick", patternBytes(19000, 1)).build();
}

// A bank of 38 blocks in slot 1, from block 16 on, and a folder.
ImageBuilder volumeWithBank() {
  ImageBuilder image(smallLayout());
  image.root().addFile("bank", bankContents());
  image.root().addFolder("folder", {.blockList = {5}});
  return image;
}

// What must be refused for such a bank, and what must not.
class Incomplete {
public:
  explicit Incomplete(ImageBuilder image) : volume(std::move(image)) {}

  void expectNothingPassedOn() const {
    const EMU3FilePtr bank = volume.file("bank");
    const EMU3DirectoryPtr folder = volume.folderAt("folder");
    const std::string target = volume.folder().path("target");
    for (const bool isThere : {false, true}) {
      std::filesystem::remove(target);
      if (isThere) writeText(target, "earlier");
      volume.expectRefused(kIncompleteError,
                           [&](EMU3Error *error) { return volume->exportFile(bank, target, error); });
      volume.expectRefused(kIncompleteError, [&](EMU3Error *error) {
        return volume->exportSampleAtIndex(0, bank, target, error);
      });
      EXPECT_EQ(std::filesystem::exists(target), isThere);
    }
    EXPECT_EQ(readText(target), "earlier");
    volume.expectRefused(kIncompleteError,
                         [&](EMU3Error *error) { return volume->contentsOfFile(bank, error) != nullptr; });
    volume.expectRefused(kIncompleteError,
                         [&](EMU3Error *error) { return volume->copyFile(bank, folder, error); });
    volume.expectRefused(kIncompleteError,
                         [&](EMU3Error *error) { return volume->copyFile(bank, volume.root(), error); });
  }

  // The details, the list of samples and what can be read of the contents.
  void expectDetailsShown(std::size_t readable) const {
    const EMU3FilePtr bank = volume.file("bank");
    EXPECT_TRUE(volume->populateBankMetadata(bank));
    EXPECT_EQ(bank->bankDetails().presetCount, 1U);
    EXPECT_EQ(bank->bankDetails().sampleCount, 1U);
    EXPECT_EQ(volume->samplesFromBankFile(bank), std::vector<std::string>{"E4S1"});
    const ByteBufferPtr bytes = volume->dataForFile(bank);
    const Bytes whole = bankContents();
    ASSERT_EQ(bytes->size(), readable);
    EXPECT_TRUE(std::equal(bytes->begin(), bytes->end(), whole.begin()));
  }

  GuardedVolume volume;
};

TEST(IncompleteContents, ThatEndBehindTheImageAreNotPassedOn) {
  for (const std::uint64_t blocks : {17U, 30U, 53U}) { // 54 would be all
    ImageBuilder image = volumeWithBank();
    image.resize(blocks * kBlockBytes);
    const Incomplete incomplete(std::move(image));
    incomplete.expectNothingPassedOn();
    incomplete.expectDetailsShown((blocks - 16) * kBlockBytes);
    incomplete.expectNothingPassedOn(); // cached by now
  }
}

TEST(IncompleteContents, ThatEndInAPartialBlockAreNotPassedOn) {
  ImageBuilder image = volumeWithBank();
  image.resize(54 * kBlockBytes - 1); // every byte of the bank would be there
  ASSERT_LT(bankContents().size(), 38 * kBlockBytes - 1);
  Incomplete(std::move(image)).expectNothingPassedOn();
}

TEST(IncompleteContents, ThatLieBehindTheImageAltogetherAreNotPassedOn) {
  ImageBuilder image(smallLayout());
  image.root().addFolder("folder", {.blockList = {5}});
  image.root().addFile("bank", bytesOf("x"), {.slot = std::uint16_t{63}, .storesContents = false});
  Incomplete(std::move(image)).expectNothingPassedOn();
}

TEST(IncompleteContents, WithABlockTooManyAreNotPassedOnThoughTheirSizeIsThere) {
  ImageBuilder image = volumeWithBank();
  image.pokeEntry({4, 0}, rawFileEntry("bank", 0x81, 0, 1, 1, 39, 0)); // 38 blocks of bytes
  image.resize(54 * kBlockBytes);
  Incomplete(std::move(image)).expectNothingPassedOn();
}

TEST(IncompleteContents, WithAnUnreadableMiddleAreNotPassedOn) {
  const Incomplete incomplete(volumeWithBank());
  const Bytes before = readBytes(incomplete.volume.imagePath());
  const UnreadablePage damaged(incomplete.volume.imagePath(), 32 * kBlockBytes);
  incomplete.expectNothingPassedOn();
  incomplete.expectDetailsShown(16 * kBlockBytes);
  incomplete.expectNothingPassedOn();
  EXPECT_TRUE(incomplete.volume->deleteFile(incomplete.volume.file("bank"), incomplete.volume.root()));
}

TEST(IncompleteContents, AreMovedAllTheSame) {
  const GuardedVolume volume(volumeWithBank());
  const UnreadablePage damaged(volume.imagePath(), 32 * kBlockBytes);
  EXPECT_TRUE(volume->moveFile(volume.file("bank"), volume.root(), volume.folderAt("folder")));
  EXPECT_EQ(namesOf(volume.folderAt("folder")->files()), std::vector<std::string>{"bank"});
}

TEST(WholeContents, ThatEndWithTheImageArePassedOn) {
  ImageBuilder image = volumeWithBank();
  image.resize(54 * kBlockBytes);
  const GuardedVolume volume(std::move(image));
  const std::string target = volume.folder().path("target");
  ASSERT_TRUE(volume->exportFile(volume.file("bank"), target));
  EXPECT_EQ(readBytes(target), bankContents());
}

TEST(WholeContents, OfNoBlocksArePassedOnWhereverTheyLie) {
  ImageBuilder image(smallLayout());
  image.root().addFile("empty", {}, {.slot = std::uint16_t{65535}, .storesContents = false});
  const GuardedVolume volume(std::move(image));
  const std::string target = volume.folder().path("target");
  ASSERT_TRUE(volume->exportFile(volume.file("empty"), target));
  EXPECT_EQ(readBytes(target), Bytes{});
  EXPECT_TRUE(volume->copyFile(volume.file("empty"), volume.root()));
}

TEST(WholeContents, AreReadFromTheImageNotFromTheCache) {
  const GuardedVolume volume(volumeWithBank());
  ASSERT_NE(volume->dataForFile(volume.file("bank")), nullptr);
  const UnreadablePage damaged(volume.imagePath(), 32 * kBlockBytes);
  volume.expectRefused(kIncompleteError, [&](EMU3Error *error) {
    return volume->exportFile(volume.file("bank"), volume.folder().path("target"), error);
  });
}

// --- Never over a mounted image ----------------------------------------------------------------------

class ExportOntoAnImage : public testing::Test {
protected:
  void expectRefused(const std::string &target) {
    const EMU3FilePtr bank = volume.file("bank");
    const Bytes otherBefore = readBytes(other.imagePath());
    EMU3Error error;
    EXPECT_FALSE(volume->exportFile(bank, target, &error)) << target;
    EXPECT_EQ(error.domain, kHostErrorDomain);
    EXPECT_EQ(error.code, EBUSY);
    EXPECT_NE(error.message.find(target), std::string::npos) << error.message;
    EXPECT_FALSE(volume->exportFile(bank, target));
    EXPECT_FALSE(volume->exportSampleAtIndex(0, bank, target, &error));
    EXPECT_EQ(error.description(), kWavWriteError);
    EXPECT_TRUE(volume.imageIsAsExpected());
    EXPECT_EQ(readBytes(other.imagePath()), otherBefore);
    EXPECT_TRUE(volume.import("still there", bytesOf("x")));
  }

  GuardedVolume volume{volumeWithBank()};
  MountedVolume other{volumeWithBank(), MountRules::bare};
};

TEST_F(ExportOntoAnImage, ItsOwnIsRefused) {
  expectRefused(volume.imagePath());
}

TEST_F(ExportOntoAnImage, AnotherMountedOneIsRefused) {
  expectRefused(other.imagePath());
}

TEST_F(ExportOntoAnImage, ByALinkIsRefused) {
  const std::string link = volume.folder().path("link");
  std::filesystem::create_symlink(volume.imagePath(), link);
  expectRefused(link);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST_F(ExportOntoAnImage, ByAHardLinkIsRefused) {
  const std::string link = other.folder().path("hard");
  std::filesystem::create_hard_link(other.imagePath(), link);
  expectRefused(link);
}

TEST_F(ExportOntoAnImage, ByAnotherWayToItIsRefused) {
  expectRefused(volume.folder().path("../") +
                std::filesystem::path(volume.imagePath()).parent_path().filename().string() + "/disk.hda");
}

TEST_F(ExportOntoAnImage, ThatIsNoLongerMountedIsAllowed) {
  const std::string path = volume.folder().path("copy.hda");
  copySparse(volume.imagePath(), path);
  EMU3FilesystemPtr copy = mounted(path, MountRules::guarded);
  EXPECT_FALSE(volume->exportFile(volume.file("bank"), path));
  copy.reset();
  EXPECT_TRUE(volume->exportFile(volume.file("bank"), path));
  EXPECT_EQ(readBytes(path), bankContents());
}

// The second reading of contents that another program may change meanwhile.
TEST(SecondReading, SeesEveryByteOfTheContents) {
  constexpr std::size_t size = 700'003; // some pieces, and part of a block
  const Bytes contents = patternBytes(size, 5);
  ImageBuilder image({.sizeBytes = 4 * kMiB});
  image.root().addFile("long", contents);
  const OpenedVolume volume(std::move(image), MountRules::guarded);
  const EMU3FilePtr file = fileNamed(volume.root(), "long");
  const ReadLock lock((*volume).lock);
  ByteBuffer bytes(contents.begin(), contents.end());
  EXPECT_TRUE(areWholeBytesOfFile(*volume, *file, bytes));
  for (const std::size_t place :
       {std::size_t{0}, std::size_t{262'143}, std::size_t{262'144}, std::size_t{524'288}, size - 1}) {
    bytes[place] ^= 1;
    EXPECT_FALSE(areWholeBytesOfFile(*volume, *file, bytes)) << place;
    bytes[place] ^= 1;
  }
  bytes.push_back(0);
  EXPECT_FALSE(areWholeBytesOfFile(*volume, *file, bytes));
  bytes.resize(size - 1);
  EXPECT_FALSE(areWholeBytesOfFile(*volume, *file, bytes));
}

TEST(SecondReading, FindsNothingWhereTheImageWasCutShort) {
  ImageBuilder image({.sizeBytes = 4 * kMiB});
  image.root().addFile("zeros", Bytes(300'000, 0)); // what is cut off inside a page reads as zeros too
  image.root().addFile("empty", {});
  const OpenedVolume volume(std::move(image), MountRules::guarded);
  const EMU3FilePtr file = fileNamed(volume.root(), "zeros");
  const ReadLock lock((*volume).lock);
  const ByteBufferPtr bytes = wholeBytesOfFile(*volume, *file);
  ASSERT_TRUE(bytes);
  const std::uint64_t end =
      ((*volume).geometry().slotStartBlock(file->startCluster()) + file->blocksInLastCluster()) * kBlockBytes;
  std::filesystem::resize_file(volume.path(), end);
  EXPECT_TRUE(areWholeBytesOfFile(*volume, *file, *bytes));
  std::filesystem::resize_file(volume.path(), end - 1);
  EXPECT_FALSE(areWholeBytesOfFile(*volume, *file, *bytes));
  EXPECT_TRUE(areWholeBytesOfFile(*volume, *fileNamed(volume.root(), "empty"), {}));
}

} // namespace
} // namespace tessary::test
