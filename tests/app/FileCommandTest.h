#pragma once

#include "filesystem/EMU3Filesystem.h"
#include "tests/app/WindowTest.h"
#include "tests/support/HostFiles.h"

#include <QByteArray>
#include <QFileDialog>
#include <QSemaphore>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tessary::test {

/// Makes a folder the host's temporary directory as long as it lives.
class HostTemporaryDirectory {
public:
  explicit HostTemporaryDirectory(const std::string &path);
  ~HostTemporaryDirectory();
  HostTemporaryDirectory(const HostTemporaryDirectory &) = delete;
  HostTemporaryDirectory &operator=(const HostTemporaryDirectory &) = delete;

private:
  QByteArray before_;
};

/// Holds back what is queued on the image's I/O queue from now on, until it is let go.
class HeldQueue {
public:
  explicit HeldQueue(EMU3Filesystem &filesystem);
  ~HeldQueue() { letGo(); }
  HeldQueue(const HeldQueue &) = delete;
  HeldQueue &operator=(const HeldQueue &) = delete;
  void letGo();

private:
  std::shared_ptr<QSemaphore> gate_ = std::make_shared<QSemaphore>();
};

/// A file of an image: its name and contents.
using StoredFile = std::pair<std::string, Bytes>;
using StoredFiles = std::vector<StoredFile>;

/// The files of a folder, reached from the root by these names, as a fresh look at the image finds them.
StoredFiles filesOnImage(const std::string &imagePath, const std::vector<std::string> &folder);
std::vector<std::string> namesOnImage(const std::string &imagePath, const std::vector<std::string> &folder);

/// Types the paths into the panel and presses its confirm button.
void choosePaths(QFileDialog *panel, const std::vector<std::string> &paths);

/// The window and what its commands on files leave on the image and on the host. Backups and drags go to
/// the folder "tmp" of the test's own.
class FileCommandTest : public WindowTest {
protected:
  FileCommandTest();

  /// Adds a file whose contents reach beyond the image's end; what there is of them begins with these.
  static void addIncompleteFile(const ImageBuilder &image, FolderBuilder &folder, const std::string &name,
                                const Bytes &contents = {});
  /// Mounts the image without the right to write it.
  std::string mountReadOnly(const ImageBuilder &image);
  /// A folder of this name for exports or imports, made when it is not there yet.
  std::string hostFolder(const std::string &name) const;
  /// Writes a host file into "import" and returns its path.
  std::string writeHostFile(const std::string &name, const Bytes &contents) const;

  /// Chooses the paths in the panel that is up.
  void confirmPanel(const std::vector<std::string> &paths) const;
  /// Presses the button of the sheet that is up, and waits for what it queues.
  void answerSheet(const QString &button) const;
  void pressUndoKey() const;
  void pressRedoKey() const;

private:
  std::unique_ptr<HostTemporaryDirectory> temporaryDirectory_;
};

} // namespace tessary::test
