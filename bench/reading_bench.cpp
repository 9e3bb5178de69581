#include "bench/PairedTimes.h"
#include "bench/PlainMapping.h"
#include "filesystem/ImageMapping.h"
#include "tessary/EMU3Filesystem.h"
#include "tests/support/SampleVolumes.h"
#include "tests/support/TemporaryFolder.h"

#include <cstring>
#include <numeric>

namespace tessary::bench {
namespace {

struct Image {
  explicit Image(const test::ImageBuilder &builder) : path(folder.path("image.hda")) {
    builder.writeTo(path);
  }
  test::TemporaryFolder folder;
  std::string path;
};

const Image &bigImage() {
  static const Image image(test::bigVolume());
  return image;
}

std::vector<std::uint64_t> directoryBlocks(const EMU3Filesystem &volume) {
  std::vector<std::uint64_t> blocks;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory())) {
    for (const std::int64_t block : folder->blockList())
      blocks.push_back(static_cast<std::uint64_t>(block));
  }
  return blocks;
}

void copyTable(const PlainMapping &mapping, std::uint64_t first, std::vector<std::uint8_t> &to) {
  to.resize(1024 * 512);
  std::memcpy(to.data(), mapping.block(first), to.size());
  benchmark::DoNotOptimize(to.data());
}

// Opening: the table and the directory blocks of the 1 GiB image, each mapping made anew as opening does.
void openBigImage(benchmark::State &state) {
  const std::string &path = bigImage().path;
  const EMU3FilesystemPtr known = EMU3Filesystem::initWithURL(path);
  const std::vector<std::uint64_t> blocks = directoryBlocks(*known);
  std::vector<std::uint8_t> buffer;
  std::vector<std::uint8_t> block(512);
  PairedTimes().measure(
      state, [&] { benchmark::DoNotOptimize(EMU3Filesystem::initWithURL(path)); },
      [&] {
        const PlainMapping mapping(path);
        copyTable(mapping, known->fatStartBlock(), buffer);
        for (const std::uint64_t number : blocks)
          std::memcpy(block.data(), mapping.block(number), block.size());
        benchmark::DoNotOptimize(block.data());
      });
  std::size_t files = 0;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(known->rootDirectory()))
    files += folder->files().size();
  state.counters["files"] = static_cast<double>(files);
  state.counters["directory_blocks"] = static_cast<double>(blocks.size());
}
BENCHMARK(openBigImage)->UseManualTime()->Unit(benchmark::kMicrosecond)->MinTime(1);

// The scan alone, on a mapping that is already there.
void scanAllocationTable(benchmark::State &state) {
  const std::string &path = bigImage().path;
  EMU3Error error;
  const std::unique_ptr<ImageMapping> ours = ImageMapping::open(path, &error);
  const PlainMapping plain(path);
  const std::uint64_t first = EMU3Filesystem::initWithURL(path)->fatStartBlock();
  std::vector<std::uint8_t> buffer;
  PairedTimes().measure(
      state,
      [&] {
        std::uint64_t used = 0;
        ours->countNonZeroWords(first, first + 1024, &used);
        benchmark::DoNotOptimize(used);
      },
      [&] { copyTable(plain, first, buffer); });
}
BENCHMARK(scanAllocationTable)->UseManualTime()->Unit(benchmark::kMicrosecond)->MinTime(1);

// Details of 112 banks of 2 MiB. The banks are compared whole, as if a bank had to be read to know it, and
// by the bytes that the analysis looks at.
void bankDetails(benchmark::State &state) {
  const bool whole = state.range(0) != 0;
  static const Image image(test::banks112Volume());
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image.path);
  const std::vector<EMU3FilePtr> files = volume->rootDirectory()->subdirectories().front()->allFiles();
  const PlainMapping plain(image.path);
  std::vector<std::uint8_t> buffer(2 * 1024 * 1024);
  std::vector<std::uint64_t> touched;
  for (const EMU3FilePtr &file : files) {
    const std::uint64_t first =
        volume->dataAreaBlock() + volume->slotSizeBlocks() * (file->startCluster() - 1U);
    const std::uint8_t *const bank = plain.block(first);
    const std::uint64_t toc =
        (std::uint64_t{bank[16]} << 24 | bank[17] << 16 | bank[18] << 8 | bank[19]) + 20;
    touched.push_back(whole ? file->fileSize() : std::min(toc, file->fileSize()));
  }
  PairedTimes().measure(
      state,
      [&] {
        for (const EMU3FilePtr &file : files)
          volume->populateBankMetadata(file);
      },
      [&] {
        for (std::size_t i = 0; i < files.size(); ++i) {
          const std::uint64_t first =
              volume->dataAreaBlock() + volume->slotSizeBlocks() * (files[i]->startCluster() - 1U);
          std::memcpy(buffer.data(), plain.block(first), touched[i]);
          benchmark::DoNotOptimize(buffer.data());
        }
      });
  state.counters["bytes"] =
      static_cast<double>(std::accumulate(touched.begin(), touched.end(), std::uint64_t{0}));
  state.SetLabel(whole ? "beside a copy of the banks" : "beside a copy of the tables of contents");
}
BENCHMARK(bankDetails)->Arg(1)->Arg(0)->UseManualTime()->Unit(benchmark::kMicrosecond)->MinTime(1);

} // namespace
} // namespace tessary::bench
