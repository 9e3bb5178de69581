#pragma once

#include "tessary/EMU3Filesystem.h"
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

/// Makes a folder the one that an environment variable names, as long as it lives.
class HostFolder {
public:
  HostFolder(const char *variable, const std::string &path);
  ~HostFolder();
  HostFolder(const HostFolder &) = delete;
  HostFolder &operator=(const HostFolder &) = delete;

private:
  const char *const variable_;
  QByteArray before_;
};

/// The host's temporary directory.
class HostTemporaryDirectory : public HostFolder {
public:
  explicit HostTemporaryDirectory(const std::string &path) : HostFolder("TMPDIR", path) {}
};

/// The user's cache.
class HostCache : public HostFolder {
public:
  explicit HostCache(const std::string &path) : HostFolder("XDG_CACHE_HOME", path) {}
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

/// The window and what its commands on files leave on the image and on the host. Copies for undo go to the
/// folder "cache" of the test's own, drags to "tmp".
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
  std::unique_ptr<HostCache> cache_;
};

} // namespace tessary::test
