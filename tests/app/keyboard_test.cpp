#include "tests/app/SheetTest.h"

#include <QAccessible>
#include <QApplication>
#include <QPushButton>
#include <QTest>

namespace tessary {
namespace {

QString accessibleName(QWidget *widget) {
  return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
}

QString accessibleLabel(QWidget *widget) {
  const auto relations = QAccessible::queryAccessibleInterface(widget)->relations(QAccessible::Label);
  return relations.isEmpty() ? QString() : relations.first().first->text(QAccessible::Name);
}

class KeyboardTest : public test::SheetTest {
protected:
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
    QTest::keyClick(QApplication::activeWindow()->windowHandle(), key, modifiers);
  }

  /// Accessible names of what Tab goes through in the active window, from what has the focus now on and
  /// until it has it again.
  QStringList tabOrder() const {
    QStringList names;
    QWidget *first = QApplication::focusWidget();
    QWidget *reached = first;
    do {
      names += accessibleName(reached);
      press(Qt::Key_Tab);
      reached = QApplication::focusWidget();
    } while (reached && reached != first && names.size() < 20);
    return names;
  }
};

TEST_F(KeyboardTest, BeginsInTheFolders) {
  test::activate(window());
  EXPECT_EQ(QApplication::focusWidget(), outline());
}

TEST_F(KeyboardTest, TabGoesThroughFoldersFilesAndToolbar) {
  mount(volume());
  test::activate(window());
  EXPECT_EQ(tabOrder(),
            QStringList({"Folders", "Files", "Show Root: disk.hda", "Show Parent", "Mount Image", "Unmount",
                         "Import", "Export", "Delete"})); // nothing can be undone or redone yet
}

TEST_F(KeyboardTest, SpacePressesAToolbarButton) {
  mount(volume());
  test::activate(window());
  toolbarButton("UnmountItem")->setFocus(Qt::TabFocusReason);
  press(Qt::Key_Space);
  EXPECT_EQ(status(), "No image loaded");
}

TEST_F(KeyboardTest, ClickOnTheToolbarLeavesTheFocus) {
  mount(volume());
  test::activate(window());
  table()->setFocus();
  clickToolbar("UnmountItem");
  EXPECT_EQ(QApplication::focusWidget(), table());
}

TEST_F(KeyboardTest, ArrowsChooseFoldersAndOpenThem) {
  mount(volume());
  test::activate(window());
  press(Qt::Key_Right); // opens A
  press(Qt::Key_Down);
  EXPECT_EQ(highlightedLabel(), "A1");
  press(Qt::Key_End);
  EXPECT_EQ(highlightedLabel(), "B (1)");
  EXPECT_EQ(fileNames(), QStringList({"OTHER"}));
}

TEST_F(KeyboardTest, FilesAreChosenAndTheirMenuComesUpAtTheRow) {
  mount(volume());
  test::activate(window());
  press(Qt::Key_Tab);
  press(Qt::Key_Down);
  press(Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_EQ(selectedFileNames().size(), 2);
  const QPoint place = table()->inputMethodQuery(Qt::ImCursorRectangle).toRect().center();
  QContextMenuEvent event(QContextMenuEvent::Keyboard, place, table()->mapToGlobal(place));
  QApplication::sendEvent(table(), &event);
  QWidget *menu = QApplication::activePopupWidget();
  ASSERT_NE(menu, nullptr);
  const QRect row = table()->visualRect(table()->currentIndex());
  EXPECT_TRUE(row.contains(table()->viewport()->mapFromGlobal(menu->pos())));
  menu->close();
}

TEST_F(KeyboardTest, FolderMenuComesUpAtTheSelectedRow) {
  mount(volume());
  chooseFolder({"B"});
  QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {});
  QApplication::sendEvent(outline(), &event);
  QWidget *menu = QApplication::activePopupWidget();
  ASSERT_NE(menu, nullptr);
  const QRect row = outline()->visualRect(folderItem({"B"}));
  EXPECT_TRUE(row.contains(outline()->viewport()->mapFromGlobal(menu->pos())));
  menu->close();
}

TEST_F(KeyboardTest, TabGoesThroughASheetFromItsControlOn) {
  mount(volume());
  chooseFiles({"FIRST"});
  chooseFromFileMenu("FIRST", "Rename…");
  EXPECT_EQ(accessibleName(&field()), "Name");
  EXPECT_EQ(accessibleLabel(&field()), "Enter a new name (max 15 characters):");
  EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::focusWidget() == &field(); }));
  EXPECT_EQ(tabOrder().first(), "Name");
  EXPECT_EQ(tabOrder().size(), 3);
  answerSheet("Cancel");
  chooseFromFileMenu("FIRST", "Move to…");
  EXPECT_EQ(accessibleLabel(&popUp()), "Select a destination directory:");
  EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::focusWidget() == &popUp(); }));
  EXPECT_EQ(tabOrder().first(), "disk.hda"); // the folder chosen
  EXPECT_EQ(tabOrder().size(), 3);
}

TEST_F(KeyboardTest, EveryControlOfASheetHasAnAccessibleName) {
  mount(volume());
  chooseFiles({"FIRST"});
  for (const char *command : {"Rename…", "Copy to…", "Delete"}) {
    chooseFromFileMenu("FIRST", command);
    for (QWidget *control : question().findChildren<QWidget *>()) {
      if (!control->isVisible() || control->focusPolicy() == Qt::NoFocus) continue;
      EXPECT_FALSE(accessibleName(control).isEmpty()) << command << control->metaObject()->className();
    }
    answerSheet("Cancel");
  }
}

} // namespace
} // namespace tessary
