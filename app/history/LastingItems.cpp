#include "app/history/LastingItems.h"

#include "tessary/EntryPlace.h"

#include <map>
#include <utility>
#include <vector>

namespace tessary {
namespace {

// What an entry says of a file, beside its place.
bool isSame(const EMU3File &one, const EMU3File &other) {
  const EMU3FileFields a = one.fields();
  const EMU3FileFields b = other.fields();
  return a.name == b.name && a.rawType == b.rawType && a.startCluster == b.startCluster &&
         a.fileSize == b.fileSize;
}

// Other programs may have renamed it, or made it grow: its first block stays.
bool isSame(const EMU3Directory &one, const EMU3Directory &other) {
  const auto before = one.blockList();
  const auto now = other.blockList();
  if (before.empty() || now.empty()) return before.empty() && now.empty() && one.name() == other.name();
  return before.front() == now.front();
}

template <typename Pointer> using ByPlace = std::map<EntryPlace, Pointer>;

// Called now and then, so that it costs next to nothing.
template <typename Known> void forgetUnused(Known *known) {
  constexpr std::size_t few = 64;
  if (known->size() < few || (known->size() & (known->size() - 1)) != 0) return;
  std::erase_if(*known, [](const auto &entry) { return entry.second.expired(); });
}

/// Each entry of the known ones with what stands at its place now, where that is the same.
template <typename Pointer, typename Known>
std::vector<std::pair<Pointer, Pointer>> foundAgain(const Known &known, const ByPlace<Pointer> &there) {
  std::vector<std::pair<Pointer, Pointer>> found;
  for (const auto &[address, weak] : known) {
    const auto lasting = weak.lock();
    if (!lasting) continue;
    const Pointer before = lasting->object();
    const auto now = there.find(before->place());
    if (now != there.end() && now->second != before && isSame(*before, *now->second))
      found.emplace_back(before, now->second);
  }
  return found;
}

} // namespace

template <typename Pointer>
std::shared_ptr<Lasting<Pointer>> LastingItems::lastingOf(const Pointer &object, Known<Pointer> *known) {
  forgetUnused(known);
  std::weak_ptr<Lasting<Pointer>> &there = (*known)[object.get()];
  std::shared_ptr<Lasting<Pointer>> lasting = there.lock();
  if (!lasting) there = lasting = std::make_shared<Lasting<Pointer>>(object);
  return lasting;
}

LastingFile LastingItems::of(const EMU3FilePtr &file) {
  const MutexLock lock(mutex_);
  return lastingOf(file, &files_);
}

LastingFolder LastingItems::of(const EMU3DirectoryPtr &folder) {
  const MutexLock lock(mutex_);
  return lastingOf(folder, &folders_);
}

template <typename Pointer>
void LastingItems::change(const Pointer &before, const Pointer &now, Known<Pointer> *known) {
  if (before == now) return;
  const auto node = known->extract(before.get());
  if (node.empty()) return;
  const std::shared_ptr<Lasting<Pointer>> lasting = node.mapped().lock();
  if (!lasting) return;
  (*known)[now.get()] = lasting;
  lasting->set(now);
}

void LastingItems::became(const EMU3FilePtr &before, const EMU3FilePtr &now) {
  const MutexLock lock(mutex_);
  change(before, now, &files_);
}

void LastingItems::became(const EMU3DirectoryPtr &before, const EMU3DirectoryPtr &now) {
  const MutexLock lock(mutex_);
  change(before, now, &folders_);
}

void LastingItems::findIn(const EMU3DirectoryPtr &root) {
  ByPlace<EMU3FilePtr> files;
  ByPlace<EMU3DirectoryPtr> folders;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root)) {
    folders.emplace(folder->place(), folder);
    for (const EMU3FilePtr &file : folder->allFiles())
      files.emplace(file->place(), file);
  }
  const MutexLock lock(mutex_);
  for (const auto &[before, now] : foundAgain(files_, files))
    change(before, now, &files_);
  for (const auto &[before, now] : foundAgain(folders_, folders))
    change(before, now, &folders_);
}

} // namespace tessary
