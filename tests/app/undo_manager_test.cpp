#include "app/UndoManager.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <vector>

namespace tessary {
namespace {

using Side = UndoManager::Side;

class UndoManagerTest : public testing::Test {
protected:
  /// A call that notes that it ran, and on which side its counterpart belongs.
  UndoManager::Call noting(int number) {
    return [this, number](Side counterpart) {
      ran_.push_back(number);
      counterparts_.push_back(counterpart);
    };
  }

  UndoManager manager_;
  std::vector<int> ran_;
  std::vector<Side> counterparts_;
};

TEST_F(UndoManagerTest, HasNothingToUndoOrRedoAtFirst) {
  EXPECT_FALSE(manager_.canUndo());
  EXPECT_FALSE(manager_.canRedo());
  manager_.undo();
  manager_.redo();
  EXPECT_EQ(manager_.undoName(), QString());
  EXPECT_EQ(manager_.redoName(), QString());
}

TEST_F(UndoManagerTest, UndoesTheNewestFirst) {
  for (const int number : {1, 2, 3})
    manager_.registerUndo(noting(number));
  manager_.undo();
  manager_.undo();
  EXPECT_EQ(ran_, (std::vector{3, 2}));
  EXPECT_TRUE(manager_.canUndo());
  manager_.undo();
  EXPECT_FALSE(manager_.canUndo());
}

TEST_F(UndoManagerTest, CounterpartOfAnUndoGoesOnTheRedoSideAndBack) {
  manager_.registerUndo(noting(1));
  manager_.undo();
  ASSERT_EQ(counterparts_, std::vector{Side::Redo});
  EXPECT_FALSE(manager_.canRedo()) << "the step's work has not ended yet";

  manager_.registerCounterpart(counterparts_[0], noting(2));
  EXPECT_FALSE(manager_.canUndo());
  ASSERT_TRUE(manager_.canRedo());
  manager_.redo();
  EXPECT_EQ(ran_, (std::vector{1, 2}));
  ASSERT_EQ(counterparts_.back(), Side::Undo);
  EXPECT_FALSE(manager_.canRedo());

  manager_.registerCounterpart(counterparts_.back(), noting(3));
  EXPECT_TRUE(manager_.canUndo());
  EXPECT_FALSE(manager_.canRedo());
}

TEST_F(UndoManagerTest, CounterpartMayBeRegisteredWhileTheCallRuns) {
  manager_.registerUndo([this](Side counterpart) { manager_.registerCounterpart(counterpart, noting(2)); });
  manager_.undo();
  manager_.redo();
  EXPECT_EQ(ran_, std::vector{2});
}

TEST_F(UndoManagerTest, NewActionEmptiesTheRedoSide) {
  manager_.registerCounterpart(Side::Redo, noting(1));
  manager_.registerUndo(noting(2));
  EXPECT_FALSE(manager_.canRedo());
  EXPECT_TRUE(manager_.canUndo());
}

TEST_F(UndoManagerTest, CounterpartLeavesTheOtherSideAlone) {
  manager_.registerUndo(noting(1));
  manager_.registerCounterpart(Side::Redo, noting(2));
  manager_.registerCounterpart(Side::Undo, noting(3));
  EXPECT_TRUE(manager_.canRedo());
  manager_.undo();
  manager_.undo();
  EXPECT_EQ(ran_, (std::vector{3, 1}));
}

TEST_F(UndoManagerTest, CallRegisteredBelowComesAfterAllOthersOfItsSide) {
  manager_.registerUndo(noting(1));
  manager_.registerUndo(noting(2));
  manager_.registerCounterpart(Side::Redo, noting(101));
  manager_.registerBelow(Side::Undo, noting(3));
  EXPECT_TRUE(manager_.canRedo());
  while (manager_.canUndo())
    manager_.undo();
  EXPECT_EQ(ran_, (std::vector{2, 1, 3}));
}

TEST_F(UndoManagerTest, CallRegisteredBelowIsNotDroppedByWhatIsDoneMeanwhile) {
  manager_.setLevelsOfUndo(2);
  manager_.registerUndo(noting(1));
  manager_.registerUndo(noting(2));
  manager_.registerBelow(Side::Undo, noting(3));
  manager_.registerUndo(noting(4));
  while (manager_.canUndo())
    manager_.undo();
  EXPECT_EQ(ran_, (std::vector{4, 2, 3}));
}

TEST_F(UndoManagerTest, EachSideKeepsTheNewestOfItsLevels) {
  manager_.setLevelsOfUndo(10);
  EXPECT_EQ(manager_.levelsOfUndo(), 10U);
  for (int number = 1; number <= 12; ++number)
    manager_.registerUndo(noting(number));
  for (int number = 101; number <= 111; ++number)
    manager_.registerCounterpart(Side::Redo, noting(number));
  while (manager_.canUndo())
    manager_.undo();
  EXPECT_EQ(ran_, (std::vector{12, 11, 10, 9, 8, 7, 6, 5, 4, 3}));
  ran_.clear();
  while (manager_.canRedo())
    manager_.redo();
  EXPECT_EQ(ran_, (std::vector{111, 110, 109, 108, 107, 106, 105, 104, 103, 102}));
}

TEST_F(UndoManagerTest, FewerLevelsDropTheOldest) {
  for (int number = 1; number <= 4; ++number)
    manager_.registerUndo(noting(number));
  manager_.setLevelsOfUndo(2);
  while (manager_.canUndo())
    manager_.undo();
  EXPECT_EQ(ran_, (std::vector{4, 3}));
}

TEST_F(UndoManagerTest, TellsEveryChange) {
  QSignalSpy changes(&manager_, &UndoManager::changed);
  manager_.registerUndo(noting(1));
  EXPECT_EQ(changes.count(), 1);
  manager_.undo();
  EXPECT_EQ(changes.count(), 2);
  manager_.registerCounterpart(Side::Redo, noting(2));
  EXPECT_EQ(changes.count(), 3);
  manager_.redo();
  EXPECT_EQ(changes.count(), 4);
  manager_.registerBelow(Side::Undo, noting(3));
  EXPECT_EQ(changes.count(), 5);
}

TEST_F(UndoManagerTest, NamesTheActionsThatComeNext) {
  manager_.registerUndo(noting(1), QStringLiteral("Import"));
  manager_.registerUndo(noting(2), QStringLiteral("Delete"));
  manager_.registerCounterpart(Side::Redo, noting(3), QStringLiteral("Rename"));
  EXPECT_EQ(manager_.undoName(), QStringLiteral("Delete"));
  EXPECT_EQ(manager_.redoName(), QStringLiteral("Rename"));
  manager_.undo();
  EXPECT_EQ(manager_.undoName(), QStringLiteral("Import"));
}

TEST_F(UndoManagerTest, KeepsItsCallsWhileTheyAreNotAvailable) {
  manager_.registerUndo(noting(1), QStringLiteral("Import"));
  const QSignalSpy changed(&manager_, &UndoManager::changed);
  manager_.setAvailable(false);
  EXPECT_EQ(changed.count(), 1);
  EXPECT_FALSE(manager_.canUndo());
  EXPECT_EQ(manager_.undoName(), QString());
  manager_.undo();
  EXPECT_TRUE(ran_.empty());
  manager_.setAvailable(true);
  EXPECT_TRUE(manager_.canUndo());
  manager_.undo();
  EXPECT_EQ(ran_, std::vector{1});
}

TEST_F(UndoManagerTest, ClearedHasNothingLeft) {
  manager_.registerUndo(noting(1));
  manager_.registerCounterpart(Side::Redo, noting(2));
  manager_.clear();
  EXPECT_FALSE(manager_.canUndo());
  EXPECT_FALSE(manager_.canRedo());
}

} // namespace
} // namespace tessary
