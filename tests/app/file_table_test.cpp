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
  FileTableTest() {
    table_.setModel(&model_);
    std::vector<int> widths, minimums;
    for (const FileColumn &column : kFileColumns) {
      widths.push_back(column.width);
      minimums.push_back(column.minimumWidth);
    }
    table_.setColumnWidths(widths, minimums);
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

TEST_F(FileTableTest, UserMakesAColumnWiderAndNotNarrowerThanItsMinimum) {
  showAt(635);
  QHeaderView *header = table_.horizontalHeader();
  const auto dragEdge = [&](int column, int by) {
    const QPoint edge(header->sectionViewportPosition(column) + header->sectionSize(column) - 1,
                      header->height() / 2);
    QTest::mousePress(header->viewport(), Qt::LeftButton, {}, edge);
    QTest::mouseMove(header->viewport(), edge + QPoint(by / 2, 0));
    QTest::mouseMove(header->viewport(), edge + QPoint(by, 0));
    QTest::mouseRelease(header->viewport(), Qt::LeftButton, {}, edge + QPoint(by, 0));
  };
  dragEdge(0, 30);
  EXPECT_EQ(widths(), (std::vector{250, 90, 110, 65, 70, 80}));
  dragEdge(1, -60);
  EXPECT_EQ(widths(), (std::vector{250, 60, 110, 65, 70, 80}));
  showAt(635 + 6);
  EXPECT_EQ(widths(), (std::vector{251, 61, 111, 66, 71, 81}));
}

TEST_F(FileTableTest, ScrollsVerticallyOnly) {
  EXPECT_EQ(table_.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
  EXPECT_EQ(table_.verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
}

} // namespace
} // namespace tessary
