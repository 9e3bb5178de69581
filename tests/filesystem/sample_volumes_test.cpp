// The builder and its ready-made volumes, seen through the engine.

#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/SampleVolumes.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>

namespace tessary {
namespace {

using namespace test;

struct Counts {
  std::size_t folders = 0; ///< the root not counted
  std::size_t files = 0;
  bool operator==(const Counts &) const = default;
};

Counts countsOf(const EMU3DirectoryPtr &root) {
  Counts counts;
  for (const auto &folder : directoriesInPreOrder(root)) {
    counts.folders += folder->subdirectories().size();
    counts.files += folder->files().size();
  }
  return counts;
}

/// What makes a volume sound: every file inside the image, marked, and alone in its blocks; no other mark.
void expectSound(const MountedVolume &volume) {
  EXPECT_GE(volume->describedBlocks(), volume->totalBlocks());
  std::vector<bool> owned(volume->totalBlocks());
  std::fill_n(owned.begin(), volume->dataAreaBlock(), true);
  for (const auto &folder : directoriesInPreOrder(volume.root())) {
    for (const auto &file : folder->files()) {
      const auto slot = std::uint64_t{std::max<std::uint16_t>(file->startCluster(), 1)};
      const std::uint64_t first = volume->dataAreaBlock() + volume->slotSizeBlocks() * (slot - 1);
      for (std::uint64_t block = first; block < first + file->blocksInLastCluster(); ++block) {
        ASSERT_LT(block, volume->totalBlocks()) << file->name();
        ASSERT_FALSE(owned[block]) << file->name();
        owned[block] = true;
      }
    }
  }
  const Bytes table = readBytes(volume.imagePath(), volume->fatStartBlock() * kBlockBytes, 2 * owned.size());
  std::size_t wrong = 0;
  for (std::size_t block = 0; block < owned.size(); ++block)
    if ((table[2 * block] | (table[2 * block + 1] << 8)) != (owned[block] ? 0x8000 : 0)) ++wrong;
  EXPECT_EQ(wrong, 0U);
}

TEST(ImageBuilder, EmptyVolumeIsSound) {
  for (const std::uint64_t size : {2 * kMiB, 64 * kMiB}) {
    const MountedVolume volume(ImageBuilder({.sizeBytes = size}));
    EXPECT_EQ(countsOf(volume.root()), Counts());
    expectSound(volume);
  }
}

TEST(ImageBuilder, TableHasAnEntryForEveryBlockBeforeTheRoot) {
  EXPECT_EQ(ImageBuilder({.sizeBytes = 64 * kMiB}).rootDirBlock(), 2 + 512U);
  EXPECT_EQ(ImageBuilder({.sizeBytes = kGiB}).rootDirBlock(), 2 + 8192U);
}

TEST(ImageBuilder, FileIsTheImageInMemory) {
  const TemporaryFolder folder;
  ImageBuilder image({.sizeBytes = 300 * kKiB + 77, .directoryBlocks = 20});
  image.root().addFile("File", patternBytes(9999));
  image.poke(image.sizeBytes() - 3, {1, 2, 3});
  image.writeTo(folder.path("disk.hda"));
  const Bytes written = readBytes(folder.path("disk.hda"));
  EXPECT_EQ(written.size(), 300 * kKiB + 77);
  EXPECT_EQ(written, image.build());
  EXPECT_EQ(written.back(), 3);
}

TEST(ImageBuilder, ImageOfOneGiBIsSparse) {
  const TemporaryFolder folder;
  ImageBuilder({.sizeBytes = kGiB}).writeTo(folder.path("disk.hda"));
  struct stat status {};
  ASSERT_EQ(::stat(folder.path("disk.hda").c_str(), &status), 0);
  EXPECT_EQ(static_cast<std::uint64_t>(status.st_size), kGiB);
  EXPECT_LT(static_cast<std::uint64_t>(status.st_blocks) * 512, 8 * kMiB);
}

TEST(ImageBuilder, ResizeCutsAndClears) {
  ImageBuilder image({.sizeBytes = 64 * kKiB, .directoryBlocks = 20});
  image.poke(40000, {7});
  image.resize(40000).resize(64 * kKiB);
  EXPECT_EQ(image.peek(40000, 1), Bytes{0});
}

TEST(ImageBuilder, MisuseIsRefused) {
  ImageBuilder image({.sizeBytes = kMiB, .slotSizeBlocks = 64, .directoryBlocks = 3});
  auto folder = image.root().addFolder("Folder");
  for (int i = 0; i < 16; ++i)
    folder.addFile("File", {});
  EXPECT_THROW(folder.addFile("Too many", {}), std::logic_error);
  EXPECT_THROW(image.root().addFile("A name of 17 byte", {}), std::logic_error);
  EXPECT_THROW(image.root().addFile("Large", {}, {.sizeBytes = 2 * kMiB}), std::logic_error);
  EXPECT_THROW(image.root().addFile("Larger", {}, {.sizeBytes = 65536 * kBlockBytes}), std::logic_error);
  EXPECT_THROW(image.root().addFolder("Wide", {.blockCount = 8}), std::logic_error);
  EXPECT_THROW(image.root().addFolder("No room", {.blockCount = 2}), std::logic_error);
  EXPECT_THROW(image.poke(kMiB - 1, {1, 2}), std::logic_error);
}

TEST(ImageBuilder, FoldersOfSevenBlocksNeverReadAsFiles) {
  ImageBuilder image({.sizeBytes = 8 * kMiB, .directoryBlocks = 600});
  for (int i = 0; i < 5; ++i) {
    auto outer = image.root().addFolder("Outer", {.blockCount = 7});
    for (int j = 0; j < 15; ++j)
      outer.addFolder("Inner", {.blockCount = 7});
  }
  EXPECT_EQ(countsOf(MountedVolume(image).root()), (Counts{80, 0}));
}

TEST(DemoVolume, IsSoundAndHoldsWhatAMusicianWouldHave) {
  const MountedVolume volume(demoVolume());
  EXPECT_EQ(volume->imageSize(), 64 * kMiB);
  expectSound(volume);
  EXPECT_EQ(namesOf(volume.root()->subdirectories()),
            (std::vector<std::string>{"Drums", "Basses", "Pads", "Strings", "Keys", "FX", "Earlier Banks",
                                      "Sketches"}));
  EXPECT_TRUE(folderNamed(volume.root(), "Sketches")->files().empty());
  EXPECT_EQ(fileNamed(volume.root(), "System Software")->fileType(), kFileTypeSystem);
  EXPECT_EQ(fileNamed(volume.root(), "Notes")->fileType(), kFileTypePlain);
  EXPECT_FALSE(folderNamed(folderNamed(volume.root(), "Drums"), "Loops")->files().empty());
}

TEST(DemoVolume, EveryBankIsRecognisedByItsFormat) {
  const MountedVolume volume(demoVolume());
  std::map<std::int64_t, int> formats;
  for (const auto &folder : directoriesInPreOrder(volume.root())) {
    for (const auto &file : folder->files()) {
      if (file->fileType() != kFileTypeBank) continue;
      ASSERT_TRUE(volume->populateBankMetadata(file));
      EXPECT_EQ(file->bankName(), file->name());
      EXPECT_GT(file->presetCount(), 0U) << file->name();
      EXPECT_GT(file->sampleCount(), 0U) << file->name();
      ++formats[file->bankFormat()];
    }
  }
  EXPECT_EQ(formats, (std::map<std::int64_t, int>{{1, 3}, {2, 2}, {3, 2}, {4, 25}}));
}

TEST(DemoVolume, SamplesAreAudible) {
  const MountedVolume volume(demoVolume());
  const auto folder = folderNamed(volume.root(), "Drums");
  const auto file = fileNamed(folder, "Acoustic Kit");
  const auto samples = volume->samplesFromBankFile(file);
  EXPECT_EQ(samples, (std::vector<std::string>{"E4S1", "E4S2", "E4S3", "E4S4"}));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::string path = volume.folder().path(samples[i] + ".wav");
    ASSERT_TRUE(volume->exportSampleAtIndex(i, file, path));
    const Bytes wav = readBytes(path);
    ASSERT_GT(wav.size(), 44U + 20000U);
    int loudest = 0;
    for (std::size_t at = 44; at + 1 < 44 + 20000; at += 2)
      loudest = std::max(loudest, std::abs(static_cast<std::int16_t>(wav[at] | (wav[at + 1] << 8))));
    EXPECT_GT(loudest, 8000) << samples[i];
  }
}

TEST(DemoVolume, IsTheSameOnEveryRun) {
  EXPECT_EQ(demoVolume().build(), demoVolume().build());
}

// --- The program that writes them ----------------------------------------------------------------------

struct ToolRun {
  int status = -1;
  std::string output; ///< both streams
};

ToolRun runTool(const std::string &arguments) {
  const std::string command = std::string("\"") + TESSARY_MAKE_DEMO_IMAGE + "\" " + arguments + " 2>&1";
  ToolRun run;
  FILE *const pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::system_error(errno, std::generic_category(), command);
  for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe))
    run.output += static_cast<char>(byte);
  const int status = ::pclose(pipe);
  if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
  return run;
}

TEST(MakeDemoImage, WritesTheDemoVolumeSilently) {
  const TemporaryFolder folder;
  const ToolRun run = runTool(folder.path("demo.hda"));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "");
  EXPECT_TRUE(readBytes(folder.path("demo.hda")) == demoVolume().build());
}

TEST(MakeDemoImage, OptionsChooseAnotherVolume) {
  const TemporaryFolder folder;
  EXPECT_EQ(runTool("--big " + folder.path("big.hda")).status, 0);
  EXPECT_EQ(std::filesystem::file_size(folder.path("big.hda")), kGiB);
  EXPECT_EQ(runTool(folder.path("banks.hda") + " --banks112").status, 0);
  EXPECT_EQ(std::filesystem::file_size(folder.path("banks.hda")), 256 * kMiB);
}

TEST(MakeDemoImage, WrongWordsExitWithTwoAndShowTheUsage) {
  const TemporaryFolder folder;
  for (const std::string &words :
       {std::string(), std::string("--big"), folder.path("a") + " " + folder.path("b"),
        folder.path("a") + " --small", folder.path("a") + " --big --banks112"}) {
    const ToolRun run = runTool(words);
    EXPECT_EQ(run.status, 2) << words;
    EXPECT_TRUE(run.output.starts_with("Usage: make-demo-image")) << words;
  }
  EXPECT_TRUE(namesIn(folder.path()).empty());
}

TEST(MakeDemoImage, FailureNamesTheFile) {
  const TemporaryFolder folder;
  const std::string path = folder.path("missing/demo.hda");
  const ToolRun run = runTool(path);
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(run.output.starts_with("make-demo-image: " + path)) << run.output;
}

// --- Large volumes --------------------------------------------------------------------------------------

TEST(BigVolume, Has40NestedFoldersOfUpTo112Files) {
  const MountedVolume volume(bigVolume());
  EXPECT_EQ(volume->imageSize(), kGiB);
  EXPECT_EQ(countsOf(volume.root()).folders, 40U);
  std::size_t most = 0;
  for (const auto &folder : directoriesInPreOrder(volume.root()))
    most = std::max(most, folder->files().size());
  EXPECT_EQ(most, 112U);
  expectSound(volume);
}

TEST(Banks112Volume, Holds112BanksOf2MiBInOneFolder) {
  const MountedVolume volume(banks112Volume());
  const auto files = folderNamed(volume.root(), "Banks")->files();
  ASSERT_EQ(files.size(), 112U);
  expectSound(volume);
  for (const auto &file : files) {
    EXPECT_EQ(file->fileSize(), 2 * kMiB);
    ASSERT_TRUE(volume->populateBankMetadata(file));
    EXPECT_EQ(file->bankDetails(), (BankDetails{file->name() + " 01", 4, 30, 60}));
  }
}

} // namespace
} // namespace tessary
