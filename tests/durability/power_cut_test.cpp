// A power cut at any moment of a change, and a barrier that is missing or that the medium refuses.

#include "tests/durability/CutCount.h"
#include "tests/durability/Operations.h"
#include "tests/durability/Trial.h"
#include "tests/support/AskedNumber.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace tessary::test {
namespace {

struct Case {
  std::string name;
  std::function<Operation(const OperationMaker &, Layout)> made;
  /// Steps that a barrier keeps apart from the next, by the rule of the order on the medium.
  std::size_t ordered = 0;
  std::string madeBefore = ""; ///< a folder
};

void PrintTo(const Case &item, std::ostream *out) {
  *out << item.name;
}

std::vector<Case> cases() {
  using Maker = const OperationMaker &;
  const auto import = [](const char *folder, std::size_t length) {
    return [=](Maker maker, Layout) {
      return maker.importFile("NEW", patternBytes(length, 7), maker.at(folder));
    };
  };
  const auto restore = [](const char *folder) {
    return [=](Maker maker, Layout) {
      return maker.restoreFile(maker.at("/Sixteen bytes of"), patternBytes(1700, 7), maker.at(folder));
    };
  };
  const auto copy = [](const char *file, const char *folder) {
    return [=](Maker maker, Layout) { return maker.copyFile(maker.at(file), maker.at(folder)); };
  };
  const auto move = [](const char *file, const char *folder) {
    return [=](Maker maker, Layout) { return maker.moveFile(maker.at(file), maker.at(folder)); };
  };
  const auto moveFolder = [](const char *moved, const char *folder) {
    return [=](Maker maker, Layout) { return maker.moveFolder(maker.at(moved), maker.at(folder)); };
  };
  const auto makeFolder = [](const char *folder) {
    return [=](Maker maker, Layout) { return maker.createFolder("NEW", maker.at(folder)); };
  };
  const auto deleteFile = [](const char *file) {
    return [=](Maker maker, Layout) { return maker.deleteFile(maker.at(file)); };
  };
  const auto deleteFolder = [](const char *folder) {
    return [=](Maker maker, Layout) { return maker.deleteFolder(maker.at(folder)); };
  };
  const auto copyTree = [](const char *copied, const char *folder) {
    return [=](Maker maker, Layout) { return maker.copyTree(maker.at(copied), maker.at(folder)); };
  };
  const auto recover = [](const char *folder) {
    return [=](Maker maker, Layout layout) {
      return maker.recoverFolder(lostBlock(layout), "Back", maker.at(folder));
    };
  };
  return {
      {"Import", import("/Part", 1300), 1},
      {"ImportGrowing", import("/Full", 1300), 1},
      {"ImportOverSlots", import("/", 17 * kBlockBytes), 1},
      {"ImportOfNothing", import("/Void", 0), 0},
      {"Restore", restore("/Void"), 1},
      {"RestoreGrowing", restore("/Full"), 1},
      {"Copy", copy("/ROOT2", "/Part"), 1},
      {"CopyIntoItsFolder", copy("/Part/P1", "/Part"), 1},
      {"CopyGrowing", copy("/Part/P1", "/Full"), 1},
      {"Move", move("/ROOT2", "/Part"), 1},
      {"MoveGrowing", move("/Nest/N1", "/Full"), 2},
      {"MoveOfNothing", move("/EMPTY", "/Nest/Inner"), 1},
      {"Rename", [](Maker maker, Layout) { return maker.renameFile(maker.at("/ROOT1"), "another name"); }, 0},
      {"RenameFolder", [](Maker maker, Layout) { return maker.renameFolder(maker.at("/Nest"), "Other"); }, 0},
      {"Delete", deleteFile("/ROOT2"), 1},
      {"DeleteOfASmallOne", deleteFile("/Full/F3"), 1},
      {"DeleteOfNothing", deleteFile("/EMPTY"), 0},
      {"CreateFolder", makeFolder("/Part"), 1},
      {"CreateFolderGrowing", makeFolder("/Full"), 1},
      {"MoveFolder", moveFolder("/Nest", "/Part"), 1},
      {"MoveFolderGrowing", moveFolder("/Nest/Inner", "/Full"), 2},
      {"DeleteFolder", deleteFolder("/Void"), 0},
      {"DeleteFullFolder", deleteFolder("/Full"), 1},
      {"DeleteTree", deleteFolder("/Nest"), 1},
      {"Recover", recover("/Part"), 0},
      {"RecoverGrowing", recover("/Full"), 1},
      {"CopyTree", copyTree("/Nest", "/Part"), 1},
      {"CopyTreeGrowing", copyTree("/Nest", "/Full"), 1},
      {"CopyTreeIntoItself", copyTree("/Nest", "/Nest/Inner"), 1},
      {"ImportTree", [](Maker maker, Layout) { return maker.importTree(maker.at("/Part")); }, 1},
      {"ImportTreeGrowing", [](Maker maker, Layout) { return maker.importTree(maker.at("/Full")); }, 1},
      {"MoveFolders",
       [](Maker maker, Layout) {
         return maker.moveFolders({maker.at("/Nest/Inner"), maker.at("/Void")}, maker.at("/Part"));
       },
       1},
      {"MoveFoldersGrowing",
       [](Maker maker, Layout) {
         return maker.moveFolders({maker.at("/Nest/Inner"), maker.at("/Void")}, maker.at("/Full"));
       },
       2},
      {"DeleteFolders",
       [](Maker maker, Layout) {
         return maker.deleteFolders({maker.at("/Nest"), maker.at("/Full")});
       },
       1},
      {"MergeFolder",
       [](Maker maker, Layout) {
         return maker.mergeFolder(maker.at("/Nest/Inner"), maker.at("/Part/Inner"));
       },
       1, "/Part/Inner"},
  };
}

/// In a folder of the root.
void makeFolder(const MountedVolume &volume, const std::string &path) {
  const std::size_t slash = path.rfind('/');
  const EMU3DirectoryPtr parent = folderNamed(volume.root(), path.substr(1, slash - 1));
  if (!volume->createDirectoryNamed(path.substr(slash + 1), parent)) throw std::logic_error(path);
}

/// A volume that is asked for one operation.
Attempt attemptOf(const Case &item, Layout layout) {
  struct Asking {
    explicit Asking(Layout layout) : volume(volumeToChange(layout), MountRules::guarded) {}
    const TemporaryFolder host;
    const MountedVolume volume;
    Operation operation;
    EMU3Error error;
  };
  const auto asking = std::make_shared<Asking>(layout);
  if (!item.madeBefore.empty()) makeFolder(asking->volume, item.madeBefore);
  const Bytes before = readBytes(asking->volume.imagePath());
  asking->operation = item.made(OperationMaker(before, asking->host), layout);
  return {{asking->volume.imagePath()},
          std::make_shared<Judge>(before, asking->operation.asked),
          [asking](BarrierRecorder &recorder) {
            return ask(asking->operation, *asking->volume, &asking->error, [&] { recorder.noteReport(); });
          },
          [asking] { return asking->error.description(); },
          [asking] { return asking->volume->isReadOnly(); }};
}

class PowerCut : public testing::TestWithParam<std::tuple<Case, Layout>> {
protected:
  static const Case &item() { return std::get<0>(GetParam()); }
  static Attempt attempt() { return attemptOf(item(), std::get<1>(GetParam())); }
};

TEST_P(PowerCut, LosesNothingAndLeavesNothingHalf) {
  expectNothingIsLost(attempt);
}

TEST_P(PowerCut, IsSeenWhereABarrierIsLeftOut) {
  expectEachBarrierIsNeeded(attempt);
}

TEST_P(PowerCut, IsSeenWhereTwoStepsShareABarrier) {
  expectOrderIsNeeded(attempt, item().ordered);
}

TEST_P(PowerCut, LosesNothingWhereTheMediumRefusesABarrier) {
  expectRefusalsLoseNothing(attempt);
}

std::string nameOfCase(const testing::TestParamInfo<std::tuple<Case, Layout>> &info) {
  return std::get<0>(info.param).name + nameOf(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Operations, PowerCut,
                         testing::Combine(testing::ValuesIn(cases()),
                                          testing::Values(Layout::tight, Layout::apart)),
                         nameOfCase);

// ---- Sequences

/// What there is to recover.
std::optional<std::uint64_t> lostIn(const OperationMaker &maker, Layout layout) {
  const std::uint64_t block = lostBlock(layout);
  if (maker.now().isNamed(block) || maker.now().entryAt({block, 0})[0] == 0) return std::nullopt;
  return block;
}

/// Ten operations, drawn with the seed, each judged by itself.
std::uint64_t runSequence(std::uint32_t seed) {
  Random random(seed);
  const Layout layout = random.chance(50) ? Layout::tight : Layout::apart;
  const TemporaryFolder host;
  const MountedVolume volume(volumeToChange(layout), MountRules::guarded);
  BarrierRecorder recorder({volume.imagePath()});
  std::uint64_t states = 0;
  for (std::uint32_t step = 0; step < 10 && !testing::Test::HasFailure(); ++step) {
    const Bytes before = readBytes(volume.imagePath());
    const OperationMaker maker(before, host);
    const Operation operation = maker.drawn(random, seed * 10 + step, lostIn(maker, layout));
    EMU3Error error;
    const bool isDone = operation.make(*volume, &error);
    // One that is refused changes nothing, and that is on the medium.
    const CutCount count =
        countCuts(recorder.take(), Judge(before, isDone ? operation.asked : Asked{}), true, seed);
    EXPECT_EQ(count.faults(), "") << "seed " << seed << ", step " << step << ": " << operation.name
                                  << (isDone ? "" : ": " + error.description());
    states += count.states;
  }
  return states;
}

TEST(PowerCutInSequences, LosesNothingAndLeavesNothingHalf) {
  const std::uint32_t first = askedNumber("TESSARY_FIRST_SEED", 1);
  const std::uint32_t count = askedNumber("TESSARY_SEEDS", 40);
  std::uint64_t states = 0;
  for (std::uint32_t seed = first; seed < first + count && !HasFailure(); ++seed)
    states += runSequence(seed);
  RecordProperty("states", static_cast<int>(states));
  std::cout << states << " states\n";
}

} // namespace
} // namespace tessary::test
