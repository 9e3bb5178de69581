#include "app/ContentController.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "tests/app/Contrast.h"
#include "tests/app/PaletteGuard.h"
#include "tests/app/WindowTest.h"
#include "tests/support/SampleVolumes.h"

#include <QAccessible>
#include <QApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QSplitter>
#include <QTest>
#include <QToolBar>
#include <QToolTip>
#include <cmath>

namespace tessary::test {
namespace {

class WindowLayout : public WindowTest {
protected:
  static ImageBuilder smallVolume() {
    ImageBuilder image;
    FolderBuilder drums = image.root().addFolder("Drums");
    for (const char *name : {"KICK", "SNARE", "HATS", "TOMS"})
      drums.addFile(name);
    image.root().addFolder("Pads").addFile("WARM");
    return image;
  }

  QToolBar *toolbar() const { return window()->findChild<QToolBar *>(QStringLiteral("MainToolbar")); }
  QSplitter *splitter() const { return window()->findChild<QSplitter *>(QStringLiteral("SplitView")); }
  StatusBar *statusBar() const { return window()->findChild<StatusBar *>(); }

  void dragDivider(int to) const {
    QSplitterHandle *handle = splitter()->handle(1);
    const QPoint grip = handle->rect().center();
    const QPoint target = handle->mapFrom(splitter(), QPoint(to, grip.y()));
    QTest::mousePress(handle, Qt::LeftButton, {}, grip);
    QTest::mouseMove(handle, target);
    QTest::mouseRelease(handle, Qt::LeftButton, {}, target);
    QCoreApplication::processEvents();
  }
};

// ---- Window and panes

TEST_F(WindowLayout, ContentIs1200By700) {
  EXPECT_EQ(window()->centralWidget()->size(), QSize(1200, 700));
}

TEST_F(WindowLayout, ContentKeepsItsSizeWhenTheMenuBarComes) {
  auto *menuBar = new QMenuBar;
  menuBar->addMenu(QStringLiteral("Tessary"))->addAction(QStringLiteral("Quit"));
  controller_->setMenuBar(menuBar);
  QCoreApplication::processEvents();
  EXPECT_TRUE(menuBar->isVisible());
  EXPECT_EQ(window()->centralWidget()->size(), QSize(1200, 700));
}

TEST_F(WindowLayout, WindowIsAtLeast800By500) {
  EXPECT_EQ(window()->minimumSize(), QSize(800, 500));
  window()->resize(100, 100);
  EXPECT_EQ(window()->size(), QSize(800, 500));
}

TEST_F(WindowLayout, WindowStandsInTheMiddleOfTheScreenAsFarAsItFits) {
  const QRect screen = window()->screen()->availableGeometry();
  const QPoint off = window()->geometry().center() - screen.center();
  constexpr int frame = 40; // that a window manager may add
  EXPECT_TRUE(std::abs(off.x()) <= frame || window()->x() == screen.x());
  EXPECT_TRUE(std::abs(off.y()) <= frame || window()->y() == screen.y());
}

TEST_F(WindowLayout, StartsWithoutAnImage) {
  EXPECT_EQ(title(), QStringLiteral("Tessary"));
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(diskSpace(), QString());
  EXPECT_EQ(outline()->model()->rowCount(), 0);
  EXPECT_EQ(table()->model()->rowCount(), 0);
  EXPECT_FALSE(controller_->spinner()->isVisible());
  EXPECT_EQ(controller_->filesystem(), nullptr);
  EXPECT_EQ(controller_->currentDirectory(), nullptr);
}

TEST_F(WindowLayout, PanesStandSideBySideAndFillTheContent) {
  EXPECT_EQ(splitter(), window()->centralWidget());
  EXPECT_EQ(splitter()->orientation(), Qt::Horizontal);
  EXPECT_EQ(splitter()->handleWidth(), 1);
  EXPECT_EQ(outline()->geometry(), QRect(0, 0, 220, 671));
  EXPECT_EQ(splitter()->widget(0)->geometry(), QRect(0, 0, 220, 700));
  EXPECT_EQ(splitter()->widget(1)->geometry(), QRect(221, 0, 979, 700));
}

TEST_F(WindowLayout, SidebarStaysBetween140And340WhereverTheDividerIsDragged) {
  dragDivider(300);
  EXPECT_NEAR(outline()->width(), 300, 2);
  dragDivider(20);
  EXPECT_EQ(outline()->width(), 140);
  dragDivider(900);
  EXPECT_EQ(outline()->width(), 340);
  splitter()->setSizes({0, 1200});
  EXPECT_EQ(outline()->width(), 140);
  splitter()->setSizes({1200, 0});
  EXPECT_EQ(outline()->width(), 340);
}

TEST_F(WindowLayout, WiderWindowWidensTheTable) {
  window()->resize(window()->size() + QSize(120, 40));
  QCoreApplication::processEvents();
  EXPECT_EQ(splitter()->widget(0)->geometry(), QRect(0, 0, 220, 740));
  EXPECT_EQ(splitter()->widget(1)->width(), 979 + 120);
}

// ---- Outline and table

TEST_F(WindowLayout, OutlineHasOneColumnWithoutAHeader) {
  EXPECT_TRUE(outline()->isHeaderHidden());
  EXPECT_EQ(outline()->model()->columnCount(), 1);
  EXPECT_EQ(outline()->font().pixelSize(), 12);
}

TEST_F(WindowLayout, TableSelectsSeveralWholeRowsOnAlternatingBackgrounds) {
  EXPECT_TRUE(table()->alternatingRowColors());
  EXPECT_EQ(table()->selectionMode(), QAbstractItemView::ExtendedSelection);
  EXPECT_EQ(table()->selectionBehavior(), QAbstractItemView::SelectRows);
  EXPECT_EQ(table()->font().pixelSize(), 12);
  EXPECT_FALSE(table()->verticalHeader()->isVisible());
}

TEST_F(WindowLayout, ColumnsHaveTheirTitlesAndGrowFromTheirWidthsWithTheTable) {
  const int share = (table()->viewport()->width() - 635) / 6;
  const std::pair<const char *, int> columns[] = {{"Name", 220},   {"Type", 90},    {"Format", 110},
                                                  {"Presets", 65}, {"Samples", 70}, {"Size", 80}};
  for (int column = 0; column < 6; ++column) {
    const auto &[name, width] = columns[column];
    EXPECT_EQ(table()->model()->headerData(column, Qt::Horizontal).toString(), QLatin1String(name));
    EXPECT_NEAR(table()->columnWidth(column), width + share, 1) << name;
  }
}

// ---- Status bar

TEST_F(WindowLayout, StatusBarHasItsPlaceBelowTheTable) {
  EXPECT_EQ(statusBar()->geometry(), QRect(0, 672, 979, 28));
  EXPECT_EQ(table()->geometry(), QRect(0, 0, 979, 671));
  EXPECT_EQ(statusBar()->backgroundRole(), QPalette::Window);
  EXPECT_TRUE(statusBar()->autoFillBackground());
  const QWidget *line = statusBar()->parentWidget()->childAt(QPoint(500, 671));
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->geometry(), QRect(0, 671, 979, 1));
}

// y from the bar's bottom: 6 for the labels, 18 high, and 5 for the spinner.
TEST_F(WindowLayout, StatusBarElementsHaveTheirFrames) {
  EXPECT_EQ(controller_->statusLabel()->geometry(), QRect(8, 28 - 6 - 18, 300, 18));
  EXPECT_EQ(controller_->diskSpaceLabel()->geometry(), QRect(214, 28 - 6 - 18, 252 + 979 - 680, 18));
  EXPECT_EQ(controller_->spinner()->geometry(), QRect(979 - 30, 28 - 5 - 18, 18, 18));
  window()->resize(window()->size() + QSize(100, 0));
  QCoreApplication::processEvents();
  EXPECT_EQ(controller_->statusLabel()->geometry(), QRect(8, 4, 300, 18));
  EXPECT_EQ(controller_->diskSpaceLabel()->geometry(), QRect(214, 4, 252 + 1079 - 680, 18));
  EXPECT_EQ(controller_->spinner()->geometry(), QRect(1079 - 30, 5, 18, 18));
}

TEST_F(WindowLayout, StatusTextsAreSmallPlainAndAligned) {
  for (const StatusLabel *label : {controller_->statusLabel(), controller_->diskSpaceLabel()}) {
    EXPECT_EQ(label->font().pixelSize(), 11);
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
  }
  EXPECT_TRUE(controller_->statusLabel()->alignment().testFlag(Qt::AlignLeft));
  EXPECT_TRUE(controller_->diskSpaceLabel()->alignment().testFlag(Qt::AlignHCenter));
}

TEST_F(WindowLayout, StatusTextsNeverRunIntoEachOther) {
  const QString longText(200, QLatin1Char('x'));
  controller_->statusLabel()->setText(longText);
  controller_->diskSpaceLabel()->setText(QStringLiteral("Used: 12345678 KB  Free: 12345678 KB"));
  window()->resize(800, 500);
  splitter()->setSizes({340, 459});
  QCoreApplication::processEvents();
  ASSERT_EQ(statusBar()->width(), 459);
  const QRect message = controller_->statusLabel()->textRect();
  const QRect space = controller_->diskSpaceLabel()->textRect();
  EXPECT_LT(message.right(), space.left());
  EXPECT_EQ(space.width(), controller_->diskSpaceLabel()->textWidth()) << "the numbers are not cut";
  EXPECT_LT(space.right(), controller_->spinner()->x());
  EXPECT_EQ(status(), longText);
}

TEST_F(WindowLayout, StatusThatIsCutIsShownWholeInAToolTip) {
  const auto toolTipOf = [](StatusLabel *label) {
    QHelpEvent event(QEvent::ToolTip, {5, 5}, label->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(label, &event);
    const QString shown = QToolTip::text();
    QToolTip::hideText();
    return shown;
  };
  EXPECT_EQ(toolTipOf(controller_->statusLabel()), QString());
  controller_->statusLabel()->setText(QStringLiteral("<b>") + QString(200, QLatin1Char('x')));
  EXPECT_TRUE(toolTipOf(controller_->statusLabel()).contains(QStringLiteral("&lt;b&gt;xxx")));
}

// ---- Spinner

TEST_F(WindowLayout, SpinnerIsShownAsLongAsAnyoneUsesIt) {
  Spinner *spinner = controller_->spinner();
  spinner->start();
  EXPECT_TRUE(spinner->isVisible());
  spinner->start();
  spinner->stop();
  EXPECT_TRUE(spinner->isVisible());
  EXPECT_EQ(spinner->users(), 1);
  spinner->stop();
  EXPECT_FALSE(spinner->isVisible());
}

TEST_F(WindowLayout, SpinnerTurns) {
  Spinner *spinner = controller_->spinner();
  spinner->start();
  const QImage before = spinner->grab().toImage();
  EXPECT_TRUE(QTest::qWaitFor([&] { return spinner->grab().toImage() != before; }, 2000));
  spinner->stop();
}

// ---- Toolbar

TEST_F(WindowLayout, ToolbarHasItsItemsInOrderWithAFlexibleSpace) {
  QStringList items;
  for (const QAction *action : toolbar()->actions())
    items += action->objectName().isEmpty() ? QStringLiteral("space") : action->objectName();
  EXPECT_EQ(items, (QStringList{"MountItem", "UnmountItem", "space", "ImportItem", "ExportItem", "DeleteItem",
                                "UndoItem", "RedoItem"}));
  const QRect unmount = toolbarButton("UnmountItem")->geometry();
  const QRect import = toolbarButton("ImportItem")->geometry();
  EXPECT_GT(import.left() - unmount.right(), 300);
  EXPECT_LT(toolbar()->width() - toolbarButton("RedoItem")->geometry().right(), 20);
}

TEST_F(WindowLayout, ToolbarItemsHaveTheirLabelsAndSymbols) {
  const struct {
    const char *identifier, *label, *paletteLabel, *symbol;
  } items[] = {{"MountItem", "Mount Image", "Mount Image", "externaldrive.badge.plus"},
               {"UnmountItem", "Unmount", "Unmount Image", "eject"},
               {"ExportItem", "Export", "Export File", "square.and.arrow.up"},
               {"ImportItem", "Import", "Import File", "square.and.arrow.down"},
               {"DeleteItem", "Delete", "Delete File", "trash"},
               {"UndoItem", "Undo", "Undo", "arrow.uturn.backward"},
               {"RedoItem", "Redo", "Redo", "arrow.uturn.forward"}};
  for (const auto &[identifier, label, paletteLabel, symbol] : items) {
    const QToolButton *button = toolbarButton(identifier);
    EXPECT_EQ(button->text(), QLatin1String(label));
    EXPECT_EQ(button->defaultAction()->text(), QLatin1String(paletteLabel));
    EXPECT_EQ(button->icon().name(), QLatin1String(symbol));
    EXPECT_EQ(button->toolButtonStyle(), Qt::ToolButtonTextUnderIcon);
    EXPECT_TRUE(button->isVisible());
  }
}

TEST_F(WindowLayout, ToolbarItemsHaveNoToolTips) {
  mount(smallVolume());
  controller_->undoManager()->registerUndo([](UndoManager::Side) {});
  for (const QAction *action : toolbar()->actions())
    EXPECT_EQ(toolbar()->widgetForAction(const_cast<QAction *>(action))->toolTip(), QString());
}

TEST_F(WindowLayout, ToolbarCanNeitherBeMovedNorHidden) {
  EXPECT_FALSE(toolbar()->isMovable());
  EXPECT_FALSE(toolbar()->isFloatable());
  click(toolbar(), QPoint(toolbar()->width() / 2, 10), Qt::RightButton);
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(WindowLayout, ToolbarShowsEveryItemInTheSmallestWindow) {
  window()->resize(800, 500);
  QCoreApplication::processEvents();
  for (const char *identifier : {"MountItem", "RedoItem"})
    EXPECT_TRUE(toolbar()->rect().contains(toolbarButton(identifier)->geometry())) << identifier;
}

// ---- Enablement

TEST_F(WindowLayout, ItemsAreEnabledByTheirActionAlone) {
  const auto enabled = [this] {
    QStringList items;
    for (const char *item :
         {"MountItem", "UnmountItem", "ImportItem", "ExportItem", "DeleteItem", "UndoItem", "RedoItem"})
      if (toolbarButton(item)->isEnabled()) items += QLatin1String(item);
    return items;
  };
  EXPECT_EQ(enabled(), QStringList{"MountItem"});
  mount(smallVolume());
  const QStringList mounted{"MountItem", "UnmountItem", "ImportItem", "ExportItem", "DeleteItem"};
  EXPECT_EQ(enabled(), mounted);

  UndoManager *undo = controller_->undoManager();
  undo->registerUndo([undo](UndoManager::Side side) { undo->registerCounterpart(side, [](auto) {}); });
  EXPECT_EQ(enabled(), mounted + QStringList{"UndoItem"});
  clickToolbar("UndoItem");
  EXPECT_EQ(enabled(), mounted + QStringList{"RedoItem"});
  clickToolbar("RedoItem");
  EXPECT_EQ(enabled(), mounted);
  clickToolbar("UnmountItem");
  EXPECT_EQ(enabled(), QStringList{"MountItem"});
}

TEST_F(WindowLayout, UndoKeepsTenLevels) {
  EXPECT_EQ(controller_->undoManager()->levelsOfUndo(), 10U);
}

TEST_F(WindowLayout, UndoAndRedoHaveThePlatformsShortcuts) {
  UndoManager *undo = controller_->undoManager();
  int undone = 0, redone = 0;
  undo->registerUndo([&](UndoManager::Side) { ++undone; });
  undo->registerCounterpart(UndoManager::Side::Redo, [&](auto) { ++redone; });
  pressKeyIn(window(), Qt::Key_Z, Qt::ControlModifier);
  pressKeyIn(window(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(undone, 1);
  EXPECT_EQ(redone, 1);
}

// ---- Context menus

QStringList itemsOf(const QMenu &menu) {
  QStringList items;
  for (const QAction *action : menu.actions())
    items += action->isSeparator() ? QStringLiteral("-") : action->text();
  return items;
}

class ContextMenus : public WindowLayout {
protected:
  ContextMenus() { mount(smallVolume()); }

  QMenu *popUpAt(QAbstractItemView *view, const QPoint &position) {
    click(view->viewport(), position, Qt::RightButton);
    return qobject_cast<QMenu *>(QApplication::activePopupWidget());
  }
};

TEST_F(ContextMenus, OutlineHasTheFolderMenu) {
  QMenu *menu = popUpAt(outline(), outline()->visualRect(folderItem({"Pads"})).center());
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(menu->title(), QStringLiteral("Folder"));
  EXPECT_EQ(itemsOf(*menu),
            (QStringList{"New Folder…", "-", "Rename Folder", "Export Folder…", "-", "Delete Folder"}));
  for (const QAction *item : menu->actions())
    EXPECT_TRUE(item->isEnabled() && item->shortcut().isEmpty());
  menu->close();
}

TEST_F(ContextMenus, FolderMenuKnowsTheClickedRowAndSelectsNothing) {
  const QString highlighted = highlightedLabel();
  popUpAt(outline(), outline()->visualRect(folderItem({"Pads"})).center())->close();
  EXPECT_EQ(highlightedLabel(), highlighted);
  ASSERT_NE(controller_->clickedDirectory(), nullptr);
  EXPECT_EQ(controller_->clickedDirectory()->name(), "Pads");
  popUpAt(outline(), emptyPlace(outline()))->close();
  EXPECT_EQ(controller_->clickedDirectory(), nullptr);
  EXPECT_EQ(highlightedLabel(), highlighted);
}

TEST_F(ContextMenus, CloseWhenTheImageIsReplaced) {
  const std::string other = writeImage(smallVolume(), "other.hda");
  for (QAbstractItemView *view :
       {static_cast<QAbstractItemView *>(outline()), static_cast<QAbstractItemView *>(table())}) {
    ASSERT_NE(popUpAt(view, view->visualRect(view->model()->index(1, 0)).center()), nullptr);
    openImage(other);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_EQ(controller_->clickedDirectory(), nullptr);
  }
}

TEST_F(ContextMenus, CloseWhenTheImageIsUnmounted) {
  for (QAbstractItemView *view :
       {static_cast<QAbstractItemView *>(outline()), static_cast<QAbstractItemView *>(table())}) {
    mount(smallVolume());
    ASSERT_NE(popUpAt(view, view->visualRect(view->model()->index(1, 0)).center()), nullptr);
    controller_->_unmountImage();
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  }
}

TEST_F(ContextMenus, TableHasTheFileMenu) {
  QMenu *menu = popUpAt(table(), table()->visualRect(table()->model()->index(1, 0)).center());
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(menu->title(), QStringLiteral("File"));
  EXPECT_EQ(itemsOf(*menu), (QStringList{kExportCommand, "Export Samples…", "-", "Rename…", "Copy to…",
                                         "Move to…", "-", "Delete"}));
  for (const QAction *item : menu->actions())
    EXPECT_TRUE(item->isEnabled() && item->shortcut().isEmpty());
  menu->close();
}

TEST_F(ContextMenus, RightClickSelectsTheFileThatIsNotSelectedYet) {
  const QStringList names = fileNames();
  chooseFiles({names[0], names[2]});
  const auto rightClick = [this](int row) {
    popUpAt(table(), table()->visualRect(table()->model()->index(row, 0)).center())->close();
    return selectedFileNames();
  };
  EXPECT_EQ(rightClick(2), (QStringList{names[0], names[2]}));
  EXPECT_EQ(rightClick(1), QStringList{names[1]});
  popUpAt(table(), emptyPlace(table()))->close();
  EXPECT_EQ(selectedFileNames(), QStringList{names[1]});
}

TEST_F(ContextMenus, WithoutAnImageTheItemsThatNeedOneAreDisabled) {
  clickToolbar("UnmountItem");
  QMenu *menu = popUpAt(table(), emptyPlace(table()));
  ASSERT_NE(menu, nullptr);
  QStringList enabled;
  for (const QAction *item : menu->actions())
    if (item->isEnabled() && !item->isSeparator()) enabled += item->text();
  EXPECT_EQ(enabled, (QStringList{"Export Samples…", "Rename…", "Copy to…", "Move to…"}));
  menu->close();
}

// ---- Keyboard

TEST_F(WindowLayout, DeleteKeysWithCtrlRunTheCommandOnceWhateverHasTheFocus) {
  // Without a selection the command answers with one beep, so beeps count its runs.
  int expected = 0;
  for (QWidget *focus : {static_cast<QWidget *>(outline()), static_cast<QWidget *>(table())}) {
    focus->setFocus();
    for (const Qt::Key key : {Qt::Key_Backspace, Qt::Key_Delete}) {
      pressKeyIn(window(), key, Qt::ControlModifier);
      EXPECT_EQ(beeps_.count(), ++expected);
      pressKeyIn(window(), key, Qt::ControlModifier | Qt::ShiftModifier);
      EXPECT_EQ(beeps_.count(), ++expected);
      QTest::keyClick(focus, key, Qt::ControlModifier);
      EXPECT_EQ(beeps_.count(), ++expected);
    }
  }
}

TEST_F(WindowLayout, OtherKeysDoNotDelete) {
  table()->setFocus();
  for (const auto &[key, modifiers] :
       {std::pair{Qt::Key_Backspace, Qt::NoModifier}, std::pair{Qt::Key_Delete, Qt::ShiftModifier},
        std::pair{Qt::Key_D, Qt::ControlModifier}})
    pressKeyIn(window(), key, modifiers);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(WindowLayout, DeleteKeyHeldDownRunsTheCommandOnce) {
  QKeyEvent first(QEvent::KeyPress, Qt::Key_Delete, Qt::ControlModifier);
  QApplication::sendEvent(table(), &first);
  for (int repeat = 0; repeat < 5; ++repeat) {
    QKeyEvent again(QEvent::KeyPress, Qt::Key_Delete, Qt::ControlModifier, {}, true);
    QApplication::sendEvent(table(), &again);
  }
  EXPECT_EQ(beeps_.count(), 1);
}

// ---- Reading

TEST_F(WindowLayout, EveryControlHasAnAccessibleName) {
  mount(smallVolume());
  QList<QWidget *> controls{outline(), table(), toolbar(), controller_->spinner()};
  for (QToolButton *button : toolbar()->findChildren<QToolButton *>())
    if (button->defaultAction()) controls += button;
  controls += controller_->statusLabel();
  controls += controller_->diskSpaceLabel();
  for (QWidget *control : controls)
    EXPECT_FALSE(QAccessible::queryAccessibleInterface(control)->text(QAccessible::Name).isEmpty())
        << control->objectName().toStdString() << control->metaObject()->className();
}

TEST_F(WindowLayout, NothingThatIsReadIsCutOrOverlaps) {
  mount(demoVolume());
  ASSERT_EQ(window()->centralWidget()->size(), QSize(1200, 700));

  const QFontMetrics cellFont(table()->font());
  ASSERT_LE(cellFont.height(), 16);
  const QAbstractItemModel *model = table()->model();
  for (int row = 0; row < model->rowCount(); ++row)
    for (int column = 0; column < model->columnCount(); ++column) {
      const QModelIndex cell = model->index(row, column);
      EXPECT_LE(cellFont.horizontalAdvance(cell.data().toString()), table()->visualRect(cell).width() - 8);
      EXPECT_TRUE(table()->viewport()->rect().contains(table()->visualRect(cell)));
    }
  const QFontMetrics headerFont(table()->horizontalHeader()->font());
  for (int column = 0; column < model->columnCount(); ++column)
    EXPECT_LE(headerFont.horizontalAdvance(model->headerData(column, Qt::Horizontal).toString()),
              table()->columnWidth(column) - 8);

  for (QModelIndex row = outline()->model()->index(0, 0); row.isValid(); row = outline()->indexBelow(row)) {
    const QRect place = outline()->visualRect(row);
    EXPECT_LE(cellFont.horizontalAdvance(row.data().toString()), place.width() - 28);
    EXPECT_TRUE(outline()->viewport()->rect().contains(place));
  }

  for (const StatusLabel *label : {controller_->statusLabel(), controller_->diskSpaceLabel()}) {
    EXPECT_EQ(label->textRect().width(), label->textWidth());
    EXPECT_LE(label->fontMetrics().height(), label->height());
  }
  EXPECT_LT(controller_->statusLabel()->textRect().right(), controller_->diskSpaceLabel()->textRect().left());

  int right = -1;
  for (const char *item :
       {"MountItem", "UnmountItem", "ImportItem", "ExportItem", "DeleteItem", "UndoItem", "RedoItem"}) {
    const QToolButton *button = toolbarButton(item);
    EXPECT_LE(button->fontMetrics().horizontalAdvance(button->text()), button->width());
    EXPECT_GT(button->geometry().left(), right);
    right = button->geometry().right();
  }
}

TEST_F(WindowLayout, EverythingCanBeReadInLightAndDarkAlsoWhenItChangesWhileShown) {
  const PaletteGuard guard;
  mount(smallVolume());
  for (const QColor background : {QColor(239, 239, 239), QColor(45, 45, 48)}) {
    QApplication::setPalette(QPalette(background));
    QCoreApplication::processEvents();
    for (StatusLabel *label : {controller_->statusLabel(), controller_->diskSpaceLabel()})
      EXPECT_GE(bestContrast(label->grab().toImage(), background), 4.5);
    for (const char *item : {"MountItem", "UnmountItem", "ImportItem", "ExportItem", "DeleteItem"})
      EXPECT_GE(bestContrast(toolbarButton(item)->grab().toImage(), background), 4.5) << item;
    const QColor base = table()->palette().color(QPalette::Base);
    for (QAbstractItemView *view :
         {static_cast<QAbstractItemView *>(table()), static_cast<QAbstractItemView *>(outline())}) {
      const QRect row = view->visualRect(view->model()->index(1, 0));
      EXPECT_GE(bestContrast(view->viewport()->grab(row).toImage(), base), 4.5);
    }
  }
}

TEST_F(WindowLayout, CellTextIsCutWithAnEllipsisAndStaysInItsColumn) {
  ImageBuilder image;
  image.root().addFolder("A").addFile("WWWWWWWWWWWWWWWW");
  mount(image);
  table()->setColumnWidth(0, 80);
  QCoreApplication::processEvents();
  const QRect gapToNext(80 - 4, table()->rowViewportPosition(0), 4, 20);
  const QImage gap = table()->viewport()->grab(gapToNext).toImage();
  for (int y = 0; y < gap.height(); ++y)
    for (int x = 0; x < gap.width(); ++x)
      ASSERT_EQ(gap.pixel(x, y), gap.pixel(0, 0));
}

} // namespace
} // namespace tessary::test
