#include "bench/Median.h"
#include "bench/Processes.h"
#include "bench/SpeedVolumes.h"
#include "bench/Workplace.h"
#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <vector>

// How the cost of work grows with files, folders and bytes.
namespace tessary::bench {
namespace {

template <typename Work> double millisecondsOf(int times, const Work &work) {
  const double begin = cpuSecondsSoFar();
  for (int i = 0; i < times; ++i)
    work();
  return (cpuSecondsSoFar() - begin) * 1e3 / times;
}

void require(bool isDone) {
  if (!isDone) throw std::runtime_error("a change failed");
}

/// What a single change of a mounted volume takes, in milliseconds: the median of many. Each is undone again,
/// which is not counted.
struct Changes {
  double import = 0, deletion = 0, newFolder = 0;
};

Changes changesOf(EMU3Filesystem &volume, const std::string &hostFile) {
  const EMU3DirectoryPtr folder = volume.rootDirectory()->subdirectories().back()->subdirectories().back();
  constexpr int times = 31;
  std::vector<double> imports, deletions, newFolders;
  for (int i = 0; i < times; ++i) {
    imports.push_back(millisecondsOf(1, [&] { require(volume.importFileAtURL(hostFile, folder)); }));
    const EMU3FilePtr file = folder->files().back();
    deletions.push_back(millisecondsOf(1, [&] { require(volume.deleteFile(file, folder)); }));
  }
  for (int i = 0; i < times; ++i) {
    newFolders.push_back(millisecondsOf(1, [&] { require(volume.createDirectoryNamed("New", folder)); }));
    require(volume.deleteDirectory(folder->subdirectories().back(), folder));
  }
  return {median(imports), median(deletions), median(newFolders)};
}

void printRow(const Workplace &place, const std::string &what, const std::string &path) {
  const std::string hostFile = place.path("one.e4b");
  test::writeBytes(hostFile, smallBank(1));
  constexpr int opened = 10;
  const auto mounted = [&] { return EMU3Filesystem::initWithURL(path, MountRules::guarded); };
  require(mounted() != nullptr);
  const double open = millisecondsOf(opened, mounted);
  const Usage list = run({place.cli, "ls", path, "-R"});
  const EMU3FilesystemPtr volume = mounted();
  require(volume->claimForChanges()); // which reads the tree again, once
  const Changes changes = changesOf(*volume, hostFile);
  std::printf("%-20s %9.2f %9.1f %9.1f %10.1f %10.1f %10.1f\n", what.c_str(), open, list.cpuSeconds * 1e3,
              static_cast<double>(list.residentKiB) / 1024, changes.import * 1e3, changes.deletion * 1e3,
              changes.newFolder * 1e3);
  std::fflush(stdout);
}

// Each figure is measured in a process of its own: memory that one has taken would count for the next.
void row(const Workplace &place, const std::string &what, const std::function<test::ImageBuilder()> &make) {
  const std::string path = place.image("growing.hda", make);
  doElsewhere([&] { printRow(place, what, path); });
  std::filesystem::remove(path);
}

// Slots are as large as it takes to reach the image's end. Folders' blocks have numbers of 16 bits, so they
// come before a table that is this long.
test::ImageBuilder sparseVolume(std::uint64_t gibibytes) {
  constexpr std::uint32_t table = 256;
  const std::uint64_t bytes = gibibytes * test::kGiB;
  test::ImageBuilder image({.sizeBytes = bytes,
                            .fatStartBlock = table,
                            .rootDirBlock = 2,
                            .dataAreaBlock = table + static_cast<std::uint32_t>(bytes / 512 / 256),
                            .slotSizeBlocks = static_cast<std::uint32_t>(32 * gibibytes)});
  test::FolderBuilder folder = image.root().addFolder("Outer").addFolder("Inner", {.blockCount = 7});
  for (std::size_t i = 0; i < kFilesPerFolder - 2; ++i)
    folder.addFile("Bank " + std::to_string(i), smallBank(i));
  return image;
}

} // namespace

void showGrowth(const Workplace &place) {
  std::printf("%-20s %9s %9s %9s %10s %10s %10s\n", "", "open ms", "ls -R ms", "ls -R MiB", "import us",
              "delete us", "mkdir us");
  std::fflush(stdout); // else each process below would print it again
  for (const std::size_t files : {1U, 1000U, 10000U, 65400U})
    row(place, std::to_string(files) + " files", [&] { return smallFilesVolume(files, 600); });
  for (const std::size_t folders : {1U, 100U, 600U})
    row(place, std::to_string(folders) + " folders", [&] { return smallFilesVolume(1, folders); });
  for (const std::uint64_t gibibytes : {1U, 4U, 16U, 32U})
    row(place, std::to_string(gibibytes) + " GiB", [&] { return sparseVolume(gibibytes); });
}

} // namespace tessary::bench
