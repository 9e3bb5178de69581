#include "cli/Addresses.h"

#include "cli/AddressSyntax.h"
#include "cli/CliError.h"
#include "cli/NamePattern.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace tessary::cli {
namespace {

[[noreturn]] void failToFind(const std::string &message, const std::string &word) {
  throw CommandFailure{cliError(kCliNotFound, message + ": " + word), word};
}

Address addressOf(const std::string &word) {
  if (std::optional<Address> address = parseAddress(word)) return *std::move(address);
  failToFind("Not an address in the volume (they begin with / or @BLOCK:INDEX)", word);
}

template <typename Entry> Entry firstNamed(const std::vector<Entry> &entries, const std::string &name) {
  const auto found =
      std::find_if(entries.begin(), entries.end(), [&](const Entry &entry) { return entry->name() == name; });
  return found == entries.end() ? nullptr : *found;
}

EMU3DirectoryPtr folderAt(const EMU3Filesystem &volume, EntryPlace place) {
  const EMU3DirectoryPtr root = volume.rootDirectory(); // has no entry of its own
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root)) {
    if (folder != root && folder->place() == place) return folder;
  }
  return nullptr;
}

std::optional<FileItem> fileAt(const EMU3Filesystem &volume, EntryPlace place, const std::string &word) {
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory())) {
    for (const EMU3FilePtr &file : folder->allFiles()) {
      if (file->place() == place) return FileItem{file, folder, word};
    }
  }
  return std::nullopt;
}

// The folder reached by the first `count` parts; null when there is none.
EMU3DirectoryPtr folderOfParts(const EMU3Filesystem &volume, const Address &address, std::size_t count) {
  EMU3DirectoryPtr folder = address.start ? folderAt(volume, *address.start) : volume.rootDirectory();
  for (std::size_t i = 0; folder != nullptr && i < count; ++i) {
    folder = firstNamed(folder->subdirectories(), unescapedName(address.parts[i]));
  }
  return folder;
}

// The folder that the last part stands in; null when there is none.
EMU3DirectoryPtr holderOf(const EMU3Filesystem &volume, const Address &address) {
  return folderOfParts(volume, address, address.parts.size() - 1);
}

std::optional<FileItem> findFile(const EMU3Filesystem &volume, const Address &address) {
  if (address.endsInSlash) return std::nullopt;
  if (address.parts.empty()) return fileAt(volume, *address.start, address.word);
  const EMU3DirectoryPtr holder = holderOf(volume, address);
  if (holder == nullptr) return std::nullopt;
  const EMU3FilePtr file = firstNamed(holder->allFiles(), unescapedName(address.parts.back()));
  if (file == nullptr) return std::nullopt;
  return FileItem{file, holder, address.word};
}

std::optional<FolderItem> findFolder(const EMU3Filesystem &volume, const Address &address) {
  const EMU3DirectoryPtr folder = folderOfParts(volume, address, address.parts.size());
  if (folder == nullptr) return std::nullopt;
  return FolderItem{folder, address.word};
}

FileItem theFile(const EMU3Filesystem &volume, const Address &address) {
  if (std::optional<FileItem> item = findFile(volume, address)) return *std::move(item);
  failToFind(findFolder(volume, address) ? "Not a file but a folder" : "No such file", address.word);
}

EntryItem theEntry(const EMU3Filesystem &volume, const Address &address) {
  if (std::optional<FileItem> file = findFile(volume, address)) return *std::move(file);
  if (std::optional<FolderItem> folder = findFolder(volume, address)) return *std::move(folder);
  failToFind("No such file or folder", address.word);
}

bool hasPattern(const Address &address) {
  return !address.parts.empty() && isPattern(address.parts.back());
}

std::string pathOfHolder(const Address &address) {
  return address.word.substr(0, address.lastPartAt);
}

std::vector<FileItem> matchingFiles(const EMU3Filesystem &volume, const Address &address) {
  const EMU3DirectoryPtr holder = holderOf(volume, address);
  if (holder == nullptr || address.endsInSlash) return {};
  std::vector<FileItem> items = filesIn(holder, pathOfHolder(address));
  std::erase_if(
      items, [&](const FileItem &item) { return !matchesPattern(address.parts.back(), item.file->name()); });
  return items;
}

std::vector<FolderItem> matchingFolders(const EMU3Filesystem &volume, const Address &address) {
  const EMU3DirectoryPtr holder = holderOf(volume, address);
  if (holder == nullptr) return {};
  std::vector<FolderItem> items = foldersIn(holder, pathOfHolder(address), Beside::anyEntry);
  std::erase_if(items, [&](const FolderItem &item) {
    return !matchesPattern(address.parts.back(), item.directory->name());
  });
  return items;
}

const void *identityOf(const FileItem &item) {
  return item.file.get();
}
const void *identityOf(const FolderItem &item) {
  return item.directory.get();
}
const void *identityOf(const EntryItem &item) {
  return std::visit([](const auto &entry) { return identityOf(entry); }, item);
}

// What several words lead to, each entry once.
template <typename Item> class Settled final {
public:
  void add(Item item) {
    if (seen_.insert(identityOf(item)).second) items_.push_back(std::move(item));
  }
  template <typename Items> void addAll(Items items) {
    for (auto &item : items)
      add(std::move(item));
  }
  std::vector<Item> take() { return std::move(items_); }

private:
  std::vector<Item> items_;
  std::unordered_set<const void *> seen_;
};

} // namespace

FileItem resolveFile(const EMU3Filesystem &volume, const std::string &word) {
  return theFile(volume, addressOf(word));
}

EntryItem resolveEntry(const EMU3Filesystem &volume, const std::string &word) {
  return theEntry(volume, addressOf(word));
}

FolderItem resolveFolder(const EMU3Filesystem &volume, const std::string &word) {
  const Address address = addressOf(word);
  if (std::optional<FolderItem> item = findFolder(volume, address)) return *std::move(item);
  failToFind(findFile(volume, address) ? "Not a folder but a file" : "No such folder", word);
}

std::vector<FileItem> resolveFiles(const EMU3Filesystem &volume, const std::vector<std::string> &words) {
  Settled<FileItem> settled;
  for (const std::string &word : words) {
    const Address address = addressOf(word);
    if (!hasPattern(address)) {
      settled.add(theFile(volume, address));
      continue;
    }
    std::vector<FileItem> files = matchingFiles(volume, address);
    if (files.empty()) failToFind("No file matches", word);
    settled.addAll(std::move(files));
  }
  return settled.take();
}

std::vector<std::string> addressesOf(const std::vector<FileItem> &files) {
  std::vector<std::string> addresses;
  addresses.reserve(files.size());
  for (const FileItem &file : files)
    addresses.push_back(file.address);
  return addresses;
}

std::vector<EntryItem> resolveEntries(const EMU3Filesystem &volume, const std::vector<std::string> &words) {
  Settled<EntryItem> settled;
  for (const std::string &word : words) {
    const Address address = addressOf(word);
    if (!hasPattern(address)) {
      settled.add(theEntry(volume, address));
      continue;
    }
    std::vector<FileItem> files = matchingFiles(volume, address);
    std::vector<FolderItem> folders = matchingFolders(volume, address);
    if (files.empty() && folders.empty()) failToFind("No file or folder matches", word);
    settled.addAll(std::move(files));
    settled.addAll(std::move(folders));
  }
  return settled.take();
}

NewEntry resolveNewEntry(const EMU3Filesystem &volume, const std::string &word) {
  const Address address = addressOf(word);
  if (!address.endsInSlash && address.parts.empty())
    failToFind("A place gives no name to something new", word);
  const std::size_t parents = address.parts.size() - (address.endsInSlash ? 0 : 1);
  EMU3DirectoryPtr parent = folderOfParts(volume, address, parents);
  if (parent == nullptr) failToFind("No such folder to make it in", word);
  if (address.endsInSlash) return {std::move(parent), address.word, ""};
  return {std::move(parent), pathOfHolder(address), unescapedName(address.parts.back())};
}

FolderPath resolveFolderPath(const EMU3Filesystem &volume, const std::string &word) {
  const Address address = addressOf(word);
  std::size_t there = 0;
  FolderPath path{folderOfParts(volume, address, 0), {}};
  if (path.folder == nullptr) failToFind("No such folder", word);
  for (; there < address.parts.size(); ++there) {
    EMU3DirectoryPtr below = firstNamed(path.folder->subdirectories(), unescapedName(address.parts[there]));
    if (below == nullptr) break;
    path.folder = std::move(below);
  }
  std::string parent = address.start ? placeAddress(*address.start) : "/";
  for (std::size_t i = 0; i < address.parts.size(); ++i) {
    std::string name = unescapedName(address.parts[i]);
    std::string each = parent + (parent.ends_with('/') ? "" : "/") + address.parts[i];
    if (i >= there) path.missing.push_back({parent, std::move(name), each});
    parent = std::move(each);
  }
  return path;
}

std::vector<EntryItem> rootAsItsContents(const EMU3Filesystem &volume, std::vector<EntryItem> entries) {
  const EMU3DirectoryPtr root = volume.rootDirectory();
  Settled<EntryItem> settled;
  for (EntryItem &entry : entries) {
    const auto *folder = std::get_if<FolderItem>(&entry);
    if (folder == nullptr || folder->directory != root) {
      settled.add(std::move(entry));
      continue;
    }
    settled.addAll(filesIn(root, "/"));
    settled.addAll(foldersIn(root, "/", Beside::anyEntry));
  }
  return settled.take();
}

} // namespace tessary::cli
