#include "tests/app/SheetTest.h"

#include "tests/support/MountedVolume.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QTest>
#include <stdexcept>

namespace tessary::test {

ImageBuilder SheetTest::volume() {
  ImageBuilder image;
  FolderBuilder a = image.root().addFolder("A");
  a.addFile("FIRST", patternBytes(600, 1));
  a.addFile("SECOND", patternBytes(700, 2), {.type = 0x80});
  a.addFile("THIRD", patternBytes(800, 3), {.type = 0x82});
  a.addFolder("A1");
  a.addFolder("A2");
  image.root().addFolder("B").addFile("OTHER", patternBytes(900, 4));
  return image;
}

QMessageBox &SheetTest::question() const {
  constexpr int milliseconds = 5000; // what it tells may have to be read first
  EXPECT_TRUE(QTest::qWaitFor([this] { return sheet<QMessageBox>() != nullptr; }, milliseconds));
  auto *question = sheet<QMessageBox>();
  if (!question) throw std::runtime_error("no question is up");
  EXPECT_TRUE(waitUntilActive(question));
  return *question;
}

QLineEdit &SheetTest::field() const {
  auto *field = question().findChild<QLineEdit *>();
  if (!field) throw std::runtime_error("the question has no field");
  return *field;
}

QComboBox &SheetTest::popUp() const {
  auto *popUp = question().findChild<QComboBox *>();
  if (!popUp) throw std::runtime_error("the question has no pop-up menu");
  return *popUp;
}

QStringList SheetTest::popUpTitles() const {
  QStringList titles;
  for (int position = 0; position < popUp().count(); ++position)
    titles += popUp().itemText(position);
  return titles;
}

void SheetTest::type(const QString &text) const {
  for (const QChar character : text)
    QTest::keyClick(question().windowHandle(), character.toLatin1());
}

void SheetTest::pressKey(Qt::Key key) const {
  QTest::keyClick(question().windowHandle(), key);
  EXPECT_TRUE(waitUntilIdle());
}

void SheetTest::pressKeyInTable(Qt::Key key) const {
  table()->setFocus();
  pressKeyIn(window(), key);
}

void SheetTest::answerWithName(const QString &name) const {
  field().clear();
  type(name);
  pressKey(Qt::Key_Return);
}

void SheetTest::answerWithFolder(int position, const QString &button) const {
  popUp().setCurrentIndex(position);
  answerSheet(button);
}

void SheetTest::chooseFromFolderMenuByKeyboard(const QString &text) const {
  const QPoint place = outline()->rect().center(); // of no meaning for the keyboard
  QContextMenuEvent event(QContextMenuEvent::Keyboard, place, outline()->mapToGlobal(place));
  QApplication::sendEvent(outline(), &event);
  auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
  if (!menu) throw std::runtime_error("no context menu comes up");
  do
    QTest::keyClick(menu, Qt::Key_Down);
  while (menu->activeAction()->text() != text);
  QTest::keyClick(menu, Qt::Key_Return);
}

bool SheetTest::highlightedRowIsInSight() const {
  const QRect row = outline()->visualRect(outline()->selectionModel()->selectedRows().first());
  return outline()->viewport()->rect().contains(row.center());
}

EMU3DirectoryPtr SheetTest::folder(const std::vector<std::string> &path) const {
  EMU3DirectoryPtr directory = controller_->filesystem()->rootDirectory();
  for (const std::string &name : path)
    directory = folderNamed(directory, name);
  return directory;
}

} // namespace tessary::test
