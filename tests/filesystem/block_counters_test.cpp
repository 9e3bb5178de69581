// How many blocks are used and free.

#include "filesystem/AllocationTable.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

struct Figures {
  std::uint64_t used;
  std::uint64_t free;
};

void expectFigures(const BlockCounters &counters, Figures expected) {
  EXPECT_EQ(counters.used(), expected.used);
  EXPECT_EQ(counters.free(), expected.free);
}

TEST(BlockCounters, BeginWithNothingAndHoldWhatWasSet) {
  BlockCounters counters;
  expectFigures(counters, {0, 0});
  counters.set(7, 9);
  expectFigures(counters, {7, 9});
}

TEST(BlockCounters, TakenBlocksAreUsedAndNoLongerFree) {
  BlockCounters counters;
  counters.set(10, 20);
  counters.take(5);
  expectFigures(counters, {15, 15});
  counters.take(15);
  expectFigures(counters, {30, 0});
}

TEST(BlockCounters, MoreThanIsFreeLeavesTheFreeOnesAndRaisesTheUsedOnes) {
  BlockCounters counters;
  counters.set(10, 4);
  counters.take(5);
  expectFigures(counters, {15, 4});
}

TEST(BlockCounters, BlocksGivenBackAreFreeAndNoLongerUsed) {
  BlockCounters counters;
  counters.set(10, 20);
  counters.giveBack(4);
  expectFigures(counters, {6, 24});
  counters.giveBack(6);
  expectFigures(counters, {0, 30});
}

TEST(BlockCounters, MoreThanIsUsedLeavesTheUsedOnesAndRaisesTheFreeOnes) {
  BlockCounters counters;
  counters.set(4, 20);
  counters.giveBack(5);
  expectFigures(counters, {4, 25});
}

TEST(BlockCounters, NoBlocksChangeNothing) {
  BlockCounters counters;
  counters.set(4, 20);
  counters.take(0);
  counters.giveBack(0);
  expectFigures(counters, {4, 20});
}

} // namespace
} // namespace tessary::test
