#include "app/AppDelegate.h"
#include "app/FindBar.h"
#include "app/RecentImages.h"
#include "app/StatusBar.h"
#include "tests/app/SheetTest.h"

#include <QMenuBar>
#include <QTest>

namespace tessary::test {
namespace {

class Menus : public SheetTest {
protected:
  Menus() { putMenuBar(); }

  QMenu *menu(const char *title) const {
    for (QMenu *candidate : controller_->menus())
      if (candidate->title() == QLatin1String(title)) return candidate;
    return nullptr;
  }
  /// What can be chosen in a menu that is shown now.
  QStringList useful(const char *title) const {
    emit menu(title)->aboutToShow();
    QStringList texts;
    for (const QAction *item : menu(title)->actions())
      if (item->isEnabled() && !item->isSeparator() && !item->menu()) texts += item->text();
    emit menu(title)->aboutToHide();
    return texts;
  }
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
    pressKeyIn(window(), key, modifiers);
    EXPECT_TRUE(waitUntilIdle());
  }
  QStringList textsOf(const char *title) const {
    QStringList texts;
    for (const QAction *item : menu(title)->actions())
      if (!item->isSeparator()) texts += item->text();
    return texts;
  }
};

// ---- What there is

TEST_F(Menus, HoldEveryCommand) {
  EXPECT_EQ(textsOf("File"),
            (QStringList{"New Window", "New Image…", "Mount Image…", "Open Recent", "Unmount", "Check Image…",
                         "Back Up Image…", "Import…", "Import Folder…", kExportCommand, "Export Samples…",
                         "Close Window"}));
  EXPECT_EQ(textsOf("Edit"), (QStringList{"Undo", "Redo", "Rename…", "Copy to…", "Move to…", "Delete",
                                          "Select All", "Find", "Find in All Folders"}));
  EXPECT_EQ(textsOf("Folder"), (QStringList{"New Folder…", "Rename Folder", "Delete Folder", "Export Folder…",
                                            "Show Root", "Show Parent"}));
  EXPECT_EQ(textsOf("View"),
            (QStringList{"Sort By", "Ascending", "Descending", "Bank Contents", "Bank Contents’ Place"}));
  EXPECT_EQ(textsOf("Help"), (QStringList{"User Guide", "What May Surprise"}));
}

TEST_F(Menus, EveryCommandHasAKeyOfItsOwn) {
  QStringList keys;
  for (const char *title : {"File", "Edit", "Folder", "Help"})
    for (const QAction *item : menu(title)->actions()) {
      if (item->isSeparator() || item->menu() || item->text() == QLatin1String("What May Surprise")) continue;
      EXPECT_FALSE(item->shortcut().isEmpty()) << item->text().toStdString();
      for (const QKeySequence &key : item->shortcuts())
        keys += key.toString();
    }
  EXPECT_EQ(keys.removeDuplicates(), 0);
}

TEST_F(Menus, FollowTheApplicationsOwn) {
  AppDelegate delegate({"tessary"});
  delegate.applicationDidFinishLaunching();
  QStringList titles;
  for (const QAction *title : delegate.mainWC()->window()->menuBar()->actions())
    titles += title->text();
  EXPECT_EQ(titles, (QStringList{"Tessary", "File", "Edit", "Folder", "View", "Window", "Help"}));
}

// ---- What is grey

TEST_F(Menus, WithoutAnImageOnlyWhatNeedsNoneIsOfUse) {
  EXPECT_EQ(useful("File"), (QStringList{"New Window", "New Image…", "Mount Image…", "Close Window"}));
  EXPECT_EQ(useful("Edit"), QStringList());
  EXPECT_EQ(useful("Folder"), QStringList());
  EXPECT_EQ(useful("Help"), (QStringList{"User Guide", "What May Surprise"}));
}

TEST_F(Menus, ItemsFollowTheSelection) {
  mount(volume());
  EXPECT_EQ(useful("File"),
            (QStringList{"New Window", "New Image…", "Mount Image…", "Unmount", "Check Image…",
                         "Back Up Image…", "Import…", "Import Folder…", kExportCommand, "Close Window"}))
      << "the list of folders has the keyboard";
  table()->setFocus();
  EXPECT_FALSE(useful("File").contains(kExportCommand)) << "no file is selected";
  chooseFiles({"FIRST"});
  EXPECT_EQ(useful("Edit"), (QStringList{"Rename…", "Copy to…", "Move to…", "Delete", "Select All", "Find",
                                         "Find in All Folders"}));
  chooseFiles({"FIRST", "SECOND"});
  EXPECT_EQ(useful("Edit"),
            (QStringList{"Copy to…", "Move to…", "Delete", "Select All", "Find", "Find in All Folders"}));
  EXPECT_TRUE(useful("File").contains(kExportCommand));
}

TEST_F(Menus, ItemsFollowTheFolder) {
  mount(volume());
  EXPECT_EQ(useful("Folder"), (QStringList{"New Folder…", "Rename Folder", "Delete Folder", "Export Folder…",
                                           "Show Root", "Show Parent"}));
  controller_->_showRoot();
  EXPECT_EQ(useful("Folder"), (QStringList{"New Folder…", "Export Folder…"}));
}

TEST_F(Menus, ReadOnlyImageLeavesWhatOnlyReads) {
  mountReadOnly(volume());
  chooseFiles({"FIRST"});
  EXPECT_EQ(useful("File"),
            (QStringList{"New Window", "New Image…", "Mount Image…", "Unmount", "Check Image…",
                         "Back Up Image…", kExportCommand, "Export Samples…", "Close Window"}));
  EXPECT_EQ(useful("Edit"), (QStringList{"Select All", "Find", "Find in All Folders"}));
  EXPECT_EQ(useful("Folder"), (QStringList{"Export Folder…", "Show Root", "Show Parent"}));
}

// ---- Keys

TEST_F(Menus, KeyReachesItsCommandAlsoWhereItsItemWouldBeGrey) {
  mount(volume());
  table()->setFocus();
  press(Qt::Key_F2); // no file is selected
  EXPECT_EQ(beeps_.count(), 1);
  press(Qt::Key_Up, Qt::AltModifier);
  press(Qt::Key_Up, Qt::AltModifier); // the root has no parent
  EXPECT_EQ(beeps_.count(), 2);
}

TEST_F(Menus, F2AndDeleteAreForWhatHasTheKeyboard) {
  mount(volume());
  chooseFiles({"FIRST"});
  press(Qt::Key_F2);
  EXPECT_EQ(question().text(), "Rename File");
  answerSheet("Cancel");
  press(Qt::Key_Delete);
  EXPECT_EQ(question().text(), "Delete 1 file(s)?");
  answerSheet("Cancel");
  activate(window());
  outline()->setFocus();
  press(Qt::Key_F2);
  EXPECT_EQ(question().text(), "Rename Folder");
  answerSheet("Cancel");
  activate(window());
  outline()->setFocus();
  press(Qt::Key_Delete);
  EXPECT_EQ(question().text(), "Delete folder 'A'?");
  answerSheet("Cancel");
}

TEST_F(Menus, RootAndParentAreOneKeyAway) {
  ImageBuilder image;
  image.root().addFile("TOP");
  image.root().addFolder("A").addFolder("B").addFolder("C").addFile("DEEP");
  mount(image);
  chooseFolder({"A", "B", "C"});
  press(Qt::Key_Up, Qt::AltModifier);
  EXPECT_EQ(highlightedLabel(), "B");
  press(Qt::Key_Home, Qt::AltModifier);
  EXPECT_EQ(fileNames(), QStringList{"TOP"});
  EXPECT_EQ(highlightedLabel(), QString());
  press(Qt::Key_Down); // and from there back into the folders
  EXPECT_EQ(highlightedLabel(), "A");
}

TEST_F(Menus, RootAndParentAreOneClickAway) {
  ImageBuilder image;
  image.root().addFile("TOP");
  for (int number = 0; number < 15; ++number)
    image.root().addFolder("F" + std::to_string(number)).addFolder("BELOW");
  mount(image);
  outline()->expandAll();
  window()->resize(800, 500); // which leaves the sidebar no empty area
  auto *root = window()->findChild<QToolButton *>("RootButton");
  auto *parent = window()->findChild<QToolButton *>("ParentButton");
  EXPECT_FALSE(root->isChecked());
  click(root, root->rect().center());
  EXPECT_EQ(fileNames(), QStringList{"TOP"});
  EXPECT_TRUE(root->isChecked());
  EXPECT_FALSE(parent->isEnabled());
  chooseFolder({"F7"});
  click(parent, parent->rect().center());
  EXPECT_EQ(fileNames(), QStringList{"TOP"});
}

TEST_F(Menus, SelectAllSelectsTheFiles) {
  mount(volume());
  press(Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(selectedFileNames(), (QStringList{"FIRST", "SECOND", "THIRD"}));
}

TEST_F(Menus, ShiftF10OpensTheContextMenuOfWhatHasTheKeyboard) {
  mount(volume());
  chooseFiles({"FIRST"});
  press(Qt::Key_F10, Qt::ShiftModifier);
  auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(menu->title(), "File");
  menu->close();
  outline()->setFocus();
  press(Qt::Key_F10, Qt::ShiftModifier);
  menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(menu->title(), "Folder");
  menu->close();
}

TEST_F(Menus, OpenKeyAsksForAnImage) {
  press(Qt::Key_O, Qt::ControlModifier);
  ASSERT_NE(sheet<QFileDialog>(), nullptr);
  sheet<QFileDialog>()->reject();
}

TEST_F(Menus, KeysOfANameFieldEditIt) {
  mount(volume());
  chooseFiles({"FIRST"});
  chooseFromFileMenu("FIRST", "Rename…");
  field().setText("ONE TWO");
  field().end(false);
  QTest::keyClick(question().windowHandle(), Qt::Key_Backspace, Qt::ControlModifier);
  EXPECT_EQ(field().text(), "ONE ");
  field().home(false);
  QTest::keyClick(question().windowHandle(), Qt::Key_Delete);
  EXPECT_EQ(field().text(), "NE ");
  QTest::keyClick(question().windowHandle(), Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(field().selectedText(), "NE ");
  EXPECT_EQ(beeps_.count(), 0);
  answerSheet("Cancel");
}

// ---- Sort order

TEST_F(Menus, ViewMenuSortsTheFiles) {
  mount(volume());
  QMenu *sort = menu("View")->actions().first()->menu();
  ASSERT_NE(sort, nullptr);
  QStringList texts;
  for (const QAction *item : sort->actions())
    if (!item->isSeparator()) texts += item->text();
  EXPECT_EQ(texts, (QStringList{"Folder’s Order", "Name", "Type", "Format", "Presets", "Samples", "Size"}));
  const auto item = [&](QMenu *in, const char *text) {
    for (QAction *candidate : in->actions())
      if (candidate->text() == QString::fromUtf8(text)) return candidate;
    return static_cast<QAction *>(nullptr);
  };
  EXPECT_TRUE(item(sort, "Folder’s Order")->isChecked());
  item(sort, "Name")->trigger();
  item(menu("View"), "Descending")->trigger();
  EXPECT_EQ(fileNames(), (QStringList{"THIRD", "SECOND", "FIRST"}));
  EXPECT_TRUE(item(sort, "Name")->isChecked());
  EXPECT_TRUE(item(menu("View"), "Descending")->isChecked());
  item(sort, "Folder’s Order")->trigger();
  EXPECT_EQ(fileNames(), (QStringList{"FIRST", "SECOND", "THIRD"}));
}

// ---- Recent images

class RecentImagesMenu : public Menus {
protected:
  QMenu *recent() const {
    QMenu *recent = menuItem("File", "Open Recent")->menu();
    emit recent->aboutToShow();
    return recent;
  }
  QStringList titles() const {
    QStringList texts;
    for (const QAction *item : recent()->actions())
      if (!item->isSeparator()) texts += item->text();
    return texts;
  }
};

TEST_F(RecentImagesMenu, ListsWhatWasOpenedFromTheNewest) {
  EXPECT_EQ(titles(), QStringList{"Clear"});
  mount(volume(), "one.hda");
  mount(volume(), "two & more.hda");
  openImage(folder_.path("one.hda"));
  EXPECT_EQ(titles(), (QStringList{"one.hda", "two && more.hda", "Clear"}));
}

TEST_F(RecentImagesMenu, OpensAnImageAgain) {
  mount(volume(), "one.hda");
  mount(volume(), "two.hda");
  recent()->actions()[1]->trigger();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(title(), "Tessary — one.hda");
}

TEST_F(RecentImagesMenu, ClearForgetsThem) {
  mount(volume());
  recent()->actions().last()->trigger();
  EXPECT_EQ(titles(), QStringList{"Clear"});
  EXPECT_TRUE(RecentImages::paths().empty());
}

TEST_F(RecentImagesMenu, KeepsNoMoreThanTenAndAnyBytes) {
  for (int number = 0; number < 12; ++number)
    RecentImages::add("/images/\xff " + std::to_string(number) + ".hda");
  ASSERT_EQ(RecentImages::paths().size(), 10U);
  EXPECT_EQ(RecentImages::paths().front(), "/images/\xff 11.hda");
}

TEST_F(RecentImagesMenu, ImageThatWasNotOpenedIsNotListed) {
  const AlertAnswers alerts;
  openImage(folder_.path("missing.hda"));
  EXPECT_TRUE(RecentImages::paths().empty());
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_TRUE(alerts.shown()[0].informativeText.contains("missing.hda"));
}

} // namespace
} // namespace tessary::test
