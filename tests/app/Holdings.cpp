#include "tests/app/Holdings.h"

#include "tests/support/MountedVolume.h"

#include <functional>

namespace tessary::test {
namespace {

std::string nameIn(const EntryBytes &entry) {
  constexpr std::size_t length = 16;
  return {entry.begin(), entry.begin() + length};
}

} // namespace

Holdings holdingsOf(const std::string &imagePath) {
  const EMU3FilesystemPtr volume = readAnew(imagePath);
  Holdings holdings;
  const std::function<void(const EMU3DirectoryPtr &, const std::string &)> add =
      [&](const EMU3DirectoryPtr &folder, const std::string &path) {
        for (const EMU3FilePtr &file : folder->allFiles()) {
          const Bytes contents = contentsOf(*volume, file);
          holdings.emplace(path + file->name(), std::to_string(file->rawType()) + " " +
                                                    nameIn(volume->entryOfFile(file).value()) +
                                                    std::string(contents.begin(), contents.end()));
        }
        for (const EMU3DirectoryPtr &below : folder->subdirectories()) {
          holdings.emplace(path + below->name() + "/", nameIn(volume->entryOfDirectory(below).value()));
          add(below, path + below->name() + "/");
        }
      };
  add(volume->rootDirectory(), "/");
  return holdings;
}

} // namespace tessary::test
