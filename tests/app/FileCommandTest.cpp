#include "tests/app/FileCommandTest.h"

#include "tests/support/MountedVolume.h"
#include "tests/support/OtherUser.h"

#include <QFile>
#include <QKeySequence>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>

namespace tessary::test {

HostFolder::HostFolder(const char *variable, const std::string &path)
    : variable_(variable), before_(qgetenv(variable)) {
  std::filesystem::create_directories(path);
  qputenv(variable, QByteArray::fromStdString(path));
}

HostFolder::~HostFolder() {
  if (before_.isNull())
    qunsetenv(variable_);
  else
    qputenv(variable_, before_);
}

HeldQueue::HeldQueue(EMU3Filesystem &filesystem) {
  filesystem.ioQueue().async([gate = gate_] { gate->acquire(); });
}

void HeldQueue::letGo() {
  if (const auto gate = std::exchange(gate_, nullptr)) gate->release();
}

StoredFiles filesOnImage(const std::string &imagePath, const std::vector<std::string> &folder) {
  const EMU3FilesystemPtr filesystem = readAnew(imagePath);
  EMU3DirectoryPtr directory = filesystem->rootDirectory();
  for (const std::string &name : folder)
    directory = folderNamed(directory, name);
  StoredFiles files;
  for (const EMU3FilePtr &file : directory->allFiles())
    files.emplace_back(file->name(), contentsOf(*filesystem, file));
  return files;
}

std::vector<std::string> namesOnImage(const std::string &imagePath, const std::vector<std::string> &folder) {
  std::vector<std::string> names;
  for (const StoredFile &file : filesOnImage(imagePath, folder))
    names.push_back(file.first);
  return names;
}

void choosePaths(QFileDialog *panel, const std::vector<std::string> &paths) {
  QStringList quoted;
  for (const std::string &path : paths)
    quoted += QStringLiteral("\"%1\"").arg(QFile::decodeName(path.c_str()));
  panel->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(quoted.join(QLatin1Char(' ')));
  clickButton(panel, panel->labelText(QFileDialog::Accept));
}

FileCommandTest::FileCommandTest()
    : temporaryDirectory_(std::make_unique<HostTemporaryDirectory>(folder_.path("tmp"))),
      cache_(std::make_unique<HostCache>(folder_.path("cache"))) {}

void FileCommandTest::addIncompleteFile(const ImageBuilder &image, FolderBuilder &folder,
                                        const std::string &name, const Bytes &contents) {
  const std::uint64_t dataBlocks = image.totalBlocks() - image.dataAreaBlock();
  if (dataBlocks % image.slotSizeBlocks() == 0) throw std::logic_error("the last slot is a whole one");
  FileOptions options;
  options.slot = static_cast<std::uint16_t>(dataBlocks / image.slotSizeBlocks() + 1);
  options.clusterCount = 1;
  options.blocksInLastCluster = static_cast<std::uint16_t>(image.slotSizeBlocks());
  options.bytesInLastBlock = 512;
  options.storesContents = !contents.empty();
  folder.addFile(name, contents, options);
}

std::string FileCommandTest::mountReadOnly(const ImageBuilder &image) {
  const std::string path = writeImage(image);
  ::chmod(folder_.path().c_str(), 0755);
  ::chmod(path.c_str(), 0444);
  const OtherUser other;
  openImage(path);
  EXPECT_TRUE(controller_->filesystem()->isReadOnly());
  return path;
}

std::string FileCommandTest::hostFolder(const std::string &name) const {
  const std::string path = folder_.path(name);
  std::filesystem::create_directories(path);
  return path;
}

std::string FileCommandTest::writeHostFile(const std::string &name, const Bytes &contents) const {
  const std::string path = hostFolder("import") + "/" + name;
  writeBytes(path, contents);
  return path;
}

void FileCommandTest::confirmPanel(const std::vector<std::string> &paths) const {
  auto *panel = sheet<QFileDialog>();
  if (!panel) throw std::runtime_error("no file panel is up");
  choosePaths(panel, paths);
}

void FileCommandTest::answerSheet(const QString &button) const {
  constexpr int milliseconds = 5000; // what it tells may have to be read first
  EXPECT_TRUE(QTest::qWaitFor([this] { return sheet<QMessageBox>() != nullptr; }, milliseconds));
  auto *question = sheet<QMessageBox>();
  if (!question) throw std::runtime_error("no question is up");
  clickButton(question, button);
  EXPECT_TRUE(waitUntilIdle());
}

void FileCommandTest::pressUndoKey() const {
  activate(window());
  QTest::keySequence(window()->windowHandle(), QKeySequence::Undo);
  EXPECT_TRUE(waitUntilIdle());
}

void FileCommandTest::pressRedoKey() const {
  activate(window());
  QTest::keySequence(window()->windowHandle(), QKeySequence::Redo);
  EXPECT_TRUE(waitUntilIdle());
}

} // namespace tessary::test
