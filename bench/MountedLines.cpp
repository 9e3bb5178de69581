#include "bench/PlainMapping.h"
#include "bench/Processes.h"
#include "bench/SpeedVolumes.h"
#include "bench/Workplace.h"
#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/SampleVolumes.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

// Lines of the speed table that are measured inside this process: the work is too short to be told from the
// start of a process.
namespace tessary::bench {
namespace {

template <typename Work> double secondsOf(const Work &work) {
  const double begin = cpuSecondsSoFar();
  work();
  return cpuSecondsSoFar() - begin;
}

void keep(const void *bytes) {
  asm volatile("" : : "g"(bytes) : "memory"); // the compiler may not leave out what made them
}

EMU3FilesystemPtr mounted(const std::string &image) {
  EMU3Error error;
  EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image, MountRules::guarded, &error);
  if (!volume) throw std::runtime_error(error.message);
  return volume;
}

/// The blocks that opening must touch: the table as far as it is written, and the folders' blocks.
struct Touched {
  std::uint64_t firstOfTable = 0;
  std::uint64_t blocksOfTable = 0;
  std::vector<std::uint64_t> directoryBlocks;
};

Touched touchedBy(const EMU3Filesystem &volume, const std::string &image) {
  Touched touched{volume.fatStartBlock(), 0, {}};
  const int fd = ::open(image.c_str(), O_RDONLY);
  const std::uint64_t tableBytes = (volume.describedBlocks() * 2 + 511) / 512 * 512;
  const auto begin = static_cast<off_t>(touched.firstOfTable * 512);
  const off_t hole = ::lseek(fd, begin, SEEK_HOLE);
  ::close(fd);
  touched.blocksOfTable = std::min(tableBytes, static_cast<std::uint64_t>(hole - begin)) / 512;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory())) {
    for (const std::int64_t block : folder->blockList())
      touched.directoryBlocks.push_back(static_cast<std::uint64_t>(block));
  }
  return touched;
}

void open(const Workplace &place) {
  const std::string work = "open, 3,117 files";
  if (!place.isWanted(work)) return;
  const std::string image = place.image("big.hda", [] { return test::bigVolume(); });
  const Touched touched = touchedBy(*mounted(image), image);
  test::Bytes buffer(std::max<std::uint64_t>(touched.blocksOfTable, 1) * 512);
  constexpr int times = 20;
  place.line({work, "copy of the blocks it must touch", 2,
              [&] {
                return secondsOf([&] {
                         for (int i = 0; i < times; ++i)
                           keep(mounted(image).get());
                       }) /
                       times;
              },
              [&] {
                return secondsOf([&] {
                         for (int i = 0; i < times; ++i) {
                           const PlainMapping plain(image);
                           std::memcpy(buffer.data(), plain.block(touched.firstOfTable),
                                       touched.blocksOfTable * 512);
                           keep(buffer.data());
                           for (const std::uint64_t block : touched.directoryBlocks) {
                             std::memcpy(buffer.data(), plain.block(block), 512);
                             keep(buffer.data());
                           }
                         }
                       }) /
                       times;
              }});
}

/// An image that stays mounted while files are imported into its last folder.
class ImportTarget {
public:
  ImportTarget(const Workplace &place, std::size_t files)
      : path_(place.image("target" + std::to_string(files) + ".hda",
                          [files] { return smallFilesVolume(files, 586); })),
        volume_(mounted(path_)),
        folder_(volume_->rootDirectory()->subdirectories().back()->subdirectories().back()) {}

  /// CPU seconds of one import, on the average of several, each of which is deleted again.
  double secondsOfImport(const std::string &hostFile) {
    constexpr int times = 40;
    double seconds = 0;
    for (int i = 0; i < times; ++i) {
      bool isDone = false;
      seconds += secondsOf([&] { isDone = volume_->importFileAtURL(hostFile, folder_); });
      if (!isDone) throw std::runtime_error("the import failed");
      volume_->deleteFile(folder_->files().back(), folder_);
    }
    return seconds / times;
  }

private:
  const std::string path_;
  const EMU3FilesystemPtr volume_;
  const EMU3DirectoryPtr folder_;
};

void importBesideMany(const Workplace &place) {
  const std::string work = "one 4 KiB import at 65,400 files";
  if (!place.isWanted(work)) return;
  const std::string hostFile = place.path("one.e4b");
  test::writeBytes(hostFile, smallBank(1));
  ImportTarget full(place, 65400);
  ImportTarget empty(place, 0);
  place.line({work, "the same into an empty volume", 1.3, [&] { return full.secondsOfImport(hostFile); },
              [&] { return empty.secondsOfImport(hostFile); }});
}

void details(const Workplace &place) {
  const std::string work = "details of 112 banks";
  if (!place.isWanted(work)) return;
  const std::string image = place.image("banks.hda", [] { return test::banks112Volume(); });
  const EMU3FilesystemPtr volume = mounted(image);
  volume->claimForChanges(); // so that nothing is read twice, as in a window
  const std::vector<EMU3FilePtr> files = volume->rootDirectory()->subdirectories().front()->allFiles();
  const PlainMapping plain(image);
  test::Bytes buffer(64 * 1024);
  constexpr int times = 100;
  place.line({work, "copy of their tables of contents", 10,
              [&] {
                return secondsOf([&] {
                         for (int i = 0; i < times; ++i)
                           for (const EMU3FilePtr &file : files)
                             volume->refreshBankMetadata(file);
                       }) /
                       times;
              },
              [&] {
                return secondsOf([&] {
                         for (int i = 0; i < times; ++i)
                           for (const EMU3FilePtr &file : files) {
                             const std::uint8_t *const bank =
                                 plain.block(volume->dataAreaBlock() +
                                             volume->slotSizeBlocks() * (file->startCluster() - 1U));
                             const std::size_t table = 20 + (std::size_t{bank[16]} << 24 | bank[17] << 16 |
                                                             bank[18] << 8 | bank[19]);
                             std::memcpy(buffer.data(), bank, std::min(table, buffer.size()));
                             keep(buffer.data());
                           }
                       }) /
                       times;
              }});
}

} // namespace

void compareMountedWork(const Workplace &place) {
  open(place);
  importBesideMany(place);
  details(place);
}

} // namespace tessary::bench
