#include "bench/SpeedVolumes.h"

#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"

#include <algorithm>
#include <filesystem>

namespace tessary::bench {
namespace {

constexpr std::size_t kSmallBytes = 4096;
constexpr std::size_t kLargeBytes = 2 * 1024 * 1024;
constexpr std::uint32_t kBlocksOfSmall = kSmallBytes / 512;
constexpr std::size_t kShelves = 6;

} // namespace

test::Bytes smallBank(std::size_t number) {
  test::Bytes bank = test::IffBank()
                         .preset("Bank " + std::to_string(number))
                         .preset("Second")
                         .sample("Sample A", test::patternBytes(3000, static_cast<std::uint32_t>(number)))
                         .build();
  bank.resize(kSmallBytes);
  return bank;
}

test::ImageBuilder smallFilesVolume(std::size_t files, std::size_t folders, std::vector<std::string> *paths) {
  const auto directoryBlocks = static_cast<std::uint32_t>(7 * (folders + kShelves) + 64);
  const std::uint64_t slots = std::min<std::uint64_t>(65535, files + folders * kFilesPerFolder);
  const std::uint64_t dataBytes = slots * kSmallBytes;
  const std::uint64_t tableAndFolders = dataBytes / 256 + directoryBlocks * test::kBlockBytes + test::kMiB;
  test::ImageBuilder image({.sizeBytes = dataBytes + tableAndFolders,
                            .slotSizeBlocks = kBlocksOfSmall,
                            .directoryBlocks = directoryBlocks});
  std::size_t made = 0;
  for (std::size_t shelf = 0; made < folders; ++shelf) {
    const std::string outer = "S" + std::to_string(shelf);
    test::FolderBuilder shelfFolder = image.root().addFolder(outer, {.blockCount = 7});
    for (std::size_t i = 0; i < kFilesPerFolder && made < folders; ++i, ++made) {
      const std::string name = "F" + std::to_string(made);
      test::FolderBuilder folder = shelfFolder.addFolder(name, {.blockCount = 7});
      if (paths) paths->push_back("/" + outer + "/" + name);
      const std::size_t end = std::min(files, (made + 1) * kFilesPerFolder);
      for (std::size_t file = made * kFilesPerFolder; file < end; ++file)
        folder.addFile("Bank " + std::to_string(file), smallBank(file));
    }
  }
  return image;
}

test::ImageBuilder largeFilesVolume(std::size_t files) {
  test::ImageBuilder image({.sizeBytes = 512 * test::kMiB, .slotSizeBlocks = 4096});
  test::FolderBuilder banks = image.root().addFolder("Banks", {.blockCount = 7});
  image.root().addFolder("Copies", {.blockCount = 7});
  for (std::size_t i = 0; i < files; ++i)
    banks.addFile("Bank " + std::to_string(i),
                  test::patternBytes(kLargeBytes, static_cast<std::uint32_t>(i)));
  return image;
}

std::vector<std::vector<std::string>> writeSmallFiles(const std::string &folder, std::size_t count) {
  std::vector<std::vector<std::string>> paths;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string inner = folder + "/" + std::to_string(i / kFilesPerFolder);
    if (i % kFilesPerFolder == 0) {
      std::filesystem::create_directories(inner);
      paths.emplace_back();
    }
    paths.back().push_back(inner + "/Bank " + std::to_string(i) + ".e4b");
    test::writeBytes(paths.back().back(), smallBank(i));
  }
  return paths;
}

std::vector<std::string> writeLargeFiles(const std::string &folder, std::size_t count) {
  std::vector<std::string> paths;
  std::filesystem::create_directories(folder);
  for (std::size_t i = 0; i < count; ++i) {
    paths.push_back(folder + "/bank" + std::to_string(i) + ".e4b");
    test::writeBytes(paths.back(), test::patternBytes(kLargeBytes, static_cast<std::uint32_t>(i)));
  }
  return paths;
}

} // namespace tessary::bench
