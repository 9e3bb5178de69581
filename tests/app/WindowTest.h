#pragma once

#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/WindowList.h"
#include "filesystem/MountedImage.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <QDialog>
#include <QMenu>
#include <QStringList>
#include <QTableView>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

class QMenuBar;
class QMessageBox;

namespace tessary::test {

// Texts that name what there is on this platform.
#ifdef Q_OS_MACOS
inline const QString kUndoKey = QStringLiteral("Cmd+Z");
inline const QString kExportCommand = QStringLiteral("Export to Mac…");
#else
inline const QString kUndoKey = QStringLiteral("Ctrl+Z");
inline const QString kExportCommand = QStringLiteral("Export…");
#endif

/// Counts the beeps as long as it lives.
class BeepCounter {
public:
  BeepCounter();
  ~BeepCounter();
  int count() const { return *count_; }

private:
  std::shared_ptr<int> count_ = std::make_shared<int>(0);
};

struct ShownAlert {
  QString message;
  QString informativeText;
  QStringList buttons;
  QStringList failures{}; ///< "ITEM: REASON", where it lists them
};

/// Answers the modal alerts that come up as long as it lives: clicks their button of that text, or the
/// default button.
class AlertAnswers {
public:
  explicit AlertAnswers(QString button = {});
  const std::vector<ShownAlert> &shown() const { return shown_; }

private:
  void answer();

  QString button_;
  QTimer timer_;
  std::vector<ShownAlert> shown_;
};

/// Holds back every operation on an image, its opening included, until it is let go.
class HeldVolume {
public:
  explicit HeldVolume(const std::string &imagePath);
  ~HeldVolume() { letGo(); }
  void letGo();

private:
  std::shared_ptr<MountedImage> image_;
};

/// Holds back every opening of an image until it is let go. Needs the work queue to be idle.
class HeldWorkQueue {
public:
  HeldWorkQueue();
  ~HeldWorkQueue() { letGo(); }
  void letGo();

private:
  struct Gate;
  std::shared_ptr<Gate> gate_;
};

/// Waits, with the event loop running, until nothing is being opened, no queue has work left and what they
/// posted to the main thread has run. False after half a minute.
bool waitUntilIdle();

/// Waits, with the event loop running, until the window itself has the keyboard. (For the toolkit a sheet is
/// active while the window below it has the keyboard, whose shortcuts then get the keys.) False after half a
/// minute.
bool waitUntilActive(QWidget *window);
/// Makes the window the active one, as a window manager does with a new one and with the one that is left
/// when a sheet closes.
void activate(QWidget *window);
/// Presses a key in a window, once that has the keyboard.
void pressKeyIn(QWidget *window, Qt::Key key, Qt::KeyboardModifiers modifiers = {});

ShownAlert describe(const QMessageBox &alert);
/// Clicks the dialog's button of that text.
void clickButton(QDialog *dialog, const QString &text);
/// Clicks into a shown widget the way the window system does, through its window.
void click(QWidget *widget, const QPoint &position, Qt::MouseButton button = Qt::LeftButton,
           Qt::KeyboardModifiers modifiers = {});
void clickRow(QAbstractItemView *view, const QModelIndex &index, Qt::MouseButton button = Qt::LeftButton,
              Qt::KeyboardModifiers modifiers = {});
/// Clicks through the menu bar.
void chooseFromMenuBar(QMenuBar *bar, const QString &menuTitle, const QString &text);
/// Somewhere in the view where there is no row; the view must have such a place.
QPoint emptyPlace(QAbstractItemView *view);
/// The texts of a table's row.
QStringList rowTexts(const QAbstractItemModel &model, int row);

/// No settings but one: backups are not offered, so that a change asks what it asks itself.
struct CleanSettings {
  CleanSettings();
};

/// The real window of the application, shown, and what a user does with it.
class WindowTest : public testing::Test {
protected:
  WindowTest();
  ~WindowTest() override;

  // Images
  std::string writeImage(const ImageBuilder &image, const std::string &fileName = "disk.hda") const;
  /// Opens the image as the desktop would and waits until all of it is shown.
  void openImage(const std::string &path);
  /// Writes the image, opens it and waits until all of it is shown. Returns its path.
  std::string mount(const ImageBuilder &image, const std::string &fileName = "disk.hda");

  // What is read
  MainWindow *window() const { return controller_->window(); }
  QTreeView *outline() const { return controller_->outlineView(); }
  QTableView *table() const { return controller_->tableView(); }
  QString title() const;
  QString status() const;
  QString diskSpace() const;
  /// Labels of the outline's rows from top to bottom.
  QStringList outlineLabels() const;
  /// Label of the outline's highlighted row; null when there is none.
  QString highlightedLabel() const;
  /// The table's first column.
  QStringList fileNames() const;
  QStringList selectedFileNames() const;

  /// The item of a menu of the menu bar, as it is while that is shown.
  QAction *menuItem(const char *menuTitle, const char *text) const;

  // What is done
  /// Puts the menu bar into the window.
  void putMenuBar();
  QToolButton *toolbarButton(const char *identifier) const;
  void clickToolbar(const char *identifier) const;
  /// The outline's item of the folder reached from the root by these names. Expands nothing.
  QModelIndex folderItem(const QStringList &path) const;
  /// Expands what lies above the folder and clicks its row.
  void chooseFolder(const QStringList &path);
  QModelIndex fileItem(const QString &name) const;
  /// Clicks the rows of the files of these names, the second and later ones with Ctrl.
  void chooseFiles(const QStringList &names);
  /// Clicks the item of that text in the context menu that the right button opens there.
  void chooseFromMenu(QAbstractItemView *view, const QPoint &position, const QString &text);
  void chooseFromFolderMenu(const QStringList &path, const QString &text);
  void chooseFromFileMenu(const QString &fileName, const QString &text);
  /// The sheet that is up, as the kind of dialog it should be; null when none of that kind is.
  template <typename Dialog> Dialog *sheet() const {
    for (Dialog *dialog : window()->template findChildren<Dialog *>())
      if (dialog->isVisible() && dialog->windowModality() == Qt::WindowModal) return dialog;
    return nullptr;
  }

  CleanSettings settings_;
  TemporaryFolder folder_;
  BeepCounter beeps_;
  WindowList windows_; ///< this one is not among them, so it is the only one
  std::unique_ptr<MainWindowController> controller_;
};

} // namespace tessary::test
