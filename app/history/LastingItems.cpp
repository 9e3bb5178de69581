#include "app/history/LastingItems.h"

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

// Called now and then, so that it costs next to nothing.
template <typename Known> void forgetUnused(Known *known) {
  constexpr std::size_t few = 64;
  if (known->size() < few || (known->size() & (known->size() - 1)) != 0) return;
  std::erase_if(*known, [](const auto &entry) { return entry.second.expired(); });
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

/// An object that is another one's already stays that one's.
template <typename Pointer>
void LastingItems::change(const Pointer &before, const Pointer &now, Known<Pointer> *known) {
  if (before == now) return;
  const auto entry = known->find(before.get());
  if (entry == known->end()) return;
  const std::shared_ptr<Lasting<Pointer>> lasting = entry->second.lock();
  const auto other = known->find(now.get());
  if (lasting && other != known->end() && !other->second.expired()) return;
  known->erase(entry);
  if (!lasting) return;
  (*known)[now.get()] = lasting;
  lasting->set(now);
  lasting->state_ = Lasting<Pointer>::State::there;
}

void LastingItems::became(const EMU3FilePtr &before, const EMU3FilePtr &now) {
  const MutexLock lock(mutex_);
  change(before, now, &files_);
}

void LastingItems::became(const EMU3DirectoryPtr &before, const EMU3DirectoryPtr &now) {
  const MutexLock lock(mutex_);
  change(before, now, &folders_);
}

template <typename Pointer>
void LastingItems::markDeleted(const Pointer &object, const Known<Pointer> &known) {
  const auto entry = known.find(object.get());
  if (entry == known.end()) return;
  if (const auto lasting = entry->second.lock()) lasting->state_ = Lasting<Pointer>::State::deleted;
}

void LastingItems::deleted(const EMU3FilePtr &file) {
  const MutexLock lock(mutex_);
  markDeleted(file, files_);
}

void LastingItems::deleted(const EMU3DirectoryPtr &folder) {
  const MutexLock lock(mutex_);
  markDeleted(folder, folders_);
}

/// Those that were there until now come before those that were missed: what has come to the place of a missed
/// one since is another.
template <typename Pointer>
void LastingItems::findAgain(const std::map<EntryPlace, Pointer> &there, Known<Pointer> *known) {
  using State = typename Lasting<Pointer>::State;
  std::vector<std::shared_ptr<Lasting<Pointer>>> sought;
  for (const State state : {State::there, State::missed})
    for (const auto &[address, weak] : *known)
      if (auto lasting = weak.lock(); lasting && lasting->state_ == state)
        sought.push_back(std::move(lasting));
  for (const auto &lasting : sought) {
    const Pointer before = lasting->object();
    const auto now = there.find(before->place());
    lasting->state_ = State::missed;
    if (now == there.end() || !isSame(*before, *now->second)) continue;
    if (now->second == before) lasting->state_ = State::there;
    change(before, now->second, known);
  }
}

void LastingItems::findIn(const EMU3DirectoryPtr &root) {
  std::map<EntryPlace, EMU3FilePtr> files;
  std::map<EntryPlace, EMU3DirectoryPtr> folders;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root)) {
    folders.emplace(folder->place(), folder);
    for (const EMU3FilePtr &file : folder->allFiles())
      files.emplace(file->place(), file);
  }
  const MutexLock lock(mutex_);
  findAgain(files, &files_);
  findAgain(folders, &folders_);
}

} // namespace tessary
