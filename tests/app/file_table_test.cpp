#include "app/FileTable.h"

#include "app/ContentController.h"
#include "tests/app/WindowTest.h"

#include <QHeaderView>
#include <QStandardItemModel>
#include <QTest>
#include <numeric>

namespace tessary {
namespace {

class FileTableTest : public testing::Test {
protected:
  FileTableTest() { table_.setModel(&model_); }

  void dragEdge(int column, int by) const {
    QHeaderView *header = table_.horizontalHeader();
    const QPoint edge(header->sectionViewportPosition(column) + header->sectionSize(column) - 1,
                      header->height() / 2);
    QTest::mousePress(header->viewport(), Qt::LeftButton, {}, edge);
    QTest::mouseMove(header->viewport(), edge + QPoint(by / 2, 0));
    QTest::mouseMove(header->viewport(), edge + QPoint(by, 0));
    QTest::mouseRelease(header->viewport(), Qt::LeftButton, {}, edge + QPoint(by, 0));
  }

  std::vector<int> widths() const {
    std::vector<int> widths;
    for (int column = 0; column < model_.columnCount(); ++column)
      widths.push_back(table_.columnWidth(column));
    return widths;
  }

  /// Shown with a view of that width.
  void showAt(int width) {
    table_.resize(width, 300);
    table_.show();
    QCoreApplication::processEvents();
    ASSERT_EQ(table_.viewport()->width(), width);
  }

  QStandardItemModel model_{0, 6};
  FileTable table_;
};

TEST_F(FileTableTest, ColumnsStartWithTheirWidths) {
  showAt(635);
  EXPECT_EQ(widths(), (std::vector{220, 90, 110, 65, 70, 80}));
}

TEST_F(FileTableTest, ColumnsShareAChangeOfWidthEqually) {
  showAt(635);
  EXPECT_EQ(widths(), (std::vector{220, 90, 110, 65, 70, 80}));
  showAt(635 + 60);
  EXPECT_EQ(widths(), (std::vector{230, 100, 120, 75, 80, 90}));
  showAt(635);
  EXPECT_EQ(widths(), (std::vector{220, 90, 110, 65, 70, 80}));
}

TEST_F(FileTableTest, ManySmallChangesShareLikeALargeOne) {
  for (int width = 635; width <= 635 + 120; ++width)
    showAt(width);
  EXPECT_EQ(widths(), (std::vector{240, 110, 130, 85, 90, 100}));
}

TEST_F(FileTableTest, ColumnsFillTheView) {
  for (const int width : {500, 636, 979, 1001}) {
    showAt(width);
    const std::vector<int> now = widths();
    EXPECT_EQ(std::accumulate(now.begin(), now.end(), 0), width);
  }
}

TEST_F(FileTableTest, NoColumnGetsNarrowerThanItsMinimum) {
  showAt(450);
  EXPECT_EQ(widths(), (std::vector{145, 60, 80, 50, 55, 60}));
  showAt(300);
  EXPECT_EQ(widths(), (std::vector{80, 60, 80, 50, 55, 60}));
}

TEST_F(FileTableTest, ColumnTakesItsWidthFromTheNextOnes) {
  showAt(635);
  dragEdge(0, 20);
  EXPECT_EQ(widths(), (std::vector{240, 70, 110, 65, 70, 80}));
  dragEdge(0, 50); // 10 from the next one, 30 from the one after it, 10 from the third
  EXPECT_EQ(widths(), (std::vector{290, 60, 80, 55, 70, 80}));
}

TEST_F(FileTableTest, ColumnGivesItsWidthToTheNextOne) {
  showAt(635);
  dragEdge(2, -20);
  EXPECT_EQ(widths(), (std::vector{220, 90, 90, 85, 70, 80}));
  dragEdge(2, -60); // no further than to its minimum
  EXPECT_EQ(widths(), (std::vector{220, 90, 80, 95, 70, 80}));
}

TEST_F(FileTableTest, ColumnsCannotBeDraggedOutOfReach) {
  showAt(635);
  dragEdge(0, 400);
  EXPECT_EQ(widths(), (std::vector{330, 60, 80, 50, 55, 60}));
  dragEdge(5, 100);
  EXPECT_EQ(widths(), (std::vector{330, 60, 80, 50, 55, 60}));
  showAt(700);
  const std::vector<int> now = widths();
  EXPECT_EQ(std::accumulate(now.begin(), now.end(), 0), 700);
}

TEST_F(FileTableTest, ScrollsVerticallyOnly) {
  EXPECT_EQ(table_.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
  EXPECT_EQ(table_.verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
}

} // namespace
} // namespace tessary
