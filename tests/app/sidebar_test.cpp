#include "app/SidebarController.h"

#include "app/FolderOutline.h"
#include "tests/app/WindowTest.h"
#include "tests/support/TreeBuilder.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QMessageBox>
#include <QScrollBar>
#include <QStyle>
#include <QTest>

namespace tessary {
namespace {

using test::click;
using test::clickRow;
using test::makeFolder;

void addFiles(const EMU3DirectoryPtr &folder, int count, std::uint8_t rawType = 0x81) {
  for (int number = 0; number < count; ++number)
    TreeEditor::appendFile(folder, test::makeFile("", rawType));
}

/// A sidebar with its outline on the screen, and what it reports.
class SidebarTest : public testing::Test {
protected:
  SidebarTest() {
    sidebar_.setOutlineView(&outline_);
    sidebar_.setSelectionChanged([this](const EMU3DirectoryPtr &folder) { reported_.push_back(folder); });
    outline_.resize(220, 400);
    outline_.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&outline_));
  }

  void show(const EMU3DirectoryPtr &root) {
    sidebar_.setRoot(root);
    sidebar_.reload();
  }

  QStringList labels() const {
    QStringList labels;
    for (QModelIndex row = sidebar_.index(0, 0); row.isValid(); row = outline_.indexBelow(row))
      labels += row.data().toString();
    return labels;
  }

  FolderOutline outline_;
  SidebarController sidebar_;
  QAbstractItemModelTester conformity_{&sidebar_, QAbstractItemModelTester::FailureReportingMode::Fatal};
  std::vector<EMU3DirectoryPtr> reported_;
};

TEST_F(SidebarTest, IsEmptyWithoutARoot) {
  EXPECT_EQ(sidebar_.rowCount(), 0);
  EXPECT_FALSE(sidebar_.hasChildren());
  show(makeFolder("disk.hda"));
  EXPECT_EQ(sidebar_.rowCount(), 0);
  EXPECT_FALSE(sidebar_.hasChildren());
  show(nullptr);
  EXPECT_EQ(sidebar_.rowCount(), 0);
}

TEST_F(SidebarTest, ListsSubfoldersInTheFoldersOrder) {
  const auto root = makeFolder("disk.hda");
  for (const char *name : {"Zebra", "apple", "Mango"})
    makeFolder(name, root);
  show(root);
  EXPECT_EQ(labels(), (QStringList{"Zebra", "apple", "Mango"}));
}

TEST_F(SidebarTest, LabelTellsTheNumberOfTheFoldersOwnFiles) {
  const auto root = makeFolder("disk.hda");
  addFiles(makeFolder("Drums", root), 12);
  addFiles(makeFolder("One", root), 1);
  show(root);
  EXPECT_EQ(labels(), (QStringList{"Drums (12)", "One (1)"}));
}

TEST_F(SidebarTest, FolderWithoutALiveFileOfItsOwnShowsItsBareName) {
  const auto root = makeFolder("disk.hda");
  const auto outer = makeFolder("Outer", root);
  addFiles(makeFolder("Inner", outer), 3);
  addFiles(makeFolder("Deleted", root), 4, 0);
  show(root);
  EXPECT_EQ(labels(), (QStringList{"Outer", "Deleted"}));
}

TEST_F(SidebarTest, FolderWithoutANameHasAnEmptyLabel) {
  const auto root = makeFolder("disk.hda");
  makeFolder("", root);
  show(root);
  EXPECT_EQ(labels(), QStringList{""});
}

TEST_F(SidebarTest, NamesAreShownAsTheyAreOnOneLine) {
  const auto root = makeFolder("disk.hda");
  makeFolder("<b>A</b>\nB", root);
  show(root);
  EXPECT_EQ(labels(), QStringList{"<b>A</b>\\nB"});
  EXPECT_EQ(outline_.visualRect(sidebar_.index(0, 0)).height(), 20);
}

TEST_F(SidebarTest, RowsHaveTheStandardFolderIcon) {
  const auto root = makeFolder("disk.hda");
  makeFolder("Drums", root);
  show(root);
  const auto icon = sidebar_.index(0, 0).data(Qt::DecorationRole).value<QIcon>();
  const QIcon standard = QApplication::style()->standardIcon(QStyle::SP_DirIcon);
  EXPECT_EQ(icon.pixmap(16, 16).toImage(), standard.pixmap(16, 16).toImage());
}

TEST_F(SidebarTest, OnlyFoldersWithSubfoldersCanBeExpanded) {
  const auto root = makeFolder("disk.hda");
  const auto outer = makeFolder("Outer", root);
  makeFolder("Inner", outer);
  addFiles(makeFolder("Leaf", root), 5);
  show(root);
  EXPECT_TRUE(sidebar_.hasChildren(sidebar_.index(0, 0)));
  EXPECT_FALSE(sidebar_.hasChildren(sidebar_.index(1, 0)));
  outline_.expand(sidebar_.index(0, 0));
  EXPECT_EQ(labels(), (QStringList{"Outer", "Inner", "Leaf (5)"}));
}

TEST_F(SidebarTest, ReportsTheChosenFolder) {
  const auto root = makeFolder("disk.hda");
  const auto drums = makeFolder("Drums", root);
  const auto pads = makeFolder("Pads", root);
  show(root);
  EXPECT_TRUE(reported_.empty());
  clickRow(&outline_, sidebar_.index(1, 0));
  clickRow(&outline_, sidebar_.index(0, 0));
  clickRow(&outline_, sidebar_.index(0, 0));
  EXPECT_EQ(reported_, (std::vector{pads, drums}));
}

TEST_F(SidebarTest, ClearingTheSelectionReportsTheRoot) {
  const auto root = makeFolder("disk.hda");
  makeFolder("Drums", root);
  show(root);
  clickRow(&outline_, sidebar_.index(0, 0));
  reported_.clear();
  click(outline_.viewport(), test::emptyPlace(&outline_));
  EXPECT_EQ(reported_, std::vector{root});
  EXPECT_FALSE(outline_.selectionModel()->hasSelection());
}

TEST_F(SidebarTest, EveryPressOnTheEmptyAreaIsTold) {
  const auto root = makeFolder("disk.hda");
  makeFolder("Drums", root);
  show(root);
  int pressed = 0;
  QObject::connect(&outline_, &FolderOutline::emptyAreaPressed, [&] {
    ++pressed;
    EXPECT_FALSE(outline_.selectionModel()->hasSelection());
  });
  clickRow(&outline_, sidebar_.index(0, 0));
  EXPECT_EQ(pressed, 0);
  for (int press = 1; press <= 2; ++press) {
    click(outline_.viewport(), test::emptyPlace(&outline_));
    EXPECT_EQ(pressed, press);
  }
  click(outline_.viewport(), test::emptyPlace(&outline_), Qt::RightButton);
  EXPECT_EQ(pressed, 2);
}

TEST_F(SidebarTest, ClearingTheSelectionAfterTheRootIsGoneReportsNull) {
  const auto root = makeFolder("disk.hda");
  makeFolder("Drums", root);
  show(root);
  clickRow(&outline_, sidebar_.index(0, 0));
  reported_.clear();
  sidebar_.setRoot(nullptr);
  outline_.clearSelection();
  EXPECT_EQ(reported_, std::vector<EMU3DirectoryPtr>{nullptr});
}

TEST_F(SidebarTest, RightClickSelectsNothing) {
  const auto root = makeFolder("disk.hda");
  makeFolder("Drums", root);
  makeFolder("Pads", root);
  show(root);
  clickRow(&outline_, sidebar_.index(0, 0));
  reported_.clear();
  clickRow(&outline_, sidebar_.index(1, 0), Qt::RightButton);
  EXPECT_TRUE(outline_.selectionModel()->isSelected(sidebar_.index(0, 0)));
  click(outline_.viewport(), test::emptyPlace(&outline_), Qt::RightButton);
  EXPECT_TRUE(outline_.selectionModel()->isSelected(sidebar_.index(0, 0)));
  EXPECT_TRUE(reported_.empty());
}

// ---- Reloading

class SidebarReload : public SidebarTest {
protected:
  SidebarReload() {
    inner_ = makeFolder("Inner", outer_);
    makeFolder("Innermost", inner_);
    for (int number = 1; number <= 40; ++number)
      makeFolder("Folder " + std::to_string(number), root_);
    show(root_);
  }

  bool highlight(const EMU3DirectoryPtr &folder) {
    sidebar_.highlight(folder);
    return outline_.selectionModel()->selectedRows() == QModelIndexList{sidebar_.indexOf(folder)};
  }

  const EMU3DirectoryPtr root_ = makeFolder("disk.hda");
  const EMU3DirectoryPtr outer_ = makeFolder("Outer", root_);
  EMU3DirectoryPtr inner_;
};

TEST_F(SidebarReload, ShowsWhatChanged) {
  addFiles(outer_, 2);
  makeFolder("New", root_);
  EXPECT_EQ(labels().first(), QStringLiteral("Outer")) << "shown as it was at the last reload";
  sidebar_.reload();
  EXPECT_EQ(labels().first(), QStringLiteral("Outer (2)"));
  EXPECT_EQ(labels().last(), QStringLiteral("New"));
}

TEST_F(SidebarReload, KeepsExpansionHighlightAndScrollWithoutReportingAChange) {
  outline_.expand(sidebar_.indexOf(outer_));
  outline_.expand(sidebar_.indexOf(inner_));
  ASSERT_TRUE(highlight(inner_));
  outline_.verticalScrollBar()->setValue(113);
  const QStringList before = labels();
  reported_.clear();

  sidebar_.reload();
  EXPECT_EQ(labels(), before);
  ASSERT_EQ(labels().mid(0, 3), (QStringList{"Outer", "Inner", "Innermost"}));
  EXPECT_EQ(outline_.selectionModel()->selectedRows(), QModelIndexList{sidebar_.indexOf(inner_)});
  EXPECT_EQ(outline_.verticalScrollBar()->value(), 113);
  QCoreApplication::processEvents();
  EXPECT_EQ(outline_.verticalScrollBar()->value(), 113);
  EXPECT_TRUE(reported_.empty());
}

TEST_F(SidebarReload, KeepsAFolderHighlightedBelowAClosedOneAndLeavesThatClosed) {
  outline_.expand(sidebar_.indexOf(outer_));
  ASSERT_TRUE(highlight(inner_));
  outline_.collapse(sidebar_.indexOf(outer_));
  sidebar_.reload();
  QCoreApplication::processEvents();
  EXPECT_FALSE(outline_.isExpanded(sidebar_.indexOf(outer_)));
  EXPECT_EQ(outline_.selectionModel()->selectedRows(), QModelIndexList{sidebar_.indexOf(inner_)});
}

TEST_F(SidebarReload, FolderThatIsGoneIsHighlightedNoMoreAndNothingIsReported) {
  ASSERT_TRUE(highlight(outer_));
  reported_.clear();
  TreeEditor::removeSubdirectory(root_, outer_);
  sidebar_.reload();
  EXPECT_FALSE(outline_.selectionModel()->hasSelection());
  EXPECT_EQ(labels().first(), QStringLiteral("Folder 1"));
  EXPECT_TRUE(reported_.empty());
}

TEST_F(SidebarReload, SelectionIsReportedAgainAfterwards) {
  sidebar_.reload();
  outline_.setCurrentIndex(sidebar_.indexOf(outer_));
  EXPECT_EQ(reported_, std::vector{outer_});
}

TEST_F(SidebarReload, HighlightOpensWhatLiesAboveAndReportsNothing) {
  ASSERT_TRUE(highlight(inner_));
  EXPECT_TRUE(outline_.isExpanded(sidebar_.indexOf(outer_)));
  EXPECT_TRUE(reported_.empty());
  EXPECT_FALSE(highlight(root_)) << "the root has no row";
  EXPECT_FALSE(outline_.selectionModel()->hasSelection());
  EXPECT_TRUE(reported_.empty());
}

TEST_F(SidebarReload, OtherTreeStartsClosedAndUnselected) {
  outline_.expand(sidebar_.indexOf(outer_));
  ASSERT_TRUE(highlight(outer_));
  const auto other = makeFolder("other.hda");
  makeFolder("Inner", makeFolder("Outer", other));
  show(other);
  EXPECT_EQ(labels(), QStringList{"Outer"});
  EXPECT_FALSE(outline_.selectionModel()->hasSelection());
}

// ---- Rows

TEST_F(SidebarReload, FolderHasARowWhenAllAboveItAreExpanded) {
  EXPECT_TRUE(sidebar_.hasRow(outer_));
  EXPECT_FALSE(sidebar_.hasRow(inner_));
  outline_.expand(sidebar_.indexOf(outer_));
  EXPECT_TRUE(sidebar_.hasRow(inner_));
}

TEST_F(SidebarReload, RootAndStrangersHaveNoRow) {
  EXPECT_FALSE(sidebar_.hasRow(root_));
  EXPECT_FALSE(sidebar_.hasRow(nullptr));
  EXPECT_FALSE(sidebar_.hasRow(makeFolder("Stranger")));
  EXPECT_FALSE(sidebar_.indexOf(makeFolder("Stranger", makeFolder("Elsewhere"))).isValid());
  EXPECT_EQ(sidebar_.directoryAt({}), root_);
}

TEST_F(SidebarReload, ChosenRowIsScrolledIntoView) {
  const EMU3DirectoryPtr last = root_->subdirectories().back();
  ASSERT_TRUE(highlight(last));
  const QRect row = outline_.visualRect(sidebar_.indexOf(last));
  EXPECT_TRUE(outline_.viewport()->rect().contains(row.center()));
}

// ---- Depth

TEST_F(SidebarTest, FoldersNestedInTensOfThousandsAreOpenedAsFarAsTheStackAllows) {
  const auto root = makeFolder("disk.hda");
  EMU3DirectoryPtr deepest = root;
  for (int depth = 0; depth < 32000; ++depth)
    deepest = makeFolder("F", deepest);
  show(root);
  outline_.setCurrentIndex(sidebar_.index(0, 0));
  QTest::keyClick(&outline_, Qt::Key_Asterisk); // expands everything below
  QCoreApplication::processEvents();
  EXPECT_EQ(labels().size(), FolderOutline::kDeepestOpenLevel + 2);
  sidebar_.reload();
  EXPECT_EQ(labels().size(), FolderOutline::kDeepestOpenLevel + 2);
  outline_.verticalScrollBar()->setValue(outline_.verticalScrollBar()->maximum());
  EXPECT_FALSE(outline_.grab().isNull());
  EXPECT_TRUE(sidebar_.indexOf(deepest).isValid());
  EXPECT_FALSE(sidebar_.hasRow(deepest));
}

} // namespace
} // namespace tessary
