#include "app/Colors.h"
#include "app/ContentController.h"
#include "app/DeleteKeyFilter.h"
#include "app/FileTable.h"
#include "app/FolderOutline.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QSplitterHandle>
#include <QVBoxLayout>

namespace tessary {
namespace {

constexpr QSize contentSize(1200, 700);
constexpr int sidebarWidth = 220;
constexpr int narrowestSidebar = 140;
constexpr int widestSidebar = 340;

class ThinDivider final : public QSplitterHandle {
public:
  using QSplitterHandle::QSplitterHandle;

protected:
  // The handle is wider than the line, so that the mouse can get hold of it.
  void paintEvent(QPaintEvent *) override {
    QPainter(this).fillRect(contentsRect(), separatorColor(palette()));
  }
};

class ThinSplitter final : public QSplitter {
public:
  ThinSplitter() : QSplitter(Qt::Horizontal) {
    setChildrenCollapsible(false);
    setHandleWidth(1);
  }

protected:
  QSplitterHandle *createHandle() override { return new ThinDivider(orientation(), this); }
};

class SeparatorLine final : public QWidget {
public:
  explicit SeparatorLine(QWidget *parent) : QWidget(parent) { setFixedHeight(1); }

protected:
  void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), separatorColor(palette())); }
};

} // namespace

void MainWindowController::_buildUI() {
  _buildToolbar();
  _buildOutline();
  auto *splitter = new ThinSplitter;
  splitter->setObjectName(QStringLiteral("SplitView"));
  outlineView_->setMinimumWidth(narrowestSidebar);
  outlineView_->setMaximumWidth(widestSidebar);
  splitter->addWidget(outlineView_);
  splitter->addWidget(_makeRightPane());
  splitter->setStretchFactor(0, 0);
  splitter->setStretchFactor(1, 1);
  window_->setCentralWidget(splitter);
  outlineView_->setFocus();
  _installCallbacks();
  _buildMenus();
  _setupDragging();
  _validateItems();
  _resizeContent(contentSize);
  splitter->setSizes({sidebarWidth, contentSize.width() - sidebarWidth - splitter->handleWidth()});
  _centerWindow();
}

void MainWindowController::_buildOutline() {
  auto *outline = new FolderOutline;
  connect(outline, &FolderOutline::menuRequested, this, &MainWindowController::_showFolderMenu);
  connect(outline, &FolderOutline::emptyAreaPressed, this, &MainWindowController::_showChosenFolder);
  connect(outline, &FolderOutline::pressed, this, &MainWindowController::_showChosenFolder);
  outlineView_ = outline;
  outlineView_->setObjectName(QStringLiteral("OutlineView"));
  outlineView_->setAccessibleName(QStringLiteral("Folders"));
  sidebarCtl_ = new SidebarController(this);
  sidebarCtl_->setOutlineView(outlineView_);
}

void MainWindowController::_buildTable() {
  auto *table = new FileTable;
  table->setObjectName(QStringLiteral("TableView"));
  table->setAccessibleName(QStringLiteral("Files"));
  contentCtl_ = new ContentController(this);
  contentCtl_->setTableView(table);
  std::vector<int> widths, minimums;
  for (const FileColumn &column : kFileColumns) {
    widths.push_back(column.width);
    minimums.push_back(column.minimumWidth);
  }
  table->setColumnWidths(widths, minimums);
  connect(table, &QTableView::doubleClicked, this, &MainWindowController::_tableDoubleClick);
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
    auto *shortcut =
        new QShortcut(key, table, this, &MainWindowController::_tableDoubleClick, Qt::WidgetShortcut);
    shortcut->setAutoRepeat(false);
  }
  tableView_ = table;
}

QWidget *MainWindowController::_makeRightPane() {
  auto *pane = new QWidget;
  auto *layout = new QVBoxLayout(pane);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  _buildTable();
  layout->addWidget(tableView_, 1);
  layout->addWidget(new SeparatorLine(pane));
  auto *statusBar = new StatusBar(pane);
  layout->addWidget(statusBar);
  statusLabel_ = statusBar->statusLabel();
  diskSpaceLabel_ = statusBar->diskSpaceLabel();
  spinner_ = statusBar->spinner();
  return pane;
}

void MainWindowController::_installCallbacks() {
  sidebarCtl_->setSelectionChanged(
      [this](const EMU3DirectoryPtr &directory) { _selectDirectory(directory); });
  contentCtl_->setStatusUpdate([this](const QString &text) { _setStatus(text); });
  contentCtl_->setBeforeImport(
      [this](std::function<void()> import) { _whenChangeable(std::move(import), [] {}); });
  contentCtl_->setAfterImport([this] {
    sidebarCtl_->reload();
    _updateDiskSpaceLabel();
  });
}

void MainWindowController::_setupKeyboardShortcuts() {
  new DeleteKeyFilter([this] { _deleteSelected(); }, this);
}

void MainWindowController::setMenuBar(QMenuBar *menuBar) {
  const QSize content = window_->centralWidget()->size();
  window_->setMenuBar(menuBar);
  menuBar->show(); // now, not when the event loop comes round
  _resizeContent(content);
  _centerWindow();
}

/// Gives the content, what lies below menu and toolbar, that size.
void MainWindowController::_resizeContent(const QSize &size) {
  window_->ensurePolished();
  QCoreApplication::sendPostedEvents(window_.get(), QEvent::LayoutRequest);
  window_->layout()->activate();
  window_->resize(window_->size() + size - window_->centralWidget()->size());
}

void MainWindowController::_centerWindow() {
  const QRect screen = window_->screen()->availableGeometry();
  const QPoint centered = screen.center() - QRect(QPoint(), window_->size()).center();
  // On a screen that is too small the title bar stays in reach.
  window_->move(std::max(centered.x(), screen.x()), std::max(centered.y(), screen.y()));
}

} // namespace tessary
