#include "bench/PairedTimes.h"
#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace tessary::bench {
namespace {

constexpr std::size_t kFileCount = 48;
constexpr std::size_t kCopiedCount = 14;
constexpr std::size_t kFileBytes = 2 * 1024 * 1024;
constexpr std::uint64_t kVolumeBytes = 512ULL * 1024 * 1024;
constexpr std::size_t kFilesPerFolder = 112;

/// A volume, a second image of the same size for the plain copy, and host files of 2 MiB to import.
struct Setting {
  Setting() {
    test::ImageBuilder image({.sizeBytes = kVolumeBytes, .slotSizeBlocks = 4096});
    image.root().addFolder("Banks", {.blockCount = 7});
    image.root().addFolder("Copies", {.blockCount = 7});
    image.writeTo(folder.path("volume.hda"));
    image.writeTo(folder.path("plain.hda"));
    for (std::size_t i = 0; i < kFileCount; ++i) {
      hostFiles.push_back(folder.path("bank" + std::to_string(i) + ".e4b"));
      test::writeBytes(hostFiles.back(), test::patternBytes(kFileBytes, static_cast<std::uint32_t>(i)));
    }
    volume = EMU3Filesystem::initWithURL(folder.path("volume.hda"), MountRules::guarded);
    const int fd = ::open(folder.path("plain.hda").c_str(), O_RDWR);
    void *const bytes = ::mmap(nullptr, kVolumeBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    ::close(fd);
    if (!volume || bytes == MAP_FAILED) throw std::runtime_error("cannot set up the images");
    plain = static_cast<std::uint8_t *>(bytes);
  }
  ~Setting() { ::munmap(plain, kVolumeBytes); }

  EMU3DirectoryPtr banks() const { return volume->rootDirectory()->subdirectories().at(0); }
  EMU3DirectoryPtr copies() const { return volume->rootDirectory()->subdirectories().at(1); }
  std::uint8_t *plainSlot(std::size_t index) const { return plain + 4 * 1024 * 1024 + index * kFileBytes; }
  void importAll() const {
    for (const std::string &file : hostFiles)
      volume->importFileAtURL(file, banks());
  }
  void removeAll(const EMU3DirectoryPtr &from) const {
    for (const EMU3FilePtr &file : from->files())
      volume->deleteFile(file, from);
  }

  void copyPlain() const;

  test::TemporaryFolder folder;
  std::vector<std::string> hostFiles;
  EMU3FilesystemPtr volume;
  std::uint8_t *plain = nullptr;
};

void flushBlocks(std::uint8_t *begin, std::size_t length) {
  constexpr std::uintptr_t page = 4096;
  for (std::size_t offset = 0; offset < length; offset += 512) {
    const std::uintptr_t place = reinterpret_cast<std::uintptr_t>(begin) + offset;
    ::msync(reinterpret_cast<void *>(place / page * page), place % page + 512, MS_ASYNC);
  }
}

// The copy that a write is compared with: block by block into a mapping, each block flushed by itself.
void copyAndFlush(std::uint8_t *to, const std::uint8_t *from, std::size_t length) {
  for (std::size_t offset = 0; offset < length; offset += 512) {
    std::memcpy(to + offset, from + offset, 512);
    flushBlocks(to + offset, 512);
  }
}

std::vector<std::uint8_t> &scratch() {
  static std::vector<std::uint8_t> bytes(kFileBytes, 0x5A);
  return bytes;
}

void Setting::copyPlain() const {
  for (std::size_t i = 0; i < kFileCount; ++i)
    copyAndFlush(plainSlot(i), scratch().data(), kFileBytes);
}

void flushTable(const Setting &setting, std::size_t files) {
  for (std::size_t i = 0; i < files * (kFileBytes / 512); ++i)
    flushBlocks(setting.plain + 1024 + i * 2, 2);
}

// Beside a copy that flushes each data block alone, and beside one that flushes each mark too.
void importFiles(benchmark::State &state) {
  const bool withMarks = state.range(0) != 0;
  const Setting setting;
  setting.importAll(); // both images have their pages from here on
  setting.copyPlain();
  PairedTimes().measure(
      state, [&] { setting.importAll(); },
      [&] {
        setting.copyPlain();
        if (withMarks) flushTable(setting, kFileCount);
      },
      [&] { setting.removeAll(setting.banks()); });
  state.SetLabel(withMarks ? "copy flushes data and marks" : "copy flushes data");
}
BENCHMARK(importFiles)->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);

void copyInside(benchmark::State &state) {
  const bool withMarks = state.range(0) != 0;
  const Setting setting;
  setting.importAll();
  setting.copyPlain();
  // The table describes 128 MiB at the most: no more of the free space is known.
  std::vector<EMU3FilePtr> files = setting.banks()->files();
  files.resize(kCopiedCount);
  const auto copyAll = [&] {
    for (const EMU3FilePtr &file : files)
      setting.volume->copyFile(file, setting.copies());
  };
  copyAll();
  PairedTimes().measure(
      state, copyAll,
      [&] {
        for (std::size_t i = 0; i < kCopiedCount; ++i) {
          copyAndFlush(setting.plainSlot(kFileCount + i), setting.plainSlot(i), kFileBytes);
        }
        if (withMarks) flushTable(setting, kCopiedCount);
      },
      [&] { setting.removeAll(setting.copies()); });
  state.SetLabel(withMarks ? "copy flushes data and marks" : "copy flushes data");
}
BENCHMARK(copyInside)->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);

// Out of the mapping into host files, beside the copy into memory and beside the same bytes written to
// host files without the engine.
void exportFiles(benchmark::State &state) {
  const bool toFiles = state.range(0) != 0;
  const Setting setting;
  setting.importAll();
  setting.copyPlain();
  const std::vector<EMU3FilePtr> files = setting.banks()->files();
  const std::string target = setting.folder.path("out.E4B");
  PairedTimes().measure(
      state,
      [&] {
        for (const EMU3FilePtr &file : files)
          setting.volume->exportFile(file, target);
      },
      [&] {
        for (std::size_t i = 0; i < kFileCount; ++i) {
          std::memcpy(scratch().data(), setting.plainSlot(i), kFileBytes);
          if (toFiles) test::writeBytes(target, scratch());
        }
      });
  state.SetLabel(toFiles ? "copy is written to a host file" : "copy stays in memory");
}
BENCHMARK(exportFiles)->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);

// A deletion touches nothing of the file's data, so it is compared with a flush for each mark cleared.
void deleteFiles(benchmark::State &state) {
  const Setting setting;
  PairedTimes().measure(
      state, [&] { setting.removeAll(setting.banks()); }, [&] { flushTable(setting, kFileCount); },
      [&] { setting.importAll(); });
  state.SetLabel("beside the flushes of the marks");
}
BENCHMARK(deleteFiles)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);

// One import of a small file into a volume that holds `range` files already.
void importAsTheVolumeFills(benchmark::State &state) {
  const auto fileCount = static_cast<std::size_t>(state.range(0));
  test::TemporaryFolder folder;
  test::ImageBuilder image({.sizeBytes = 64 * test::kMiB, .slotSizeBlocks = 2, .directoryBlocks = 512});
  const std::size_t folderCount = fileCount / kFilesPerFolder + 1;
  for (std::size_t made = 0; made < folderCount;) {
    test::FolderBuilder outer = image.root().addFolder("OUTER" + std::to_string(made), {.blockCount = 1});
    for (std::size_t i = 0; i < 15 && made < folderCount; ++i, ++made) {
      test::FolderBuilder inner = outer.addFolder("INNER" + std::to_string(made), {.blockCount = 7});
      for (std::size_t file = made * kFilesPerFolder;
           file < std::min(fileCount, (made + 1) * kFilesPerFolder); ++file) {
        inner.addFile("F" + std::to_string(file), test::patternBytes(512, static_cast<std::uint32_t>(file)));
      }
    }
  }
  image.writeTo(folder.path("volume.hda"));
  const std::string hostFile = folder.path("small.e4b");
  test::writeBytes(hostFile, test::patternBytes(512));
  const EMU3FilesystemPtr volume =
      EMU3Filesystem::initWithURL(folder.path("volume.hda"), MountRules::guarded);
  const EMU3DirectoryPtr target = volume->rootDirectory();
  PairedTimes().measure(
      state, [&] { volume->importFileAtURL(hostFile, target); },
      [&] { std::memcpy(scratch().data(), scratch().data() + 4096, 512); },
      [&] {
        for (const EMU3FilePtr &file : target->files())
          volume->deleteFile(file, target);
      });
}
BENCHMARK(importAsTheVolumeFills)
    ->Arg(1)
    ->Arg(1000)
    ->Arg(2000)
    ->Arg(4000)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace tessary::bench
