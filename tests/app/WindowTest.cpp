#include "tests/app/WindowTest.h"

#include "app/Beeper.h"
#include "app/ContentController.h"
#include "app/Settings.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "app/WorkQueue.h"
#include "tessary/SerialQueue.h"

#include <QApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSemaphore>
#include <QTableWidget>
#include <QTest>
#include <QThreadPool>
#include <QToolBar>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>

namespace tessary::test {

// ---- Beeps and alerts

BeepCounter::BeepCounter() {
  setBeepHandler([count = count_] { ++*count; });
}

BeepCounter::~BeepCounter() {
  setBeepHandler({});
}

AlertAnswers::AlertAnswers(QString button) : button_(std::move(button)) {
  timer_.callOnTimeout([this] { answer(); });
  timer_.start(5);
}

void AlertAnswers::answer() {
  auto *alert = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
  if (!alert || !alert->isVisible() || alert->windowModality() == Qt::WindowModal) return;
  shown_.push_back(describe(*alert));
  clickButton(alert, button_.isEmpty() ? alert->defaultButton() ? alert->defaultButton()->text()
                                                                : shown_.back().buttons.first()
                                       : button_);
}

bool waitUntilActive(QWidget *window) {
  constexpr int milliseconds = 30000;
  return QTest::qWaitFor([window] { return QApplication::activeWindow() == window; }, milliseconds);
}

void activate(QWidget *window) {
  window->activateWindow();
  EXPECT_TRUE(waitUntilActive(window));
}

void pressKeyIn(QWidget *window, Qt::Key key, Qt::KeyboardModifiers modifiers) {
  if (!window) throw std::runtime_error("the window to press a key in is not up");
  activate(window);
  QTest::keyClick(window->windowHandle(), key, modifiers);
}

ShownAlert describe(const QMessageBox &alert) {
  ShownAlert shown{alert.text(), alert.informativeText(), {}};
  for (const QAbstractButton *button : alert.buttons())
    shown.buttons += button->text().remove(QLatin1Char('&'));
  if (const auto *list = alert.findChild<QTableWidget *>(QStringLiteral("Failures")))
    for (int row = 0; row < list->rowCount(); ++row)
      shown.failures += QStringLiteral("%1: %2").arg(list->item(row, 0)->text(), list->item(row, 1)->text());
  return shown;
}

void clickButton(QDialog *dialog, const QString &text) {
  for (QPushButton *button : dialog->findChildren<QPushButton *>())
    if (button->isVisible() &&
        button->text().remove(QLatin1Char('&')) == QString(text).remove(QLatin1Char('&')))
      return QTest::mouseClick(button, Qt::LeftButton);
  throw std::runtime_error("the dialog has no button " + text.toStdString());
}

// ---- Holding back work

HeldVolume::HeldVolume(const std::string &imagePath) {
  struct stat status {};
  if (::stat(imagePath.c_str(), &status) != 0)
    throw std::system_error(errno, std::generic_category(), imagePath);
  image_ = MountedImage::of(status.st_dev, status.st_ino, MountRules::guarded);
  image_->operationLock.lock();
}

void HeldVolume::letGo() {
  if (const auto image = std::exchange(image_, nullptr)) image->operationLock.unlock();
}

struct HeldWorkQueue::Gate {
  QSemaphore open;
  int threads = 0;
};

HeldWorkQueue::HeldWorkQueue() : gate_(std::make_shared<Gate>()) {
  gate_->threads = workQueue().maxThreadCount();
  workQueue().setMaxThreadCount(1);
  workQueue().start([gate = gate_] { gate->open.acquire(); });
}

void HeldWorkQueue::letGo() {
  const auto gate = std::exchange(gate_, nullptr);
  if (!gate) return;
  gate->open.release();
  workQueue().setMaxThreadCount(gate->threads);
}

bool waitUntilIdle() {
  constexpr int milliseconds = 30000;
  const auto isIdle = [] {
    return workQueue().activeThreadCount() == 0 && SerialQueue::pendingBlocks() == 0;
  };
  // What was posted may queue more, which may be done before it is asked for: a completed opening queues the
  // details of its first folder, and these post theirs.
  for (int generations = 3; generations > 0; --generations) {
    if (!QTest::qWaitFor(isIdle, milliseconds)) return false;
    QCoreApplication::processEvents();
  }
  return isIdle() || waitUntilIdle();
}

// ---- Mouse

void click(QWidget *widget, const QPoint &position, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) {
  QWidget *top = widget->window();
  QTest::mouseClick(top->windowHandle(), button, modifiers, widget->mapTo(top, position));
}

void clickRow(QAbstractItemView *view, const QModelIndex &index, Qt::MouseButton button,
              Qt::KeyboardModifiers modifiers) {
  if (!index.isValid()) throw std::runtime_error("there is no such row");
  view->scrollTo(index);
  const QRect row = view->visualRect(index);
  if (row.isEmpty()) throw std::runtime_error("the row is not visible");
  click(view->viewport(), QPoint(row.left() + 30, row.center().y()), button, modifiers);
}

void chooseFromMenuBar(QMenuBar *bar, const QString &menuTitle, const QString &text) {
  for (QAction *title : bar->actions()) {
    if (title->text() != menuTitle) continue;
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(title).center());
    QMenu *menu = title->menu();
    for (QAction *item : menu->actions()) {
      if (item->text() != text) continue;
      QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(item).center());
      menu->close(); // which a disabled item leaves open
      return;
    }
  }
  throw std::runtime_error("the menu bar has no item " + text.toStdString());
}

QPoint emptyPlace(QAbstractItemView *view) {
  const QPoint place(view->viewport()->width() / 2, view->viewport()->height() - 5);
  if (view->indexAt(place).isValid()) throw std::runtime_error("the view is full of rows");
  return place;
}

QStringList rowTexts(const QAbstractItemModel &model, int row) {
  QStringList texts;
  for (int column = 0; column < model.columnCount(); ++column)
    texts += model.index(row, column).data().toString();
  return texts;
}

// ---- The window

CleanSettings::CleanSettings() {
  openSettings()->clear();
  BackupOffers::setMade(false);
}

WindowTest::WindowTest() : controller_(std::make_unique<MainWindowController>(windows_)) {
  controller_->showWindow();
  if (!QTest::qWaitForWindowExposed(window())) throw std::runtime_error("the window does not come up");
  activate(window()); // the keys that a test presses go to the active window
}

WindowTest::~WindowTest() {
  EXPECT_TRUE(waitUntilIdle());
}

std::string WindowTest::writeImage(const ImageBuilder &image, const std::string &fileName) const {
  const std::string path = folder_.path(fileName);
  image.writeTo(path);
  return path;
}

void WindowTest::openImage(const std::string &path) {
  controller_->openImageAtURL(path);
  ASSERT_TRUE(waitUntilIdle());
}

std::string WindowTest::mount(const ImageBuilder &image, const std::string &fileName) {
  const std::string path = writeImage(image, fileName);
  openImage(path);
  return path;
}

QString WindowTest::title() const {
  return window()->windowHandle()->title();
}

QString WindowTest::status() const {
  return controller_->statusLabel()->text();
}

QString WindowTest::diskSpace() const {
  return controller_->diskSpaceLabel()->text();
}

QStringList WindowTest::outlineLabels() const {
  QStringList labels;
  const QAbstractItemModel *model = outline()->model();
  for (QModelIndex row = model->index(0, 0); row.isValid(); row = outline()->indexBelow(row))
    labels += row.data().toString();
  return labels;
}

QString WindowTest::highlightedLabel() const {
  const QModelIndexList rows = outline()->selectionModel()->selectedRows();
  return rows.isEmpty() ? QString() : rows.first().data().toString();
}

QStringList WindowTest::fileNames() const {
  QStringList names;
  for (int row = 0; row < table()->model()->rowCount(); ++row)
    names += table()->model()->index(row, 0).data().toString();
  return names;
}

QStringList WindowTest::selectedFileNames() const {
  QStringList names;
  for (int row = 0; row < table()->model()->rowCount(); ++row)
    if (table()->selectionModel()->isRowSelected(row))
      names += table()->model()->index(row, 0).data().toString();
  return names;
}

QToolButton *WindowTest::toolbarButton(const char *identifier) const {
  auto *toolbar = window()->findChild<QToolBar *>(QStringLiteral("MainToolbar"));
  auto *item = window()->findChild<QAction *>(QLatin1String(identifier));
  auto *button = item ? qobject_cast<QToolButton *>(toolbar->widgetForAction(item)) : nullptr;
  if (!button) throw std::runtime_error(std::string("the toolbar has no ") + identifier);
  return button;
}

void WindowTest::clickToolbar(const char *identifier) const {
  QToolButton *button = toolbarButton(identifier);
  click(button, button->rect().center());
}

void WindowTest::putMenuBar() {
  auto *bar = new QMenuBar;
  for (QMenu *menu : controller_->menus())
    bar->addMenu(menu);
  controller_->setMenuBar(bar);
}

QAction *WindowTest::menuItem(const char *menuTitle, const char *text) const {
  for (QMenu *menu : controller_->menus()) {
    if (menu->title() != QLatin1String(menuTitle)) continue;
    emit menu->aboutToShow(); // which greys its items
    for (QAction *item : menu->actions())
      if (item->text() == QString::fromUtf8(text)) return item;
  }
  throw std::runtime_error(std::string("the menus have no item ") + text);
}

QModelIndex WindowTest::folderItem(const QStringList &path) const {
  QModelIndex item;
  for (const QString &name : path) {
    QModelIndex next;
    for (int row = 0; row < outline()->model()->rowCount(item) && !next.isValid(); ++row) {
      const QModelIndex child = outline()->model()->index(row, 0, item);
      if (controller_->sidebarCtl()->directoryAt(child)->name() == name.toStdString()) next = child;
    }
    if (!next.isValid()) throw std::runtime_error("there is no folder " + name.toStdString());
    item = next;
  }
  return item;
}

void WindowTest::chooseFolder(const QStringList &path) {
  for (int depth = 1; depth < path.size(); ++depth)
    outline()->expand(folderItem(path.first(depth)));
  clickRow(outline(), folderItem(path));
}

QModelIndex WindowTest::fileItem(const QString &name) const {
  for (int row = 0; row < table()->model()->rowCount(); ++row)
    if (const QModelIndex item = table()->model()->index(row, 0); item.data().toString() == name) return item;
  throw std::runtime_error("the table has no file " + name.toStdString());
}

void WindowTest::chooseFiles(const QStringList &names) {
  for (const QString &name : names)
    clickRow(table(), fileItem(name), Qt::LeftButton,
             name == names.first() ? Qt::KeyboardModifiers() : Qt::ControlModifier);
}

void WindowTest::chooseFromMenu(QAbstractItemView *view, const QPoint &position, const QString &text) {
  click(view->viewport(), position, Qt::RightButton);
  auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
  if (!menu) throw std::runtime_error("no context menu comes up");
  for (QAction *item : menu->actions())
    if (item->text() == text)
      return QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(item).center());
  menu->close();
  throw std::runtime_error("the menu has no item " + text.toStdString());
}

void WindowTest::chooseFromFolderMenu(const QStringList &path, const QString &text) {
  const QModelIndex item = folderItem(path);
  outline()->scrollTo(item);
  chooseFromMenu(outline(), outline()->visualRect(item).center(), text);
}

void WindowTest::chooseFromFileMenu(const QString &fileName, const QString &text) {
  const QModelIndex item = fileItem(fileName);
  table()->scrollTo(item);
  chooseFromMenu(table(), table()->visualRect(item).center(), text);
}

} // namespace tessary::test
