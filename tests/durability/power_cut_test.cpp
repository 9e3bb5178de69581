// A power cut at any moment of a change, and a barrier that is missing or that the medium refuses.

#include "tests/durability/CutCount.h"
#include "tests/durability/Operations.h"
#include "tests/durability/PowerCuts.h"
#include "tests/support/AskedNumber.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <optional>
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
  };
}

/// A volume that is asked for one operation.
class Trial {
public:
  Trial(const Case &item, Layout layout)
      : volume_(volumeToChange(layout), MountRules::guarded), maker_(readBytes(volume_.imagePath()), host_),
        operation_(item.made(maker_, layout)), recorder_(volume_.imagePath()),
        judge_(readBytes(volume_.imagePath()), operation_.asked) {}

  void leaveOut(std::size_t barrier, Omission how) { recorder_.leaveOut(barrier, how); }
  CutCount run() {
    ask();
    return countCuts(recorder_.take(), judge_, isDone_);
  }
  /// Whether each barrier is in use.
  std::vector<bool> barriers() {
    ask();
    return PowerCuts(recorder_.take()).barriersInUse();
  }
  /// With all that comes from this barrier on.
  CutCount runFrom(std::size_t barrier) {
    ask();
    return countCutsFrom(barrier, recorder_.take(), judge_, isDone_);
  }
  [[nodiscard]] bool isDone() const { return isDone_; }
  [[nodiscard]] const EMU3Error &error() const { return error_; }
  [[nodiscard]] const EMU3Filesystem &volume() const { return *volume_; }

private:
  void ask() { isDone_ = operation_.make(*volume_, &error_); }

  const TemporaryFolder host_;
  const MountedVolume volume_;
  const OperationMaker maker_;
  const Operation operation_;
  BarrierRecorder recorder_;
  const Judge judge_;
  EMU3Error error_;
  bool isDone_ = false;
};

class PowerCut : public testing::TestWithParam<std::tuple<Case, Layout>> {
protected:
  static const Case &item() { return std::get<0>(GetParam()); }
  static Trial trial() { return Trial(item(), std::get<1>(GetParam())); }
  /// Whether each barrier is in use; fails the test where there is none.
  static std::vector<bool> barriers() {
    std::vector<bool> isInUse = trial().barriers();
    EXPECT_FALSE(isInUse.empty()) << "nothing was waited for";
    return isInUse;
  }
};

TEST_P(PowerCut, LosesNothingAndLeavesNothingHalf) {
  Trial once = trial();
  const CutCount count = once.run();
  EXPECT_TRUE(once.isDone()) << once.error().description();
  EXPECT_GT(count.barriers, 0U) << "nothing was waited for";
  EXPECT_EQ(count.faults(), "");
  RecordProperty("states", static_cast<int>(count.states));
  std::cout << count.states << " states, " << count.barriers << " barriers\n";
}

TEST_P(PowerCut, IsSeenWhereABarrierIsLeftOut) {
  const std::vector<bool> isInUse = barriers();
  for (std::size_t barrier = 0; barrier < isInUse.size(); ++barrier) {
    const std::string which =
        "without barrier " + std::to_string(barrier + 1) + " of " + std::to_string(isInUse.size());
    if (!isInUse[barrier]) {
      std::cout << which << ": it brings nothing to the medium\n";
      continue;
    }
    Trial without = trial();
    without.leaveOut(barrier, Omission::lost);
    const CutCount found = without.runFrom(barrier);
    EXPECT_TRUE(without.isDone());
    EXPECT_TRUE(found.isFaulty()) << which;
    std::cout << which << ": " << found.faults() << '\n';
  }
}

// With one barrier in the place of two, the order between them is gone: cuts alone show it.
TEST_P(PowerCut, IsSeenWhereTwoStepsShareABarrier) {
  const std::size_t count = barriers().size();
  std::size_t seen = 0;
  for (std::size_t barrier = 0; barrier + 1 < count; ++barrier) {
    Trial merged = trial();
    merged.leaveOut(barrier, Omission::late);
    const CutCount found = merged.runFrom(barrier);
    if (found.faulty > 0) ++seen;
    std::cout << "barrier " << barrier + 1 << " of " << count
              << " with the next: " << (found.isFaulty() ? found.faults() : "nothing is seen") << '\n';
  }
  EXPECT_GE(seen, item().ordered);
}

TEST_P(PowerCut, LosesNothingWhereTheMediumRefusesABarrier) {
  const std::size_t count = barriers().size();
  for (std::size_t barrier = 0; barrier < count; ++barrier) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "barrier " + std::to_string(barrier + 1));
    Trial refused = trial();
    refused.leaveOut(barrier, Omission::refused);
    const CutCount found = refused.runFrom(barrier);
    EXPECT_FALSE(refused.isDone());
    EXPECT_EQ(refused.error().description(), "Error Domain=com.tessary.error Code=3 \"Data write failed\"");
    EXPECT_TRUE(refused.volume().isReadOnly());
    EXPECT_EQ(found.faults(), "");
    EXPECT_EQ(found.barriers, barrier + 1) << "it was tried again";
  }
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
  BarrierRecorder recorder(volume.imagePath());
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
