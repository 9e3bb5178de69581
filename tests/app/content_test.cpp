#include "app/ContentController.h"

#include "app/FileTable.h"
#include "tests/app/WindowTest.h"
#include "tests/support/TreeBuilder.h"

#include <QAbstractItemModelTester>
#include <QScrollBar>
#include <QTest>

namespace tessary {
namespace {

using test::clickRow;
using test::makeFile;
using test::makeFolderOf;
using test::rowTexts;

class ContentTest : public testing::Test {
protected:
  ContentTest() {
    content_.setTableView(&table_);
    table_.resize(700, 200);
    table_.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&table_));
  }

  void show(const EMU3DirectoryPtr &folder) { content_.setDirectory(folder); }

  QStringList names() const {
    QStringList names;
    for (int row = 0; row < content_.rowCount(); ++row)
      names += rowTexts(content_, row).first();
    return names;
  }

  QStringList selected() const {
    QStringList names;
    for (int row = 0; row < content_.rowCount(); ++row)
      if (table_.selectionModel()->isRowSelected(row)) names += rowTexts(content_, row).first();
    return names;
  }

  FileTable table_;
  ContentController content_;
  QAbstractItemModelTester conformity_{&content_, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(ContentTest, HasSixColumnsInOrder) {
  ASSERT_EQ(content_.columnCount(), 6);
  QStringList titles;
  for (int column = 0; column < 6; ++column)
    titles += content_.headerData(column, Qt::Horizontal).toString();
  EXPECT_EQ(titles, (QStringList{"Name", "Type", "Format", "Presets", "Samples", "Size"}));
}

TEST_F(ContentTest, IsEmptyWithoutAFolder) {
  content_.refresh();
  EXPECT_EQ(content_.rowCount(), 0);
  show(makeFolderOf({makeFile("A")}));
  show(nullptr);
  EXPECT_EQ(content_.rowCount(), 0);
}

TEST_F(ContentTest, ShowsLiveFilesInTheFoldersOrder) {
  const auto deleted = makeFile("Gone", 0);
  show(makeFolderOf({makeFile("Zebra"), deleted, makeFile("apple"), makeFile("Mango")}));
  EXPECT_EQ(names(), (QStringList{"Zebra", "apple", "Mango"}));
  EXPECT_EQ(content_.displayedFiles().size(), 3U);
}

TEST_F(ContentTest, FolderWhoseFilesAreAllDeletedShowsAnEmptyTable) {
  show(makeFolderOf({makeFile("A", 0), makeFile("B", 0)}));
  EXPECT_EQ(content_.rowCount(), 0);
}

TEST_F(ContentTest, IsPaintedAnewOnlyWhereARefreshFindsSomethingNew) {
  const EMU3FilePtr file = makeFile("KICK", 0x81, 1536);
  show(makeFolderOf({file}));
  int changes = 0;
  QObject::connect(&content_, &QAbstractItemModel::dataChanged, &table_, [&] { ++changes; });
  content_.refresh();
  EXPECT_EQ(changes, 0);
  TreeEditor::setBankDetails(*file, {std::nullopt, 4, 1, 1});
  content_.refresh();
  EXPECT_EQ(changes, 1);
  TreeEditor::setName(*file, "SNARE");
  content_.refresh();
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(rowTexts(content_, 0), (QStringList{"SNARE", "Bank", "Emulator IV", "1", "1", "1.5 KB"}));
  content_.refresh();
  EXPECT_EQ(changes, 2);
}

TEST_F(ContentTest, SearchOfAllFoldersIsPaintedAnewAtEachRefreshSinceItNamesTheFolders) {
  const EMU3DirectoryPtr folder = makeFolderOf({makeFile("KICK")});
  show(folder);
  content_.setSearch({QStringLiteral("kick"), true});
  int changes = 0;
  QObject::connect(&content_, &QAbstractItemModel::dataChanged, &table_, [&] { ++changes; });
  content_.refresh();
  EXPECT_EQ(changes, 1);
}

TEST_F(ContentTest, CellsOfABankBeforeItsDetailsAreRead) {
  show(makeFolderOf({makeFile("KICK", 0x81, 1536)}));
  EXPECT_EQ(rowTexts(content_, 0), (QStringList{"KICK", "Bank", "—", "—", "—", "1.5 KB"}));
}

TEST_F(ContentTest, CellsOfFilesThatAreNoBanks) {
  show(makeFolderOf({makeFile("OS", 0x80, 1023), makeFile("NOTES", 0x82, 0)}));
  EXPECT_EQ(rowTexts(content_, 0), (QStringList{"OS", "System", "—", "—", "—", "1023 B"}));
  EXPECT_EQ(rowTexts(content_, 1), (QStringList{"NOTES", "File", "—", "—", "—", "0 B"}));
}

TEST_F(ContentTest, CellsOfBanksOfEveryFormat) {
  std::vector<EMU3FilePtr> files;
  for (const std::int64_t format : {0, 1, 2, 3, 4, 5, -1}) {
    files.push_back(makeFile("F"));
    TreeEditor::setBankDetails(*files.back(), {std::nullopt, format, 12, format == 0 ? 0U : 345U});
  }
  show(makeFolderOf(files));
  QStringList formats;
  for (int row = 0; row < content_.rowCount(); ++row)
    formats += rowTexts(content_, row)[2];
  EXPECT_EQ(formats, (QStringList{"—", "Emulator III", "Emulator 3X", "ESI-32 v3", "Emulator IV", "—", "—"}));
  EXPECT_EQ(rowTexts(content_, 0).mid(3, 2), (QStringList{"12", "—"}));
  EXPECT_EQ(rowTexts(content_, 1).mid(3, 2), (QStringList{"12", "345"}));
}

TEST_F(ContentTest, NumbersAreWrittenTheSameInEveryLocale) {
  const QLocale before;
  QLocale::setDefault(QLocale(QLocale::German));
  const auto file = makeFile("F", 0x81, 1'610'612'736);
  TreeEditor::setBankDetails(*file, {std::nullopt, 4, 1234567, 1000});
  show(makeFolderOf({file}));
  EXPECT_EQ(rowTexts(content_, 0), (QStringList{"F", "Bank", "Emulator IV", "1234567", "1000", "1536.0 MB"}));
  QLocale::setDefault(before);
}

TEST_F(ContentTest, NamesAreShownAsTheyAreOnOneLine) {
  show(makeFolderOf({makeFile("<i>A</i>\nB")}));
  EXPECT_EQ(names(), QStringList{"<i>A</i>\\nB"});
  EXPECT_EQ(table_.rowHeight(0), 20);
}

TEST_F(ContentTest, ShowsTheFolderAsItWasAtTheLastRefresh) {
  const auto file = makeFile("A");
  const auto folder = makeFolderOf({file});
  show(folder);
  TreeEditor::setBankDetails(*file, {std::nullopt, 4, 1, 1});
  TreeEditor::appendFile(folder, makeFile("B"));
  EXPECT_EQ(rowTexts(content_, 0)[2], QStringLiteral("—"));
  EXPECT_EQ(content_.rowCount(), 1);
  content_.refresh();
  EXPECT_EQ(rowTexts(content_, 0)[2], QStringLiteral("Emulator IV"));
  EXPECT_EQ(names(), (QStringList{"A", "B"}));
}

// ---- Selection and scrolling

class ContentRefresh : public ContentTest {
protected:
  ContentRefresh() {
    for (int number = 1; number <= 50; ++number)
      TreeEditor::appendFile(folder_, makeFile("File " + std::to_string(number)));
    show(folder_);
    clickRow(&table_, content_.index(2, 0));
    clickRow(&table_, content_.index(4, 0), Qt::LeftButton, Qt::ControlModifier);
    table_.verticalScrollBar()->setValue(137);
  }

  const EMU3DirectoryPtr folder_ = makeFolderOf({});
};

TEST_F(ContentRefresh, KeepsSelectedFilesAndScrollWhileTheFolderIsTheSame) {
  content_.refresh();
  EXPECT_EQ(selected(), (QStringList{"File 3", "File 5"}));
  EXPECT_EQ(table_.verticalScrollBar()->value(), 137);
}

TEST_F(ContentRefresh, KeepsTheFilesThatAreStillThereWhenOthersComeAndGo) {
  TreeEditor::removeFile(folder_, folder_->files()[0]);
  TreeEditor::removeFile(folder_, folder_->files()[1]); // "File 3"
  TreeEditor::appendFile(folder_, makeFile("New"));
  content_.refresh();
  EXPECT_EQ(selected(), QStringList{"File 5"});
  EXPECT_EQ(table_.verticalScrollBar()->value(), 137);
  QCoreApplication::processEvents();
  EXPECT_EQ(table_.verticalScrollBar()->value(), 137);
  EXPECT_EQ(table_.selectionModel()->currentIndex().data().toString(), QStringLiteral("File 5"));
  EXPECT_EQ(names().last(), QStringLiteral("New"));
}

TEST_F(ContentRefresh, AnotherFolderClearsSelectionAndScroll) {
  show(makeFolderOf(folder_->files()));
  EXPECT_EQ(selected(), QStringList());
  QCoreApplication::processEvents();
  EXPECT_EQ(table_.verticalScrollBar()->value(), 0);
}

} // namespace
} // namespace tessary
