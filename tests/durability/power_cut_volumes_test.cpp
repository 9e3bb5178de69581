// A power cut of both media while something goes from one volume to another.

#include "tests/durability/Operations.h"
#include "tests/durability/Trial.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/PlacedObjects.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tessary::test {
namespace {

/// Entries of the first volume that go into a folder of the second.
struct Case {
  std::string name;
  std::vector<std::string> entries;
  std::string into;
  bool isMove = false;
  /// Steps that a barrier keeps apart from the next, by the rule of the order on the medium.
  std::size_t ordered = 0;
};

void PrintTo(const Case &item, std::ostream *out) {
  *out << item.name;
}

/// What both are asked for, and which new file stands for which of before.
struct Transfer {
  Asked from;
  Asked to;
  std::map<Place, std::size_t> newFile;
};

void add(Transfer &transfer, const OperationMaker &maker, const OperationMaker &other,
         const std::string &entry, const Case &item) {
  const Asked copy = maker.copyOfTree(maker.at(entry), other.at(item.into));
  const std::size_t before = transfer.to.newFiles.size();
  transfer.to += copy;
  if (!item.isMove) return;
  for (const Place &place : maker.treeOf(maker.at(entry))) {
    const ImageReading::Entry &moved = maker.now().entries.at(place);
    if (!moved.isFolder && !moved.isLiveFile()) continue;
    transfer.from.deleted.insert(place);
    if (moved.isFolder) continue;
    const Bytes contents = maker.now().bytesOf(moved.bytes);
    for (std::size_t i = before; i < transfer.to.newFiles.size(); ++i) {
      const Asked::NewFile &file = transfer.to.newFiles[i];
      if (std::equal(moved.bytes.begin(), moved.bytes.begin() + 16, file.entry.begin()) &&
          std::equal(file.contents.begin(), file.contents.end(), contents.begin()))
        transfer.newFile[place] = i;
    }
  }
}

void add(ItemsOperation &items, const EMU3FilesystemPtr &from, Place place, bool isFolder,
         const EMU3DirectoryPtr &into, bool isMove) {
  if (isFolder) {
    const EMU3DirectoryPtr folder = folderAt(*from, place);
    if (isMove)
      items.moveFolder(folder, into, ExistingFolder::doubled, from);
    else
      items.copyFolder(folder, into, ExistingFolder::doubled, from);
    return;
  }
  const EMU3FilePtr file = fileAt(*from, place);
  if (isMove)
    items.moveFile(file, file->folder(), into, from);
  else
    items.copyFile(file, into, from);
}

Attempt attemptOf(const Case &item, Layout layout) {
  struct Asking {
    explicit Asking(Layout layout)
        : from(volumeToChange(layout), "from.hda", MountRules::guarded),
          to(volumeToChange(layout), "to.hda", MountRules::guarded) {}
    const TemporaryFolder host;
    const MountedVolume from;
    const MountedVolume to;
    EMU3Error error;
  };
  const auto asking = std::make_shared<Asking>(layout);
  const Bytes before = readBytes(asking->from.imagePath());
  const Bytes otherBefore = readBytes(asking->to.imagePath());
  const OperationMaker maker(before, asking->host);
  const OperationMaker other(otherBefore, asking->host);
  Transfer transfer;
  std::vector<std::pair<Place, bool>> entries;
  for (const std::string &entry : item.entries) {
    add(transfer, maker, other, entry, item);
    entries.emplace_back(maker.at(entry), maker.now().entries.at(maker.at(entry)).isFolder);
  }
  const auto ask = [asking, entries, item, into = other.at(item.into)](BarrierRecorder &recorder) {
    const auto operation = asking->to->manyItems();
    for (const auto &[place, isFolder] : entries)
      add(*operation, asking->from.filesystem(), place, isFolder, folderAt(*asking->to, into), item.isMove);
    return isDoneWhole(*operation, &asking->error, [&] { recorder.noteReport(); });
  };
  return {{asking->from.imagePath(), asking->to.imagePath()},
          std::make_shared<PairJudge>(before, transfer.from, otherBefore, transfer.to, transfer.newFile),
          ask,
          [asking] { return asking->error.description(); },
          [asking] { return asking->from->isReadOnly() || asking->to->isReadOnly(); }};
}

class PowerCutOfTwo : public testing::TestWithParam<std::tuple<Case, Layout>> {
protected:
  static const Case &item() { return std::get<0>(GetParam()); }
  static Attempt attempt() { return attemptOf(item(), std::get<1>(GetParam())); }
};

TEST_P(PowerCutOfTwo, LosesNothingAndLeavesNothingHalf) {
  expectNothingIsLost(attempt);
}

TEST_P(PowerCutOfTwo, IsSeenWhereABarrierIsLeftOut) {
  expectEachBarrierIsNeeded(attempt);
}

TEST_P(PowerCutOfTwo, IsSeenWhereTwoStepsShareABarrier) {
  expectOrderIsNeeded(attempt, item().ordered);
}

TEST_P(PowerCutOfTwo, LosesNothingWhereTheMediumRefusesABarrier) {
  expectRefusalsLoseNothing(attempt);
}

std::vector<Case> cases() {
  const std::vector<std::string> files{"/ROOT1", "/ROOT2", "/EMPTY", "/Sixteen bytes of"};
  return {
      {"CopyFiles", files, "/Part", false, 1},
      {"CopyTree", {"/Nest"}, "/Part", false, 1},
      {"CopyTreeGrowing", {"/Nest"}, "/Full", false, 1},
      {"MoveFiles", files, "/Part", true, 3},
      {"MoveTree", {"/Nest"}, "/Part", true, 3},
      {"MoveTrees", {"/Nest", "/Void", "/Part"}, "/Full", true, 3},
  };
}

std::string nameOfCase(const testing::TestParamInfo<std::tuple<Case, Layout>> &info) {
  return std::get<0>(info.param).name + nameOf(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Volumes, PowerCutOfTwo,
                         testing::Combine(testing::ValuesIn(cases()),
                                          testing::Values(Layout::tight, Layout::apart)),
                         nameOfCase);

} // namespace
} // namespace tessary::test
