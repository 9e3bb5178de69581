#include "tests/writing/WritableVolume.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

// Volumes with short tables and long files: what the guards are for, seen whole.

// Contents of the n-th file of a test.
Bytes contentsNumber(std::size_t number, std::size_t length = kMiB) {
  return patternBytes(length, static_cast<std::uint32_t>(number) + 1);
}

std::string nameNumber(std::size_t number) {
  return "bank " + std::to_string(number);
}

void importNumber(const WritableVolume &volume, std::size_t number, const EMU3DirectoryPtr &folder,
                  std::size_t length = kMiB) {
  EMU3Error error;
  const std::string path = volume.hostFile(nameNumber(number), contentsNumber(number, length));
  ASSERT_TRUE(volume->importFileAtURL(path, folder, &error)) << number << ": " << error.message;
}

// Every header field 0, so that the table has four blocks, enough for 1024 of the volume's 167,000.
TEST(DefaultGeometry, FortyFilesAndTheFoldersMadeBetweenThemAreAllThereAfterOpeningAnew) {
  const WritableVolume volume(ImageBuilder(VolumeLayout::zeroHeader(82 * kMiB)), MountRules::guarded);
  EMU3DirectoryPtr folder = volume.root();
  std::vector<std::vector<std::size_t>> numbersIn(1);
  for (std::size_t number = 0; number < 40; ++number) {
    if (number % 9 == 4) {
      ASSERT_TRUE(volume->createDirectoryNamed("folder " + std::to_string(number), volume.root()));
      folder = volume.root()->subdirectories().back();
      numbersIn.emplace_back();
    }
    importNumber(volume, number, folder);
    numbersIn.back().push_back(number);
  }
  const EMU3FilesystemPtr again = volume.openedAnew();
  std::vector<EMU3DirectoryPtr> folders = again->rootDirectory()->subdirectories();
  folders.insert(folders.begin(), again->rootDirectory());
  ASSERT_EQ(folders.size(), numbersIn.size());
  for (std::size_t i = 0; i < folders.size(); ++i) {
    ASSERT_EQ(folders[i]->files().size(), numbersIn[i].size()) << folders[i]->name();
    for (std::size_t k = 0; k < numbersIn[i].size(); ++k) {
      const EMU3FilePtr file = folders[i]->files()[k];
      EXPECT_EQ(file->name(), nameNumber(numbersIn[i][k]));
      const std::string path = volume.folder().path("export");
      ASSERT_TRUE(again->exportFile(file, path));
      EXPECT_TRUE(readBytes(path, 0, kMiB + 1) == contentsNumber(numbersIn[i][k])) << file->name();
    }
  }
}

TEST(DefaultGeometry, GuardedMarksStopAtTheFourthTableBlock) {
  WritableVolume volume(ImageBuilder(VolumeLayout::zeroHeader(8 * kMiB)), MountRules::guarded);
  importNumber(volume, 0, volume.root());
  putData(volume.expected, 175, contentsNumber(0));
  putMarks(volume.expected, 175, 1024 - 175, 0x8000);
  volume.expected.pokeEntry({6, 0}, newFileEntry("bank 0", 1, 0, kMiB));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

// The bare rules on the same volume: the marks of each file run over the root block, the folders and at
// last the contents of the first file.
TEST(DefaultGeometry, BareMarksRunOverEverythingBehindTheTable) {
  WritableVolume volume{ImageBuilder(VolumeLayout::zeroHeader(26 * kMiB))};
  for (std::size_t number = 0; number < 12; ++number) {
    importNumber(volume, number, volume.root());
    const auto slot = static_cast<std::uint16_t>(number + 1);
    const auto id = static_cast<std::uint8_t>(number);
    putNewFile(volume.expected, {6, number}, nameNumber(number), slot, id, contentsNumber(number));
    ASSERT_TRUE(volume.imageIsAsExpected()) << "after file " << number;
  }
  const EMU3FilesystemPtr again = volume.openedAnew();
  EXPECT_FALSE(contentsOf(*again, again->rootDirectory()->files().at(0)) == contentsNumber(0))
      << "the marks of slot 12 lie in the contents of slot 1";
}

// --- Files longer than a slot ----------------------------------------------------------------------

VolumeLayout layoutWithSlotsOf2MiB() {
  return {.sizeBytes = 20 * kMiB, .slotSizeBlocks = 4096, .directoryBlocks = 12};
}

TEST(LongFile, GuardedIsLeftIntactByTheNextOne) {
  WritableVolume volume(ImageBuilder(layoutWithSlotsOf2MiB()), MountRules::guarded);
  importNumber(volume, 0, volume.root(), 5 * kMiB);
  importNumber(volume, 1, volume.root(), kMiB);
  const std::uint64_t root = volume->rootDirBlock();
  putNewFile(volume.expected, {root, 0}, "bank 0", 1, 0, contentsNumber(0, 5 * kMiB));
  putNewFile(volume.expected, {root, 1}, "bank 1", 4, 1, contentsNumber(1));
  EXPECT_TRUE(volume.imageIsAsExpected());
  const EMU3FilesystemPtr again = volume.openedAnew();
  EXPECT_TRUE(contentsOf(*again, again->rootDirectory()->files().at(0)) == contentsNumber(0, 5 * kMiB));
  EXPECT_TRUE(contentsOf(*again, again->rootDirectory()->files().at(1)) == contentsNumber(1));
}

TEST(LongFile, BareIsOverwrittenByTheNextOne) {
  WritableVolume volume{ImageBuilder(layoutWithSlotsOf2MiB())};
  importNumber(volume, 0, volume.root(), 5 * kMiB);
  importNumber(volume, 1, volume.root(), kMiB);
  const std::uint64_t root = volume->rootDirBlock();
  putNewFile(volume.expected, {root, 0}, "bank 0", 1, 0, contentsNumber(0, 5 * kMiB));
  putNewFile(volume.expected, {root, 1}, "bank 1", 2, 1, contentsNumber(1));
  EXPECT_TRUE(volume.imageIsAsExpected());
}

TEST(LongFile, GuardedSamplersOwnBankOfSeveralClustersIsLeftIntact) {
  ImageBuilder image(layoutWithSlotsOf2MiB());
  image.root().addFile("sampler's", contentsNumber(0, 5 * kMiB));
  const WritableVolume volume(std::move(image), MountRules::guarded);
  importNumber(volume, 1, volume.root());
  EXPECT_EQ(volume.root()->files().at(1)->startCluster(), 4);
  const EMU3FilesystemPtr again = volume.openedAnew();
  EXPECT_TRUE(contentsOf(*again, again->rootDirectory()->files().at(0)) == contentsNumber(0, 5 * kMiB));
}

} // namespace
} // namespace tessary::test
