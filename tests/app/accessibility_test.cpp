#include "app/AboutPanel.h"
#include "app/FindingsPanel.h"
#include "app/progress/WorkBar.h"
#include "tests/app/SheetTest.h"

#include <QAccessible>
#include <QTest>
#include <set>

namespace tessary::test {
namespace {

using Node = QAccessibleInterface *;

QString nameOf(Node node) {
  return node->text(QAccessible::Name);
}

bool isOfUse(Node node) {
  const QAccessible::State state = node->state();
  return !state.invisible && !state.offscreen;
}

/// What a user works with: these need a name, so that a screen reader can say what they are.
bool needsName(Node node) {
  static const std::set<QAccessible::Role> roles = {
      QAccessible::Button,      QAccessible::CheckBox, QAccessible::ComboBox, QAccessible::EditableText,
      QAccessible::MenuItem,    QAccessible::Table,    QAccessible::Tree,     QAccessible::ButtonMenu,
      QAccessible::ListItem,    QAccessible::Link,     QAccessible::Dialog,   QAccessible::ToolBar,
      QAccessible::ColumnHeader};
  return roles.contains(node->role());
}

/// The nodes of a tree from its root on, as far as they are of use.
std::vector<Node> nodesOf(QObject *root) {
  std::vector<Node> nodes, waiting{QAccessible::queryAccessibleInterface(root)};
  while (!waiting.empty()) {
    Node node = waiting.back();
    waiting.pop_back();
    if (!node || !node->isValid()) continue;
    nodes.push_back(node);
    for (int child = 0; child < node->childCount(); ++child)
      if (Node next = node->child(child); next && isOfUse(next)) waiting.push_back(next);
  }
  return nodes;
}

void expectNames(QObject *root) {
  for (Node node : nodesOf(root)) {
    if (!needsName(node)) continue;
    const QObject *object = node->object();
    EXPECT_FALSE(nameOf(node).isEmpty())
        << "role " << node->role() << " of " << (object ? object->metaObject()->className() : "an item");
  }
}

Node nodeOf(QObject *root, QAccessible::Role role, const QString &name) {
  for (Node node : nodesOf(root))
    if (node->role() == role && nameOf(node) == name) return node;
  return nullptr;
}

class Accessibility : public SheetTest {
protected:
  Accessibility() {
    putMenuBar();
    mount(volume());
  }
};

TEST_F(Accessibility, EverythingInTheWindowHasItsNameAndRole) {
  expectNames(window());
  for (const auto &[role, name] : {std::pair{QAccessible::Tree, "Folders"},
                                   {QAccessible::Table, "Files"},
                                   {QAccessible::CheckBox, "Show Root: disk.hda"},
                                   {QAccessible::Button, "Show Parent"},
                                   {QAccessible::Button, "Mount Image"},
                                   {QAccessible::Button, "Delete"}})
    EXPECT_NE(nodeOf(window(), role, name), nullptr) << name;
}

TEST_F(Accessibility, TableTellsWhatItShows) {
  Node files = QAccessible::queryAccessibleInterface(table());
  ASSERT_NE(files->tableInterface(), nullptr);
  EXPECT_EQ(files->tableInterface()->rowCount(), 3);
  EXPECT_EQ(files->tableInterface()->columnDescription(0), "Name");
  EXPECT_EQ(files->tableInterface()->cellAt(1, 0)->text(QAccessible::Name), "SECOND");
  chooseFiles({"SECOND"});
  EXPECT_EQ(files->tableInterface()->selectedRows(), QList<int>{1});
}

TEST_F(Accessibility, StatusIsRead) {
  EXPECT_EQ(nameOf(QAccessible::queryAccessibleInterface(
                window()->findChild<QLabel *>(QStringLiteral("StatusLabel")))),
            "A — 3 file(s)");
}

TEST_F(Accessibility, MenusHaveNamesAndRoles) {
  for (QMenu *menu : controller_->menus()) {
    menu->popup(window()->mapToGlobal(QPoint(10, 10)));
    for (const QAction *item : menu->actions()) {
      if (item->isSeparator()) continue;
      EXPECT_NE(nodeOf(menu, QAccessible::MenuItem, item->text()), nullptr) << item->text().toStdString();
    }
    menu->close();
  }
}

TEST_F(Accessibility, FindBarHasItsNames) {
  controller_->_findEverywhere();
  window()->findChild<QLineEdit *>(QStringLiteral("FindField"))->setText("I"); // which shows the button in it
  ASSERT_TRUE(waitUntilIdle());
  expectNames(window());
  EXPECT_NE(nodeOf(window(), QAccessible::Button, "Clear"), nullptr);
  EXPECT_NE(nodeOf(window(), QAccessible::EditableText, "Find"), nullptr);
  EXPECT_NE(nodeOf(window(), QAccessible::ComboBox, "All Folders"), nullptr);
  EXPECT_NE(nodeOf(window(), QAccessible::Button, "End Find"), nullptr);
  EXPECT_EQ(QAccessible::queryAccessibleInterface(table())->tableInterface()->columnDescription(6), "Folder");
}

TEST_F(Accessibility, BarOfLongWorkHasItsNames) {
  auto *bar = window()->findChild<WorkBar *>();
  bar->showWork({"Importing “KICK”", "1 of 2 (50%)", WorkBar::kWholeShare / 2, false});
  expectNames(window());
  EXPECT_NE(nodeOf(bar, QAccessible::Button, "Stop"), nullptr);
  EXPECT_NE(nodeOf(bar, QAccessible::StaticText, "Importing “KICK”"), nullptr);
  EXPECT_NE(nodeOf(bar, QAccessible::StaticText, "1 of 2 (50%)"), nullptr);
  Node share = nodeOf(bar, QAccessible::ProgressBar, "Share that is done");
  ASSERT_NE(share, nullptr);
  EXPECT_EQ(share->valueInterface()->currentValue(), WorkBar::kWholeShare / 2);
}

TEST_F(Accessibility, DialogsHaveTheirNames) {
  chooseFiles({"FIRST"});
  for (const auto command : {&MainWindowController::_renameSelected, &MainWindowController::_copyToDir,
                             &MainWindowController::_deleteSelected, &MainWindowController::_newFolder,
                             &MainWindowController::_deleteFolder}) {
    (controller_.get()->*command)();
    ASSERT_NE(sheet<QMessageBox>(), nullptr);
    expectNames(&question());
    EXPECT_FALSE(nameOf(QAccessible::queryAccessibleInterface(&question())).isEmpty());
    answerSheet("Cancel");
  }
}

TEST_F(Accessibility, FileInformationIsReadAsNamesWithValues) {
  chooseFiles({"SECOND"});
  controller_->_tableDoubleClick();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_NE(nodeOf(&question(), QAccessible::StaticText, "Name: SECOND"), nullptr);
  EXPECT_NE(nodeOf(&question(), QAccessible::StaticText, "Type: System"), nullptr);
  answerSheet("OK");
}

TEST_F(Accessibility, AboutPanelTellsItsLinks) {
  AboutPanel panel(window());
  panel.show();
  expectNames(&panel);
  for (const char *link : {"Quorvane", "by the Tessary developers", "tessary-cli new", "https://bluescsi.com",
                           "disk format", "bank format"})
    EXPECT_NE(nodeOf(&panel, QAccessible::Link, link), nullptr) << link;
}

} // namespace
} // namespace tessary::test
