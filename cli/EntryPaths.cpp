#include "cli/EntryPaths.h"

#include "cli/AddressSyntax.h"

#include <vector>

namespace tessary::cli {

std::string folderAddress(const EMU3DirectoryPtr &directory) {
  constexpr std::size_t longestPath = 32;
  std::vector<std::string> names;
  EMU3DirectoryPtr folder = directory;
  for (EMU3DirectoryPtr parent = folder->parent(); parent; parent = folder->parent()) {
    if (names.size() == longestPath)
      return placeAddress({directory->dentryBlock(), directory->dentryOffset()});
    names.push_back(folder->name());
    folder = std::move(parent);
  }
  std::string address = "/";
  for (auto name = names.rbegin(); name != names.rend(); ++name)
    address = pathAddress(address, *name);
  return address;
}

std::string fileAddress(const EMU3DirectoryPtr &directory, const EMU3File &file) {
  return pathAddress(folderAddress(directory), file.name());
}

} // namespace tessary::cli
