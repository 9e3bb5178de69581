#include "tests/app/SeveralWindows.h"

#include "app/Alert.h"
#include "app/ContentController.h"
#include "app/SidebarController.h"
#include "tests/support/MountedVolume.h"

#include <QMenuBar>
#include <QTest>

namespace tessary::test {

SeveralWindows::SeveralWindows()
    : delegate_(std::make_unique<AppDelegate>(std::vector<std::string>{"tessary"})) {
  delegate_->applicationDidFinishLaunching();
  EXPECT_TRUE(QTest::qWaitForWindowExposed(delegate_->mainWC()->window()));
}

SeveralWindows::~SeveralWindows() {
  EXPECT_TRUE(waitUntilIdle());
}

// ---- Images

ImageBuilder SeveralWindows::volume(std::uint32_t seed) {
  ImageBuilder image;
  FolderBuilder drums = image.root().addFolder("Drums", {.blockCount = 2});
  drums.addFile("KICK", patternBytes(70'000, seed));
  drums.addFile("SIXTEEN BYTES 16", patternBytes(900, seed + 1), {.type = 0x80});
  drums.addFolder("Old").addFile("TOM", patternBytes(1500, seed + 2), {.type = 0x82});
  image.root().addFolder("Pads").addFile("CHOIR", patternBytes(600, seed + 3));
  return image;
}

std::string SeveralWindows::writeVolume(const std::string &fileName, std::uint32_t seed) const {
  const std::string path = folder_.path(fileName);
  volume(seed).writeTo(path);
  return path;
}

SeveralWindows::Window SeveralWindows::open(const std::string &path) const {
  delegate_->application(path);
  EXPECT_TRUE(waitUntilIdle());
  for (const Window window : windows())
    if (window->filesystem() && window->filesystem()->imageURL() == path) return window;
  throw std::runtime_error("no window shows " + path);
}

void SeveralWindows::mountIn(Window window, const std::string &path) {
  window->_openImage();
  choosePaths(sheet<QFileDialog>(window), {path});
  EXPECT_TRUE(waitUntilIdle());
}

// ---- What is read

EMU3DirectoryPtr SeveralWindows::folder(Window window, const std::vector<std::string> &path) {
  EMU3DirectoryPtr folder = window->filesystem()->rootDirectory();
  for (const std::string &name : path)
    folder = folderNamed(folder, name);
  return folder;
}

QStringList SeveralWindows::fileNames(Window window) {
  QStringList names;
  for (const EMU3FilePtr &file : window->contentCtl()->displayedFiles())
    names += QString::fromStdString(file->name());
  return names;
}

QStringList SeveralWindows::selectedFileNames(Window window) {
  QStringList names;
  for (const EMU3FilePtr &file : window->_selectedFiles())
    names += QString::fromStdString(file->name());
  return names;
}

bool SeveralWindows::hasSheet(Window window) {
  const QList<QDialog *> dialogs = window->window()->findChildren<QDialog *>();
  return std::any_of(dialogs.begin(), dialogs.end(), [](const QDialog *each) { return each->isVisible(); });
}

// ---- Commands

void SeveralWindows::chooseFromMenus(Window window, const char *menu, const QString &text) {
  chooseFromMenuBar(window->window()->menuBar(), QLatin1String(menu), text);
}

void SeveralWindows::selectFiles(Window window, const QStringList &names) {
  std::vector<EMU3FilePtr> files;
  for (const QString &name : names)
    files.push_back(fileNamed(window->currentDirectory(), name.toStdString()));
  window->tableView()->setFocus(); // not the folders
  if (!window->contentCtl()->selectRowsOf(files)) throw std::runtime_error("no file of that name is shown");
}

void SeveralWindows::deleteFiles(Window window, const QStringList &names) {
  selectFiles(window, names);
  chooseFromMenus(window, "Edit", QStringLiteral("Delete"));
  clickButton(sheet<Alert>(window), QStringLiteral("Delete"));
  EXPECT_TRUE(waitUntilIdle());
}

void SeveralWindows::beginImport(Window window, const std::string &name, const Bytes &contents) const {
  const std::string path = folder_.path(name);
  writeBytes(path, contents);
  chooseFromMenus(window, "File", QStringLiteral("Import…"));
  choosePaths(sheet<QFileDialog>(window), {path});
}

// ---- Drags

std::unique_ptr<FileDrag> SeveralWindows::dragFiles(Window window, const QStringList &names) {
  selectFiles(window, names);
  return std::make_unique<FileDrag>(
      window->contentCtl()->mimeData(window->tableView()->selectionModel()->selectedIndexes()));
}

std::unique_ptr<FileDrag> SeveralWindows::dragFolder(Window window, const std::vector<std::string> &path) {
  SidebarController *sidebar = window->sidebarCtl();
  return std::make_unique<FileDrag>(sidebar->mimeData({sidebar->indexOf(folder(window, path))}));
}

Qt::DropAction SeveralWindows::dropOnFolder(FileDrag &drag, Window window,
                                            const std::vector<std::string> &path) {
  QTreeView *outline = window->outlineView();
  const QModelIndex item = window->sidebarCtl()->indexOf(folder(window, path));
  if (item.isValid()) outline->scrollTo(item);
  return drag.dropOn(outline->viewport(),
                     item.isValid() ? outline->visualRect(item).center() : emptyPlace(outline));
}

Qt::DropAction SeveralWindows::dropOnTable(FileDrag &drag, Window window) {
  return drag.dropOn(window->tableView()->viewport(), emptyPlace(window->tableView()));
}

} // namespace tessary::test
