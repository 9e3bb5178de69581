#include "app/Colors.h"
#include "app/ContentController.h"
#include "app/FileTable.h"
#include "app/FindBar.h"
#include "app/FolderBar.h"
#include "app/FolderOutline.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/SidebarController.h"
#include "app/StatusBar.h"
#include "app/ThinSplitter.h"
#include "app/WindowPlace.h"
#include "app/menus/CommandItems.h"
#include "app/menus/ContextMenus.h"
#include "app/menus/MenuBarMenus.h"
#include "app/menus/Toolbar.h"
#include "app/panel/BankContents.h"
#include "app/panel/BankContentsPanel.h"
#include "app/panel/BankEntryTable.h"
#include "app/panel/PanelPlace.h"
#include "app/panel/PanelSettings.h"
#include "app/panel/WaveView.h"
#include "app/progress/WorkBar.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QEvent>
#include <QLayout>
#include <QMenuBar>
#include <QPainter>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>

namespace tessary {
namespace {

constexpr QSize contentSize(1200, 700);
constexpr QSize smallestWindow(800, 500);
constexpr int sidebarWidth = 220;
constexpr int narrowestSidebar = 140;
constexpr int widestSidebar = 340;

QVBoxLayout *makeColumn(QWidget *pane) {
  auto *layout = new QVBoxLayout(pane);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  return layout;
}

/// What Shift+F10 does: the context menu of what has the keyboard.
void showMenuOfFocused() {
  QWidget *focused = QApplication::focusWidget();
  if (!focused) return;
  const QPoint place = focused->inputMethodQuery(Qt::ImCursorRectangle).toRect().center();
  QContextMenuEvent event(QContextMenuEvent::Keyboard, place, focused->mapToGlobal(place));
  QCoreApplication::sendEvent(focused, &event);
}

class SeparatorLine final : public QWidget {
public:
  explicit SeparatorLine(QWidget *parent) : QWidget(parent) { setFixedHeight(1); }

protected:
  void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), separatorColor(palette())); }
};

} // namespace

// ---- What the window is made of

void MainWindowController::_buildUI() {
  window_->setMinimumSize(
      sizeOnScreen(smallestWindow, window_->screen()->availableGeometry(), likelyFrame()));
  const Browser::Views views = _buildViews();
  image_ = new ImageWork(views.statusBar->spinner(), views.workBar, this);
  browser_ = new Browser(image_, this);
  browser_->setViews(views);
  dialogs_ = new Dialogs(window_.get(), image_, this);
  backups_ = new ImageBackups(image_, dialogs_, browser_, this);
  changes_ = new ImageChanges(image_, dialogs_, browser_, backups_, this);
  CommandTools tools{image_, dialogs_, browser_, changes_};
  history_ = new ChangeHistory(tools, this);
  tools.history = history_;
  deletions_ = new Deletions(tools, this);
  transfers_ = new Transfers(tools, this);
  imports_ = new Imports(tools, this);
  exports_ = new Exports(tools, this);
  drags_ = new DragExport(tools, this);
  folderCommands_ = new FolderCommands(tools, this);
  fileCommands_ = new FileCommands(
      tools, [this](const std::vector<EMU3FilePtr> &files) { exports_->exportFiles(files); }, this);
  check_ = new ImageCheck(tools, this);
  openings_ = new ImageOpenings(tools, this);
  newImages_ = new NewImages(
      tools, [this](const std::string &path) { openImageAtURL(path); }, this);
  bankContents_ = new BankContents(
      tools, panel_, drags_,
      [this](const EMU3FilePtr &bank, const std::vector<ListedSample> &samples, std::uint32_t rate) {
        exports_->exportSamples(bank, samples, rate);
      },
      this);
  connect(window_.get(), &MainWindow::textSizeChanged, panel_, &BankContentsPanel::followTextSize);
  recentImages_ = new RecentImages([this](const std::string &path) { openImageAtURL(path); }, this);
  items_ = std::make_unique<CommandItems>(*this);
  addToolbar(window_.get(), items_.get());
  contextMenus_ = std::make_unique<ContextMenus>(items_.get(), tableView());
  menuBarMenus_ = std::make_unique<MenuBarMenus>(*this, recentImages_, panelPlace_);
  _setupDragging();
  _validateItems();
  _resizeContent(contentSize);
  splitter_->setSizes({sidebarWidth, splitter_->width() - sidebarWidth - splitter_->handleWidth()});
  _placeWindow();
  bankContents_->setShown(PanelSettings::isShown());
  outlineView()->setFocus();
}

Browser::Views MainWindowController::_buildViews() {
  Browser::Views views;
  views.window = window_.get();
  splitter_ = new ThinSplitter;
  splitter_->setObjectName(QStringLiteral("SplitView"));
  splitter_->addWidget(_makeSidebar(&views));
  splitter_->addWidget(_makeRightPane(&views));
  splitter_->setStretchFactor(0, 0);
  splitter_->setStretchFactor(1, 1);
  window_->setCentralWidget(splitter_);
  QWidget::setTabOrder(views.outline, views.table);
  QWidget::setTabOrder(views.table, panel_->table());
  QWidget::setTabOrder(panel_->table(), panel_->wave());
  QWidget::setTabOrder(panel_->wave(), panel_->playButton());
  return views;
}

QWidget *MainWindowController::_makeSidebar(Browser::Views *views) {
  auto *pane = new QWidget;
  pane->setMinimumWidth(narrowestSidebar);
  pane->setMaximumWidth(widestSidebar);
  views->outline = new FolderOutline;
  views->outline->setObjectName(QStringLiteral("OutlineView"));
  views->outline->setAccessibleName(QStringLiteral("Folders"));
  connect(views->outline, &FolderOutline::menuRequested, this, &MainWindowController::_showFolderMenu);
  views->folderBar = new FolderBar;
  QVBoxLayout *layout = makeColumn(pane);
  layout->addWidget(views->outline, 1);
  layout->addWidget(new SeparatorLine(pane));
  layout->addWidget(views->folderBar);
  return pane;
}

QWidget *MainWindowController::_makeRightPane(Browser::Views *views) {
  auto *pane = new QWidget;
  auto *files = new QWidget;
  views->table = new FileTable;
  views->table->setObjectName(QStringLiteral("TableView"));
  views->table->setAccessibleName(QStringLiteral("Files"));
  views->findBar = new FindBar;
  connect(views->findBar, &FindBar::left, views->table, &FileTable::takeKeyboard);
  views->workBar = new WorkBar(pane);
  views->statusBar = new StatusBar(pane);
  QVBoxLayout *column = makeColumn(files);
  column->addWidget(views->table, 1);
  column->addWidget(views->findBar);
  panel_ = new BankContentsPanel;
  panelPlace_ = new PanelPlace(files, panel_);
  panelPlace_->setBelow(PanelSettings::isBelow());
  QVBoxLayout *layout = makeColumn(pane);
  layout->addWidget(panelPlace_, 1);
  layout->addWidget(views->workBar);
  layout->addWidget(new SeparatorLine(pane));
  layout->addWidget(views->statusBar);
  return pane;
}

void MainWindowController::_setupDragging() {
  tableView()->setDragDropMode(QAbstractItemView::DragDrop);
  tableView()->setDropIndicatorShown(false); // the views frame what takes a drop
  outlineView()->setDragDropMode(QAbstractItemView::DragDrop);
  outlineView()->setDropIndicatorShown(false);
  constexpr int millisecondsToOpenFolder = 700;
  outlineView()->setAutoExpandDelay(millisecondsToOpenFolder);
  contentCtl()->setDragExport(drags_);
  sidebarCtl()->setDragExport(drags_);
  contentCtl()->setDropReceived(
      [this](const std::vector<std::string> &urls) { imports_->dropOnTable(urls); });
  sidebarCtl()->setSourceTableView(tableView());
  sidebarCtl()->setValidateDropBlock([this](const EMU3DirectoryPtr &, bool) { return _mayDrop(); });
  sidebarCtl()->setDropReceived([this](const EMU3DirectoryPtr &target, const std::vector<std::string> &urls,
                                       bool) { _dropReceived(target, urls); });
  const ItemsDropped itemsDropped = [this](const EMU3DirectoryPtr &target, const DraggedItems &items) {
    _itemsDropped(target, items);
  };
  contentCtl()->setItemsDropped(itemsDropped);
  sidebarCtl()->setItemsDropped(itemsDropped);
}

/// The keys that no menu shows.
void MainWindowController::_setupKeyboardShortcuts() {
  // The file that has the keyboard: its information, or where it was found.
  const auto open = [this] {
    contentCtl()->search().everywhere ? browser_->goToFound() : _tableDoubleClick();
  };
  connect(tableView(), &QTableView::doubleClicked, this, open);
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
    auto *shortcut = new QShortcut(key, tableView(), this, open, Qt::WidgetShortcut);
    shortcut->setAutoRepeat(false);
  }
  // With whatever other modifiers.
  for (const Qt::Key key : {Qt::Key_Backspace, Qt::Key_Delete})
    for (const Qt::KeyboardModifier other : {Qt::NoModifier, Qt::ShiftModifier, Qt::AltModifier}) {
      const QKeyCombination keys(Qt::ControlModifier | other, key);
      auto *shortcut = new QShortcut(keys, window_.get(), this, [this] { _deleteSelected(); });
      shortcut->setAutoRepeat(false);
    }
  new QShortcut(QKeySequence(Qt::SHIFT | Qt::Key_F10), window_.get(), showMenuOfFocused);
  new QShortcut(
      QKeySequence(Qt::Key_Escape), tableView(), this, [this] { browser_->endSearch(); }, Qt::WidgetShortcut);
}

// ---- Size and place

void MainWindowController::setMenuBar(QMenuBar *menuBar) {
  window_->setMenuBar(menuBar);
  menuBar->show(); // now, not when the event loop comes round
  const QSize grown = window_->size() + QSize(0, menuBar->heightForWidth(window_->width()));
  window_->resize(sizeOnScreen(grown, window_->screen()->availableGeometry(), likelyFrame()));
  if (!restorePlace(window_.get())) _placeWindow();
}

/// Gives the content, what lies below menu and toolbar, that size, as far as the screen has room.
void MainWindowController::_resizeContent(const QSize &size) {
  window_->ensurePolished();
  QCoreApplication::sendPostedEvents(window_.get(), QEvent::LayoutRequest);
  window_->layout()->activate();
  window_->resize(sizeOnScreen(window_->size() + size - window_->centralWidget()->size(),
                               window_->screen()->availableGeometry(), likelyFrame()));
  window_->layout()->activate();
}

void MainWindowController::_placeWindow() {
  const QRect available = window_->screen()->availableGeometry();
  // What the window manager moves is the frame.
  window_->move(placeOnScreen(window_->size(), available, likelyFrame()) -
                QPoint(likelyFrame().left(), likelyFrame().top()));
}

} // namespace tessary
