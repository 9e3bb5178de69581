// What is said of work that takes long, and when.

#include "app/progress/LongWork.h"
#include "app/progress/WorkOutcome.h"
#include "tests/app/QtPrinters.h"

#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <vector>

namespace tessary::test {
namespace {

using namespace std::chrono_literals;

// ---- When it is shown

TEST(LongWorkShown, FromHalfASecondOnUntilItEnds) {
  WorkBar bar;
  LongWork work(&bar);
  const auto progress = std::make_shared<WorkProgress>();
  const WorkProgress::Clock::time_point begin = WorkProgress::Clock::now() - 1h;
  work.add(progress);
  work.look(begin + 1h);
  EXPECT_TRUE(bar.isHidden()) << "it waits for its turn";
  progress->begin(begin);
  work.look(begin + 499ms);
  EXPECT_TRUE(bar.isHidden());
  work.look(begin + 500ms);
  EXPECT_FALSE(bar.isHidden());
  work.remove(progress);
  EXPECT_TRUE(bar.isHidden());
}

TEST(LongWorkShown, TheFirstThatRunsAndStopIsForThatAlone) {
  WorkBar bar;
  LongWork work(&bar);
  const auto waiting = std::make_shared<WorkProgress>();
  const auto first = std::make_shared<WorkProgress>();
  const auto second = std::make_shared<WorkProgress>();
  const WorkProgress::Clock::time_point begin = WorkProgress::Clock::now() - 1h;
  for (const auto &each : {waiting, first, second})
    work.add(each);
  first->begin(begin);
  second->begin(begin);
  work.look(begin + 1s);
  emit bar.stopPressed();
  EXPECT_TRUE(first->isToStop());
  EXPECT_FALSE(second->isToStop());
  EXPECT_FALSE(waiting->isToStop());
  work.stop();
  EXPECT_TRUE(second->isToStop());
  EXPECT_TRUE(waiting->isToStop());
}

TEST(LongWorkShown, WhatSomebodyWaitsForFirst) {
  WorkBar bar;
  LongWork work(&bar);
  const auto first = std::make_shared<WorkProgress>();
  const auto second = std::make_shared<WorkProgress>();
  const auto waitedFor = std::make_shared<WorkProgress>();
  const WorkProgress::Clock::time_point begin = WorkProgress::Clock::now() - 1h;
  for (const auto &each : {first, second, waitedFor}) {
    each->begin(begin);
    work.add(each);
  }
  work.showFirst(waitedFor);
  work.look(begin + 1s);
  emit bar.stopPressed();
  EXPECT_TRUE(waitedFor->isToStop());
  EXPECT_FALSE(first->isToStop());
  work.remove(waitedFor);
  emit bar.stopPressed();
  EXPECT_TRUE(first->isToStop());
  EXPECT_FALSE(second->isToStop());
}

// ---- Its words

TEST(LongWorkWords, TellItemShareBytesAndTimeLeft) {
  const WorkBar::Shown shown = workWords(
      {.doing = "Importing", .item = "KICK.E4B", .done = 12 << 20, .all = 64 << 20, .areBytes = true}, 130s,
      false);
  EXPECT_EQ(shown.what, "Importing “KICK.E4B”");
  EXPECT_EQ(shown.figures, "12.0 MB of 64.0 MB (18%), about 2 minutes left");
  EXPECT_EQ(shown.share, 187);
  EXPECT_FALSE(shown.isStopping);
}

TEST(LongWorkWords, TellItemsWhereThereAreNoBytes) {
  const WorkBar::Shown shown =
      workWords({.doing = "Deleting", .item = "KICK", .done = 64, .all = 100}, std::nullopt, false);
  EXPECT_EQ(shown.figures, "64 of 100 (64%)");
}

TEST(LongWorkWords, TellNoFiguresBeforeAnyAreKnown) {
  const WorkBar::Shown shown = workWords({.doing = "Exporting"}, 5s, false);
  EXPECT_EQ(shown.what, "Exporting…");
  EXPECT_EQ(shown.figures, "");
  EXPECT_LT(shown.share, 0);
}

TEST(LongWorkWords, TellThatItIsStopping) {
  const WorkBar::Shown shown =
      workWords({.doing = "Deleting", .item = "A\nB", .done = 64, .all = 100}, 5s, true);
  EXPECT_EQ(shown.what, "Stopping after “A\\nB”…");
  EXPECT_EQ(shown.figures, "64 of 100 (64%)");
  EXPECT_TRUE(shown.isStopping);
}

TEST(LongWorkWords, TellTheTimeLeftNoMoreExactlyThanItIsKnown) {
  const std::vector<std::pair<std::chrono::seconds, QString>> texts = {
      {0s, "a few seconds left"},     {9s, "a few seconds left"},     {10s, "about 10 seconds left"},
      {26s, "about 30 seconds left"}, {54s, "about 50 seconds left"}, {55s, "about 1 minute left"},
      {89s, "about 1 minute left"},   {90s, "about 2 minutes left"},  {54min, "about 54 minutes left"},
      {55min, "about 1 hour left"},   {150min, "about 3 hours left"},
  };
  for (const auto &[left, text] : texts)
    EXPECT_EQ(timeLeftText(left), text) << left.count();
}

TEST(LongWorkWords, TellHowItWent) {
  EXPECT_EQ(outcomeText("Copied", {.done = 3, .all = 3}), "Copied 3 file(s).");
  EXPECT_EQ(outcomeText("Copied", {.done = 2, .failed = 1, .all = 3}), "Copied 2 file(s) (1 failed).");
  EXPECT_EQ(outcomeText("Copied", {.done = 2, .failed = 1, .all = 9, .isStopped = true}),
            "Stopped. Copied 2 of 9 file(s) (1 failed).");
  EXPECT_EQ(outcomeText("Exported", {.done = 2, .all = 9, .isStopped = true}, "sample(s)"),
            "Stopped. Exported 2 of 9 sample(s).");
}

TEST(LongWorkTimeLeft, FollowsTheRateOfTheLastSeconds) {
  const TimeLeft::Clock::time_point begin;
  TimeLeft time;
  time.note(begin, 0, 1000);
  EXPECT_FALSE(time.left());
  time.note(begin + 500ms, 10, 1000);
  EXPECT_FALSE(time.left()) << "too short a while";
  time.note(begin + 2s, 20, 1000);
  EXPECT_EQ(time.left(), 98s);
  time.note(begin + 10s, 500, 1000); // it has become quicker
  time.note(begin + 20s, 900, 1000);
  EXPECT_EQ(time.left(), 2s) << "100 at 400 in ten seconds";
}

TEST(LongWorkTimeLeft, IsUnknownWhereNothingIsDone) {
  const TimeLeft::Clock::time_point begin;
  TimeLeft time;
  time.note(begin, 10, 1000);
  time.note(begin + 5s, 10, 1000);
  EXPECT_FALSE(time.left());
}

} // namespace
} // namespace tessary::test
