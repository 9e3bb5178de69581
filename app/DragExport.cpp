#include "app/DragExport.h"

#include "app/PrivateFolder.h"
#include "app/progress/WorkProgress.h"
#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

#include <QEventLoop>
#include <functional>

namespace tessary {
namespace {

constexpr const char *kKind = "EMU3Drag";

/// Runs the operation; `exported` is called with what was, on the thread that does it.
void run(ItemsOperation &operation, const std::function<void(const Item &, const ItemEnd &)> &exported) {
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    const Item &item = operation.item(end.item);
    if (!end.error) return exported(item, end);
    systemLog("Drag export failed for " + nameOfItem(item) + ": " + end.error->description());
  };
  operation.run(watcher);
}

/// Runs `work` on a thread of its own, not behind the queued work on the image, and waits for it.
void runMeanwhile(const std::function<void()> &work) {
  SerialQueue queue("com.tessary.drag");
  QEventLoop loop;
  queue.async([&] {
    work();
    QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
  });
  loop.exec(QEventLoop::ExcludeUserInputEvents); // the mouse stays with the drag
  queue.waitUntilIdle();                         // when the application ends, so does the loop
}

} // namespace

std::vector<std::string> exportForDrag(const EMU3FilesystemPtr &image,
                                       const std::vector<EMU3FilePtr> &files) {
  std::vector<std::string> exported;
  runMeanwhile([&] {
    const auto operation = image->manyItems();
    for (const EMU3FilePtr &file : files)
      if (const std::optional<std::string> folder = makePrivateFolder(kKind))
        operation->exportFileInto(file, *folder);
    run(*operation, [&](const Item &, const ItemEnd &end) { exported.push_back(end.hostPath); });
  });
  return exported;
}

std::optional<std::string> exportForDrag(const EMU3FilesystemPtr &image, const EMU3DirectoryPtr &folder) {
  std::optional<std::string> exported;
  runMeanwhile([&] {
    const std::optional<std::string> above = makePrivateFolder(kKind);
    if (!above) return;
    const auto operation = image->manyItems();
    operation->exportFolderInto(folder, *above);
    run(*operation, [&](const Item &item, const ItemEnd &end) {
      if (item.folder == folder) exported = end.hostPath;
    });
  });
  return exported;
}

} // namespace tessary
