#include "app/panel/SampleDrag.h"

#include "app/FileURLs.h"
#include "app/PrivateFolder.h"
#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"

#include <QEventLoop>
#include <QMetaObject>
#include <QMimeData>
#include <QUrl>

namespace tessary {
namespace {

QList<QUrl> exported(EMU3Filesystem &filesystem, const EMU3FilePtr &bank,
                     const std::vector<ListedSample> &samples, std::uint32_t rate) {
  QList<QUrl> urls;
  const std::optional<std::string> folder = makePrivateFolder("EMU3Drag");
  if (!folder) return urls;
  const auto operation = filesystem.manyItems();
  ExportOptions options;
  options.sampleRate = rate;
  operation->setExportOptions(options);
  for (const ListedSample &sample : samples)
    operation->exportSampleInto(bank, sample.number, sample.name, *folder);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    if (!end.error) return urls.append(fileURL(end.hostPath));
    systemLog("Drag export failed for " + bank->name() + "[" + samples[end.item].name +
              "]: " + end.error->description());
  };
  operation->run(watcher);
  return urls;
}

} // namespace

QMimeData *SampleDrag::dataFor(const EMU3FilesystemPtr &filesystem, const EMU3FilePtr &bank,
                               const std::vector<ListedSample> &samples, std::uint32_t rate) {
  QList<QUrl> urls;
  QEventLoop loop;
  queue_.async([&] {
    urls = exported(*filesystem, bank, samples, rate);
    QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
  });
  loop.exec(QEventLoop::ExcludeUserInputEvents); // the mouse stays with the drag
  queue_.waitUntilIdle();                        // when the application ends, so does the loop
  if (urls.isEmpty()) return nullptr;
  auto data = std::make_unique<QMimeData>();
  data->setUrls(urls);
  return data.release();
}

} // namespace tessary
