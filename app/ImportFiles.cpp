#include "app/ImportFiles.h"

#include "tessary/ItemsOperation.h"
#include "tessary/Text.h"

#include <QFile>

namespace tessary {

ImportResult importFiles(EMU3Filesystem &filesystem, const std::vector<std::string> &urls,
                         const EMU3DirectoryPtr &directory) {
  ImportResult result;
  const auto operation = filesystem.manyItems();
  for (const std::string &url : urls)
    operation->importFile(url, directory);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    if (end.error)
      result.failures.push_back(ItemFailure::of(lastPathComponent(urls[end.item]), *end.error));
    else
      result.imported.push_back(end.file);
  };
  operation->run(watcher);
  for (const EMU3FilePtr &file : result.imported)
    filesystem.populateBankMetadata(file);
  return result;
}

std::vector<std::string> hostPaths(const QStringList &paths) {
  std::vector<std::string> encoded;
  encoded.reserve(static_cast<std::size_t>(paths.size()));
  for (const QString &path : paths)
    encoded.push_back(QFile::encodeName(path).toStdString());
  return encoded;
}

} // namespace tessary
