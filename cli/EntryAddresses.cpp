// The addresses that entries of a volume are shown by.

#include "cli/AddressSyntax.h"
#include "cli/Addresses.h"

#include <cstddef>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace tessary::cli {
namespace {

/// Longest address given to an entry as a path, in bytes.
constexpr std::size_t kLongestPath = 256;

std::string addressIn(const std::string &parent, const std::string &name, EntryPlace place,
                      bool isMeantByName) {
  std::string path = pathAddress(parent, name);
  return isMeantByName && path.size() <= kLongestPath ? path : placeAddress(place);
}

// Climbs no further than a path may be long, so that deep trees cost no time.
std::string pathFrom(const std::string &name, EMU3DirectoryPtr holder, EntryPlace place) {
  std::string path = "/" + escapedName(name);
  while (holder != nullptr && path.size() <= kLongestPath) {
    EMU3DirectoryPtr above = holder->parent();
    if (above == nullptr) return path;
    path.insert(0, "/" + escapedName(holder->name()));
    holder = std::move(above);
  }
  return placeAddress(place);
}

} // namespace

std::vector<FileItem> filesIn(const EMU3DirectoryPtr &directory, const std::string &address) {
  std::vector<FileItem> items;
  std::unordered_set<std::string> names;
  for (const EMU3FilePtr &file : directory->allFiles()) {
    const std::string name = file->name();
    items.push_back({file, directory, addressIn(address, name, file->place(), names.insert(name).second)});
  }
  return items;
}

std::vector<FolderItem> foldersIn(const EMU3DirectoryPtr &directory, const std::string &address,
                                  Beside beside) {
  const std::vector<EMU3DirectoryPtr> folders = directory->subdirectories();
  if (folders.empty()) return {};
  std::vector<FolderItem> items;
  std::unordered_set<std::string> names;
  if (beside == Beside::anyEntry) {
    for (const EMU3FilePtr &file : directory->allFiles())
      names.insert(file->name());
  }
  for (const EMU3DirectoryPtr &folder : folders) {
    const std::string name = folder->name();
    items.push_back({folder, addressIn(address, name, folder->place(), names.insert(name).second)});
  }
  return items;
}

std::string pathOf(const EMU3File &file) {
  return pathFrom(file.name(), file.folder(), file.place());
}

std::string pathOf(const EMU3Directory &folder) {
  const EMU3DirectoryPtr holder = folder.parent();
  return holder == nullptr ? "/" : pathFrom(folder.name(), holder, folder.place());
}

std::vector<FolderItem> foldersFrom(FolderItem top, Beside beside) {
  std::vector<FolderItem> found;
  std::vector<FolderItem> waiting{std::move(top)};
  while (!waiting.empty()) {
    FolderItem item = std::move(waiting.back());
    waiting.pop_back();
    std::vector<FolderItem> below = foldersIn(item.directory, item.address, beside);
    waiting.insert(waiting.end(), std::make_move_iterator(below.rbegin()),
                   std::make_move_iterator(below.rend()));
    found.push_back(std::move(item));
  }
  return found;
}

} // namespace tessary::cli
