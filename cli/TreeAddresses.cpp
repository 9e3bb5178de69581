#include "cli/TreeAddresses.h"

#include "cli/Addresses.h"

#include <cstddef>
#include <unordered_map>

namespace tessary::cli {
namespace {

/// Addresses of what is in one folder.
using Members = std::unordered_map<const void *, std::string>;

Members membersOf(const EMU3DirectoryPtr &folder, const std::string &address) {
  Members members;
  for (FileItem &item : filesIn(folder, address))
    members.emplace(item.file.get(), std::move(item.address));
  for (FolderItem &item : foldersIn(folder, address, Beside::anyEntry))
    members.emplace(item.directory.get(), std::move(item.address));
  return members;
}

// The name alone where the entry has left the folder meanwhile.
std::string addressOf(const Item &item, const Members &members) {
  const void *entry = item.file ? static_cast<const void *>(item.file.get()) : item.folder.get();
  const auto found = members.find(entry);
  if (found != members.end()) return found->second;
  return item.file ? item.file->name() : item.folder->name();
}

} // namespace

std::vector<std::string> addressesOf(const ItemsOperation &operation, const std::vector<std::string> &tops) {
  std::vector<std::string> addresses;
  std::unordered_map<std::size_t, Members> membersOfItem; ///< by a folder's item
  auto top = tops.begin();
  for (std::size_t number = 0; number < operation.progress().items; ++number) {
    const Item &item = operation.item(number);
    addresses.push_back(item.parent ? addressOf(item, membersOfItem[*item.parent]) : *top++);
    if (item.folder) membersOfItem[number] = membersOf(item.folder, addresses.back());
  }
  return addresses;
}

} // namespace tessary::cli
