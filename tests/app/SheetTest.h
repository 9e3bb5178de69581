#pragma once

#include "tests/app/FileCommandTest.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMessageBox>

namespace tessary::test {

/// The window, and the questions its commands ask in a sheet with a field or a pop-up menu.
class SheetTest : public FileCommandTest {
protected:
  /// A volume of two folders: A, which holds FIRST (a bank of 600 bytes), SECOND and THIRD, and the folders
  /// A1 and A2; and B, which holds OTHER. Its label is "VOLUME".
  static ImageBuilder volume();

  /// The question that is up.
  QMessageBox &question() const;
  QLineEdit &field() const;
  QComboBox &popUp() const;
  QStringList popUpTitles() const;

  /// Types the text into what has the focus in the sheet, key by key. ASCII only.
  void type(const QString &text) const;
  void pressKey(Qt::Key key) const;
  void pressKeyInTable(Qt::Key key) const;
  /// Puts the name in place of what the field holds and confirms it with Return.
  void answerWithName(const QString &name) const;
  /// Chooses the n-th folder of the pop-up menu and presses the button.
  void answerWithFolder(int position, const QString &button) const;
  /// Asks for the outline's context menu by the keyboard and chooses the item of that text.
  void chooseFromFolderMenuByKeyboard(const QString &text) const;

  bool highlightedRowIsInSight() const;
  EMU3DirectoryPtr folder(const std::vector<std::string> &path) const;
};

} // namespace tessary::test
