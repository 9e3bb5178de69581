#include "tests/durability/Trial.h"

#include "tests/durability/PowerCuts.h"

#include <gtest/gtest.h>

#include <iostream>

namespace tessary::test {
namespace {

/// Whether each barrier is in use; fails the test where there is none.
std::vector<bool> barriersOf(const Attempts &attempts) {
  std::vector<bool> isInUse = Trial(attempts()).barriers();
  EXPECT_FALSE(isInUse.empty()) << "nothing was waited for";
  return isInUse;
}

std::string numberOf(std::size_t barrier, std::size_t barriers) {
  return "barrier " + std::to_string(barrier + 1) + " of " + std::to_string(barriers);
}

} // namespace

CutCount Trial::run() {
  ask();
  return countCuts(recorder_.take(), *attempt_.judge, isDone_);
}

CutCount Trial::runFrom(std::size_t barrier) {
  ask();
  return countCutsFrom(barrier, recorder_.take(), *attempt_.judge, isDone_);
}

std::vector<bool> Trial::barriers() {
  ask();
  return PowerCuts(recorder_.take()).barriersInUse();
}

void expectNothingIsLost(const Attempts &attempts) {
  Trial once(attempts());
  const CutCount count = once.run();
  EXPECT_TRUE(once.isDone()) << once.attempt().complaint();
  EXPECT_GT(count.barriers, 0U) << "nothing was waited for";
  EXPECT_EQ(count.faults(), "");
  testing::Test::RecordProperty("states", static_cast<int>(count.states));
  std::cout << count.states << " states, " << count.barriers << " barriers\n";
}

void expectEachBarrierIsNeeded(const Attempts &attempts) {
  const std::vector<bool> isInUse = barriersOf(attempts);
  for (std::size_t barrier = 0; barrier < isInUse.size(); ++barrier) {
    const std::string which = "without " + numberOf(barrier, isInUse.size());
    if (!isInUse[barrier]) {
      std::cout << which << ": it brings nothing to the medium\n";
      continue;
    }
    Trial without(attempts());
    without.leaveOut(barrier, Omission::lost);
    const CutCount found = without.runFrom(barrier);
    EXPECT_TRUE(without.isDone());
    EXPECT_TRUE(found.isFaulty()) << which;
    std::cout << which << ": " << found.faults() << '\n';
  }
}

void expectOrderIsNeeded(const Attempts &attempts, std::size_t ordered) {
  const std::size_t count = barriersOf(attempts).size();
  std::size_t seen = 0;
  for (std::size_t barrier = 0; barrier + 1 < count; ++barrier) {
    Trial merged(attempts());
    merged.leaveOut(barrier, Omission::late);
    const CutCount found = merged.runFrom(barrier);
    if (found.faulty > 0) ++seen;
    std::cout << numberOf(barrier, count)
              << " with the next: " << (found.isFaulty() ? found.faults() : "nothing is seen") << '\n';
  }
  EXPECT_GE(seen, ordered);
}

void expectRefusalsLoseNothing(const Attempts &attempts) {
  const std::size_t barriers = barriersOf(attempts).size();
  for (std::size_t barrier = 0; barrier < barriers; ++barrier) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, numberOf(barrier, barriers));
    Trial refused(attempts());
    refused.leaveOut(barrier, Omission::refused);
    const CutCount found = refused.runFrom(barrier);
    EXPECT_FALSE(refused.isDone());
    EXPECT_NE(refused.attempt().complaint().find("Data write failed"), std::string::npos)
        << refused.attempt().complaint();
    EXPECT_TRUE(refused.attempt().isReadOnly());
    EXPECT_EQ(found.faults(), "");
    EXPECT_EQ(found.barriers, barrier + 1) << "it was tried again";
  }
}

} // namespace tessary::test
