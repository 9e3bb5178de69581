#include "app/Alert.h"
#include "app/CellDelegate.h"
#include "app/Colors.h"
#include "app/FolderOutline.h"
#include "app/NameAlert.h"
#include "app/Settings.h"
#include "app/StatusBar.h"
#include "app/TextSize.h"
#include "app/WindowPlace.h"
#include "tests/app/Contrast.h"
#include "tests/app/PaletteGuard.h"
#include "tests/app/SheetTest.h"
#include "tests/support/BankBuilder.h"

#include <QFormLayout>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLabel>
#include <QScrollBar>
#include <QTest>
#include <QToolTip>

namespace tessary::test {
namespace {

// ---- Place of the window

TEST(WindowPlaceTest, WindowIsAsLargeAsItLikesWhereThereIsRoom) {
  EXPECT_EQ(sizeOnScreen({1200, 780}, {0, 0, 1920, 1080}, {4, 40, 4, 4}), QSize(1200, 780));
}

TEST(WindowPlaceTest, WindowFitsTheScreenWithItsFrame) {
  for (const QRect &screen :
       {QRect(0, 0, 1366, 768), QRect(0, 0, 1024, 768), QRect(0, 0, 960, 540), QRect(100, 30, 800, 600)}) {
    const QMargins frame(4, 40, 4, 4);
    const QSize size = sizeOnScreen({1200, 780}, screen, frame);
    const QRect window(placeOnScreen(size, screen, frame), size);
    EXPECT_TRUE(screen.contains(window.marginsAdded(frame)));
  }
}

TEST(WindowPlaceTest, TitleBarStaysInReachWhateverTheSize) {
  const QRect screen(0, 24, 640, 400);
  EXPECT_EQ(placeOnScreen({800, 500}, screen, {4, 40, 4, 4}), QPoint(4, 64));
}

class Form : public SheetTest {
protected:
  QString toolTipAt(QAbstractItemView *view, const QModelIndex &item) const {
    const QPoint place = view->visualRect(item).center();
    QHelpEvent event(QEvent::ToolTip, place, view->viewport()->mapToGlobal(place));
    QApplication::sendEvent(view->viewport(), &event);
    const QString shown = QToolTip::text();
    QToolTip::hideText();
    EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); })); // it fades out
    return shown;
  }
  QColor selectionOf(QAbstractItemView *view) const {
    return view->palette().color(QPalette::Active, QPalette::Highlight);
  }
};

TEST_F(Form, WindowsPlaceIsKept) {
  putMenuBar();
  const QRect place(100, 120, 900, 600);
  window()->setGeometry(place);
  QCoreApplication::processEvents();
  controller_->prepareToQuit();
  MainWindowController next(windows_);
  auto *bar = new QMenuBar;
  next.setMenuBar(bar);
  next.showWindow();
  EXPECT_EQ(next.window()->geometry(), place);
}

// ---- Folders

TEST_F(Form, SidebarsColumnIsAsWideAsTheSidebar) {
  ImageBuilder image;
  image.root().addFolder("WWWWWWWWWWWWWWW").addFile("X");
  image.root().addFolder("A").addFolder("B").addFolder("C").addFolder("WWWWWWWWWWWWWWW");
  mount(image);
  auto *splitter = window()->findChild<QSplitter *>("SplitView");
  splitter->setSizes({140, 1000});
  QCoreApplication::processEvents();
  chooseFolder({"A", "B", "C"});
  chooseFolder({"WWWWWWWWWWWWWWW"});
  EXPECT_EQ(outline()->columnWidth(0), outline()->viewport()->width());
  EXPECT_EQ(outline()->horizontalScrollBar()->maximum(), 0);
}

TEST_F(Form, FolderThatIsCutIsShownWholeInAToolTip) {
  ImageBuilder image;
  image.root().addFolder("<i>WWWWWWWWWWW").addFile("X");
  image.root().addFolder("SHORT");
  mount(image);
  window()->findChild<QSplitter *>("SplitView")->setSizes({140, 1000});
  QCoreApplication::processEvents();
  EXPECT_TRUE(toolTipAt(outline(), outline()->model()->index(0, 0)).contains("&lt;i&gt;WWWWWWWWWWW (1)"));
  EXPECT_EQ(toolTipAt(outline(), outline()->model()->index(1, 0)), QString());
}

TEST_F(Form, DeepFolderIsReachedByScrollingAndTheWayBackIsThere) {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("0");
  QStringList path{"0"};
  for (int depth = 1; depth < 20; ++depth) {
    folder = folder.addFolder(std::to_string(depth));
    path += QString::number(depth);
  }
  mount(image);
  chooseFolder(path);
  const QRect row = outline()->visualRect(folderItem(path));
  EXPECT_GE(row.left(), 0);
  EXPECT_LE(row.left() + 64, outline()->viewport()->width()) << "something of the label is seen";
  EXPECT_TRUE(outline()->horizontalScrollBar()->isVisible());
  chooseFolder({"0"});
  EXPECT_GE(outline()->visualRect(folderItem({"0"})).left(), outline()->indentation())
      << "icon and triangle are in sight again";
}

// ---- Files

TEST_F(Form, FileThatIsCutIsShownWholeInAToolTip) {
  mount(volume());
  table()->setColumnWidth(0, 80);
  controller_->filesystem()->renameFile(controller_->currentDirectory()->allFiles()[0], "WWWWWWWWWWWWWWW",
                                        controller_->currentDirectory());
  chooseFolder({"B"});
  chooseFolder({"A"});
  table()->horizontalHeader()->resizeSection(0, 80);
  EXPECT_TRUE(toolTipAt(table(), table()->model()->index(0, 0)).contains("WWWWWWWWWWWWWWW"));
  EXPECT_EQ(toolTipAt(table(), table()->model()->index(1, 0)), QString());
}

TEST_F(Form, HomeAndEndGoToTheFirstAndTheLastFile) {
  mount(volume());
  chooseFiles({"SECOND"});
  pressKeyIn(window(), Qt::Key_End);
  EXPECT_EQ(selectedFileNames(), QStringList{"THIRD"});
  pressKeyIn(window(), Qt::Key_Home);
  EXPECT_EQ(selectedFileNames(), QStringList{"FIRST"});
  pressKeyIn(window(), Qt::Key_Right);
  EXPECT_EQ(selectedFileNames(), QStringList{"FIRST"});
  EXPECT_EQ(table()->currentIndex(), table()->model()->index(0, 0)) << "rows have the keyboard, not cells";
}

TEST_F(Form, HomeSelectsTheFirstFileThatTheKeyboardCameTo) {
  mount(volume());
  outline()->setFocus();
  pressKeyIn(window(), Qt::Key_Tab);
  ASSERT_TRUE(table()->hasFocus());
  pressKeyIn(window(), Qt::Key_Home);
  EXPECT_EQ(selectedFileNames(), QStringList{"FIRST"});
}

TEST_F(Form, TypedNameGoesToTheFileWhicheverColumnWasClicked) {
  mount(volume());
  const QRect type = table()->visualRect(table()->model()->index(0, 1));
  click(table()->viewport(), type.center());
  EXPECT_EQ(table()->currentIndex().column(), 0);
  pressKeyIn(window(), Qt::Key_T);
  EXPECT_EQ(selectedFileNames(), QStringList{"THIRD"});
}

TEST_F(Form, SelectionIsGreyWhereTheKeyboardIsNot) {
  mount(volume());
  chooseFiles({"FIRST"});
  const QColor withKeyboard = selectionOf(table());
  const QColor without = selectionOf(outline());
  EXPECT_NE(withKeyboard, without);
  EXPECT_LT(without.hslSaturation(), 30);
  outline()->setFocus();
  EXPECT_EQ(selectionOf(outline()), withKeyboard);
  EXPECT_EQ(selectionOf(table()), without);
}

TEST_F(Form, MenuLeavesTheSelectionAsItIs) {
  mount(volume());
  chooseFiles({"FIRST"});
  const QColor before = selectionOf(table());
  click(table()->viewport(), table()->visualRect(fileItem("FIRST")).center(), Qt::RightButton);
  QWidget *menu = QApplication::activePopupWidget();
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(selectionOf(table()), before);
  menu->close();
}

// ---- Colours

TEST_F(Form, EverythingIsEasyToReadInBothSchemes) {
  mount(volume());
  const QPalette light = QApplication::palette();
  QPalette dark(QColor(50, 50, 50), QColor(35, 35, 35));
  dark.setColor(QPalette::Highlight, QColor(42, 130, 218));
  dark.setColor(QPalette::HighlightedText, Qt::white);
  for (const QPalette &scheme : {light, dark}) {
    const PaletteGuard guard;
    QApplication::setPalette(scheme);
    QCoreApplication::processEvents();
    EXPECT_GE(contrast(secondaryLabelColor(scheme), scheme.color(QPalette::Window)), 4.5);
    for (QAbstractItemView *view :
         {static_cast<QAbstractItemView *>(table()), static_cast<QAbstractItemView *>(outline())}) {
      view->setFocus();
      for (const bool focused : {true, false}) {
        if (!focused) view->clearFocus();
        const QPalette colors = view->palette();
        EXPECT_GE(contrast(colors.color(QPalette::Active, QPalette::HighlightedText),
                           colors.color(QPalette::Active, QPalette::Highlight)),
                  4.5);
        EXPECT_GE(contrast(colors.color(QPalette::Text), colors.color(QPalette::AlternateBase)), 4.5);
      }
    }
  }
}

// ---- Text size

class LargeText : public testing::Test {
protected:
  LargeText() : before_(QApplication::font()) {
    QFont large = before_;
    large.setPointSize(18);
    QApplication::setFont(large);
  }
  ~LargeText() override { QApplication::setFont(before_); }

  const QFont before_;
};

TEST_F(LargeText, EverythingFollowsTheSystemsTextSize) {
  WindowList windows;
  MainWindowController controller(windows);
  controller.showWindow();
  const double scale = textScale();
  EXPECT_GT(scale, 1.5);
  EXPECT_EQ(controller.tableView()->font().pixelSize(), scaled(12));
  EXPECT_GE(controller.tableView()->font().pixelSize(), 18);
  EXPECT_EQ(controller.outlineView()->font().pixelSize(), scaled(12));
  EXPECT_EQ(controller.statusLabel()->font().pixelSize(), scaled(11));
  EXPECT_EQ(controller.tableView()->verticalHeader()->defaultSectionSize(), scaled(20));
  NameAlert alert("Rename File", "Enter a new name (max 15 characters):", "Rename", controller.window());
  const auto *field = alert.findChild<QLineEdit *>();
  EXPECT_GE(field->height(), QFontMetrics(field->font()).height());
}

TEST_F(LargeText, WindowThatIsOpenFollowsToo) {
  QApplication::setFont(before_);
  WindowList windows;
  MainWindowController controller(windows);
  controller.showWindow();
  ASSERT_EQ(controller.tableView()->font().pixelSize(), 12);
  QFont large = before_;
  large.setPointSize(18);
  QApplication::setFont(large);
  QCoreApplication::processEvents();
  EXPECT_EQ(controller.tableView()->font().pixelSize(), scaled(12));
  EXPECT_EQ(controller.outlineView()->font().pixelSize(), scaled(12));
  EXPECT_EQ(controller.statusLabel()->font().pixelSize(), scaled(11));
  EXPECT_EQ(controller.tableView()->verticalHeader()->defaultSectionSize(), scaled(20));
}

// ---- Alerts

TEST_F(Form, AlertsAreWideEnoughAndTheirHeadlineIsBold) {
  mount(volume());
  chooseFiles({"FIRST"});
  clickToolbar("DeleteItem");
  EXPECT_GE(question().width(), 360);
  EXPECT_TRUE(question().findChild<QLabel *>("qt_msgbox_label")->font().bold());
  EXPECT_FALSE(question().findChild<QLabel *>("qt_msgbox_informativelabel")->font().bold());
  answerSheet("Cancel");
  BackupOffers::setMade(true);
  clickToolbar("DeleteItem");
  EXPECT_GE(question().width(), 360) << "one with a check box";
  pressKey(Qt::Key_Escape);
}

TEST_F(Form, ValuesOfAFilesInformationAreAligned) {
  ImageBuilder image;
  image.root().addFolder("A").addFile("KIT", emulatorThreeBank("KIT", 9, 12));
  mount(image);
  chooseFiles({"KIT"});
  pressKeyIn(window(), Qt::Key_Return);
  ASSERT_TRUE(waitUntilIdle());
  const auto *form = question().findChild<QFormLayout *>();
  ASSERT_NE(form, nullptr);
  ASSERT_EQ(form->rowCount(), 5);
  QStringList names, values;
  QSet<int> places;
  for (int row = 0; row < form->rowCount(); ++row) {
    const auto *value = qobject_cast<QLabel *>(form->itemAt(row, QFormLayout::FieldRole)->widget());
    names += qobject_cast<QLabel *>(form->itemAt(row, QFormLayout::LabelRole)->widget())->text();
    values += value->text();
    places += value->x();
  }
  EXPECT_EQ(names, (QStringList{"Name", "Format", "Size", "Presets", "Samples"}));
  EXPECT_EQ(values, (QStringList{"KIT", "Emulator III", "2.0 KB", "9", "12"}));
  EXPECT_EQ(places.size(), 1);
  answerSheet("OK");
}

// ---- Names

TEST_F(Form, NameFieldTellsHowMuchRoomIsLeft) {
  mount(volume());
  chooseFiles({"FIRST"});
  chooseFromFileMenu("FIRST", "Rename…");
  const auto *room = question().findChild<QLabel *>("Room");
  EXPECT_EQ(room->text(), "10 byte(s) left");
  field().setText(QString::fromUtf8("Ärger")); // six bytes
  EXPECT_EQ(room->text(), "9 byte(s) left");
  field().setText(QString(40, u'x'));
  EXPECT_EQ(room->text(), "25 byte(s) too many");
  answerSheet("Cancel");
}

TEST_F(Form, NameThatIsNotTakenStaysInTheField) {
  const std::string path = mount(volume());
  chooseFiles({"FIRST"});
  chooseFromFileMenu("FIRST", "Rename…");
  const AlertAnswers alerts;
  answerWithName("MUCH TOO LONG A NAME");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, QStringLiteral("Name must be 1–15 characters"));
  ASSERT_NE(sheet<QMessageBox>(), nullptr);
  activate(sheet<QMessageBox>());
  EXPECT_EQ(field().text(), "MUCH TOO LONG A NAME");
  EXPECT_EQ(question().focusWidget(), &field());
  answerWithName("SHORT");
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_EQ(namesOnImage(path, {"A"})[0], "SHORT");
}

TEST_F(Form, NewFolderThatCannotBeMadeStaysInTheField) {
  mount(volume());
  controller_->_newFolder();
  const AlertAnswers alerts;
  answerWithName("MUCH TOO LONG A NAME");
  ASSERT_EQ(alerts.shown().size(), 1U);
  activate(sheet<QMessageBox>());
  EXPECT_EQ(field().text(), "MUCH TOO LONG A NAME");
  answerWithName("Fits");
  EXPECT_EQ(status(), "Created folder 'Fits'.");
}

// ---- Read-only

TEST_F(Form, ReadOnlyImageLooksDifferent) {
  mountReadOnly(volume());
  const auto *label = window()->findChild<QLabel *>("ReadOnlyLabel");
  EXPECT_TRUE(label->isVisible());
  EXPECT_EQ(label->text(), "Read-only");
  EXPECT_TRUE(label->toolTip().contains("Read-only: "));
  mount(volume(), "other.hda");
  EXPECT_FALSE(label->isVisible());
}

} // namespace
} // namespace tessary::test
