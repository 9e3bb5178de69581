#include "tests/durability/Judge.h"

#include <algorithm>
#include <utility>

namespace tessary::test {
namespace {

std::string nameOf(const RawEntry &entry) {
  const auto end =
      std::find_if(entry.begin(), entry.begin() + 16, [](std::uint8_t byte) { return byte == 0; });
  return "\"" + std::string(entry.begin(), end) + "\"";
}

std::string textOf(Place place, const RawEntry &entry) {
  std::string text =
      nameOf(entry) + " at " + std::to_string(place.first) + ":" + std::to_string(place.second);
  text += readsAsFolder(entry) ? " (folder," : " (";
  for (std::size_t at = 16; at < entry.size(); ++at) {
    constexpr const char *digits = "0123456789abcdef";
    text += {' ', digits[entry[at] >> 4], digits[entry[at] & 15]};
  }
  return text + ")";
}

bool isEqualBut(RawEntry one, RawEntry other, const std::vector<std::size_t> &bytes) {
  for (const std::size_t at : bytes)
    one[at] = other[at] = 0;
  return one == other;
}

bool isLive(const RawEntry &entry) {
  return readsAsFolder(entry) || entry[26] != 0;
}

} // namespace

Judge::Judge(const Bytes &before, Asked asked) : before_(before), was_(before), asked_(std::move(asked)) {
  addFoldersBack();
}

void Judge::addFoldersBack() {
  for (const Asked::NewFolder &folder : asked_.newFolders)
    if (folder.isBack) addFolderBack(blocksNamedBy(folder.entry).at(0));
}

void Judge::addFolderBack(std::uint64_t block) {
  for (std::size_t index = 0; index < 16; ++index) {
    const Place place{block, index};
    const RawEntry entry = was_.entryAt(place);
    if (entry[0] == 0 || back_.contains(place)) continue;
    back_[place] = entry;
    if (!readsAsFolder(entry)) continue;
    for (const std::uint64_t below : blocksNamedBy(entry))
      addFolderBack(below);
  }
}

/// One look at one state. Ends at the first fault.
class Judge::Look {
public:
  Look(const Judge &judge, const Bytes &state)
      : judge_(judge), asked_(judge.asked_), was_(judge.was_), state_(state), is_(state),
        newFileAt_(asked_.newFiles.size()), newFolderAt_(asked_.newFolders.size()) {}

  std::string fault(bool isDone, const std::set<std::size_t> &newFiles) {
    if (!std::equal(state_.begin(), state_.begin() + kBlockBytes, judge_.before_.begin()))
      fail("the header changed");
    findNewFolders();
    for (const auto &[place, entry] : is_.entries)
      explain(place, entry);
    for (const auto &[place, entry] : judge_.back_)
      if (is_.entryAt(place) != entry) fail("lost in its lost folder: " + textOf(place, entry));
    for (const auto &[place, entry] : was_.entries)
      if (isLive(entry.bytes)) checkStayed(place, entry.bytes);
    checkNewBlocks();
    for (const std::size_t file : newFiles)
      if (!newFileAt_[file]) fail("in neither volume: " + nameOf(asked_.newFiles[file].entry));
    if (isDone) checkDone();
    return fault_;
  }

private:
  void fail(const std::string &what) {
    if (fault_.empty()) fault_ = what;
  }

  [[nodiscard]] bool isIn(const Asked::Parent &parent, Place folder) const {
    if (!parent.newFolder) return parent.place == folder;
    return newFolderAt_[*parent.newFolder] == folder;
  }
  [[nodiscard]] bool isAsBefore(Place place, const RawEntry &bytes) const {
    const auto before = was_.entries.find(place);
    return before != was_.entries.end() && before->second.bytes == bytes;
  }

  // Parents come before what is in them.
  void findNewFolders() {
    for (std::size_t i = 0; i < asked_.newFolders.size(); ++i) {
      const Asked::NewFolder &folder = asked_.newFolders[i];
      std::vector<std::size_t> free;
      if (!folder.isBack) free = {18, 19};
      for (const auto &[place, entry] : is_.entries) {
        if (isAsBefore(place, entry.bytes) || explained_.contains(place) ||
            !isIn(folder.parent, entry.parent) || !entry.isFolder ||
            !isEqualBut(entry.bytes, folder.entry, free))
          continue;
        explained_.insert(place);
        newFolderAt_[i] = place;
        if (!folder.isBack) newBlocks_.push_back(wordAt(entry.bytes, 18));
        break;
      }
    }
  }

  void explain(Place place, const ImageReading::Entry &entry) {
    if (explained_.contains(place)) return;
    const RawEntry &bytes = entry.bytes;
    const auto before = was_.entries.find(place);
    if (before != was_.entries.end()) {
      const auto renamed = asked_.renamed.find(place);
      const bool hasNewName = renamed != asked_.renamed.end() && bytes == renamed->second;
      if (before->second.bytes == bytes || hasNewName || hasGrown(place, before->second.bytes, bytes)) {
        stayed_.insert(place);
        if (entry.isLiveFile()) checkKept(place, place, bytes);
        return;
      }
    }
    if (judge_.back_.contains(place)) {
      if (entry.isLiveFile()) checkKept(place, place, bytes);
      return;
    }
    if (isMoved(place, entry) || isNewFile(place, entry)) return;
    fail("an entry that nobody asked for: " + textOf(place, bytes));
  }

  // A folder into which something goes may have got blocks that no folder had.
  bool hasGrown(Place place, const RawEntry &before, const RawEntry &now) {
    if (!readsAsFolder(before) || !readsAsFolder(now) || !mayGrow(place) ||
        !std::equal(before.begin(), before.begin() + 18, now.begin()))
      return false;
    std::vector<std::uint64_t> grown;
    for (std::size_t at = 18; at < 32; at += 2) {
      if (wordAt(before, at) == wordAt(now, at)) continue;
      const std::uint64_t block = wordAt(now, at);
      const std::uint16_t number = wordAt(before, at);
      if ((number >= 1 && number <= 0x7FFF) || !was_.mayHoldFolder(block) || was_.isNamed(block))
        return false;
      grown.push_back(block);
    }
    newBlocks_.insert(newBlocks_.end(), grown.begin(), grown.end());
    return true;
  }
  [[nodiscard]] bool mayGrow(Place place) const {
    const auto isParent = [&](const auto &item) {
      return !item.parent.newFolder && item.parent.place == place;
    };
    return std::any_of(asked_.newFiles.begin(), asked_.newFiles.end(), isParent) ||
           std::any_of(asked_.newFolders.begin(), asked_.newFolders.end(), isParent) ||
           std::any_of(asked_.moved.begin(), asked_.moved.end(),
                       [&](const auto &item) { return item.second == place; });
  }

  bool isMoved(Place place, const ImageReading::Entry &entry) {
    for (const auto &[from, to] : asked_.moved) {
      const RawEntry &before = was_.entries.at(from).bytes;
      if (arrived_.contains(from) || entry.parent != to) continue;
      if (entry.isFolder ? entry.bytes != before : !isEqualBut(entry.bytes, before, {17})) continue;
      arrived_.insert(from);
      if (entry.isLiveFile()) checkKept(place, from, entry.bytes);
      return true;
    }
    return false;
  }

  bool isNewFile(Place place, const ImageReading::Entry &entry) {
    for (std::size_t i = 0; i < asked_.newFiles.size(); ++i) {
      const Asked::NewFile &file = asked_.newFiles[i];
      if (newFileAt_[i] || entry.isFolder || !isIn(file.parent, entry.parent) ||
          !isEqualBut(entry.bytes, file.entry, {17, 18, 19}))
        continue;
      newFileAt_[i] = place;
      checkNew(place, entry.bytes, file.contents);
      return true;
    }
    return false;
  }

  // ---- Contents and marks

  /// A file that was at `origin` before.
  void checkKept(Place place, Place origin, const RawEntry &entry) {
    const auto [first, end] = was_.contentsOf(entry);
    for (std::uint64_t block = first; block < end; ++block) {
      const auto at = static_cast<std::ptrdiff_t>(block * kBlockBytes);
      if (!std::equal(state_.begin() + at, state_.begin() + at + kBlockBytes, judge_.before_.begin() + at))
        fail("block " + std::to_string(block) + " lost of " + textOf(place, entry));
      if (was_.mark(block) != 0 && is_.mark(block) == 0)
        fail("block " + std::to_string(block) + " is marked free under " + textOf(place, entry));
      claim(block, origin, place, entry);
    }
  }

  void checkNew(Place place, const RawEntry &entry, const Bytes &contents) {
    const auto [first, end] = is_.contentsOf(entry);
    const auto at = static_cast<std::ptrdiff_t>(first * kBlockBytes);
    if ((end - first) * kBlockBytes < contents.size() ||
        !std::equal(contents.begin(), contents.end(), state_.begin() + at))
      fail("an entry over wrong bytes: " + textOf(place, entry));
    for (std::uint64_t block = first; block < end; ++block) {
      if (is_.isDescribed(block) && is_.mark(block) == 0)
        fail("block " + std::to_string(block) + " is marked free under the new " + textOf(place, entry));
      claim(block, place, place, entry);
    }
  }

  void claim(std::uint64_t block, Place owner, Place place, const RawEntry &entry) {
    const auto [found, isFirst] = owners_.emplace(block, owner);
    if (!isFirst && found->second != owner)
      fail("block " + std::to_string(block) + " is another file's too: " + textOf(place, entry));
  }

  // ---- What is missing

  void checkStayed(Place place, const RawEntry &bytes) {
    if (stayed_.contains(place) || arrived_.contains(place)) return;
    if (asked_.moved.contains(place)) return fail("in neither place: " + textOf(place, bytes));
    for (std::size_t i = 0; i < asked_.newFiles.size(); ++i)
      if (asked_.newFiles[i].replaced == place && !newFileAt_[i])
        return fail("gone before what replaces it is there: " + textOf(place, bytes));
    if (!asked_.deleted.contains(place)) fail("lost: " + textOf(place, bytes));
  }

  // A block that a folder has just got holds what is new there, and zeros.
  void checkNewBlocks() {
    std::set<std::uint64_t> seen;
    for (const std::uint64_t block : newBlocks_) {
      const std::string named = "block " + std::to_string(block) + " of a new or grown folder ";
      if (!was_.mayHoldFolder(block) || was_.isNamed(block) || !seen.insert(block).second)
        return fail(named + "is not free");
      for (std::size_t index = 0; index < 16; ++index)
        if (!is_.entries.contains({block, index}) && is_.entryAt({block, index}) != RawEntry{})
          return fail(named + "is not cleared");
    }
  }

  void checkDone() {
    for (std::size_t i = 0; i < asked_.newFiles.size(); ++i)
      if (!newFileAt_[i]) fail("done, but not there: " + nameOf(asked_.newFiles[i].entry));
    for (std::size_t i = 0; i < asked_.newFolders.size(); ++i)
      if (!newFolderAt_[i]) fail("done, but not there: folder " + nameOf(asked_.newFolders[i].entry));
    for (const auto &[from, to] : asked_.moved)
      if (!arrived_.contains(from) || stayed_.contains(from))
        fail("done, but not moved: " + textOf(from, was_.entries.at(from).bytes));
    for (const auto &[place, entry] : asked_.renamed)
      if (is_.entryAt(place) != entry) fail("done, but not renamed: " + textOf(place, entry));
    for (const Place &place : asked_.deleted)
      if (stayed_.contains(place))
        fail("done, but not deleted: " + textOf(place, was_.entries.at(place).bytes));
  }

  const Judge &judge_;
  const Asked &asked_;
  const ImageReading &was_;
  const Bytes &state_;
  const ImageReading is_;
  std::string fault_;
  std::set<Place> stayed_;    ///< entries of before that are at their place
  std::set<Place> arrived_;   ///< places of before of what is at its new place
  std::set<Place> explained_; ///< entries of new folders
  std::vector<std::optional<Place>> newFileAt_;
  std::vector<std::optional<Place>> newFolderAt_;
  std::vector<std::uint64_t> newBlocks_;  ///< directory blocks that folders have got
  std::map<std::uint64_t, Place> owners_; ///< of blocks of contents
};

std::string Judge::faultOf(const Bytes &state, const std::set<std::size_t> &newFiles) const {
  return Look(*this, state).fault(false, newFiles);
}

std::string Judge::faultWhenDone(const Bytes &state) const {
  return Look(*this, state).fault(true, {});
}

std::string PairJudge::faultOf(const Bytes &state) const {
  const auto middle = state.begin() + static_cast<std::ptrdiff_t>(size_);
  const Bytes from(state.begin(), middle);
  const ImageReading is(from);
  std::set<std::size_t> wanted;
  for (const auto &[place, index] : newFile_) {
    const auto there = is.entries.find(place);
    if (there == is.entries.end() || there->second.bytes != was_.entries.at(place).bytes)
      wanted.insert(index);
  }
  if (std::string fault = from_.faultOf(from); !fault.empty()) return "of the first: " + fault;
  const std::string fault = to_.faultOf(Bytes(middle, state.end()), wanted);
  return fault.empty() ? "" : "of the second: " + fault;
}

std::string PairJudge::faultWhenDone(const Bytes &state) const {
  const auto middle = state.begin() + static_cast<std::ptrdiff_t>(size_);
  const std::string fault = from_.faultWhenDone(Bytes(state.begin(), middle));
  return fault.empty() ? to_.faultWhenDone(Bytes(middle, state.end())) : fault;
}

} // namespace tessary::test
