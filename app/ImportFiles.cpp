#include "app/ImportFiles.h"

#include "app/DisplayText.h"
#include "filesystem/ItemsOperation.h"

#include <QFile>

namespace tessary {

QString ImportResult::lastErrorText(const QString &unknown) const {
  return lastError.isSet() ? displayText(lastError.localizedDescription()) : unknown;
}

ImportResult importFiles(EMU3Filesystem &filesystem, const std::vector<std::string> &urls,
                         const EMU3DirectoryPtr &directory) {
  ImportResult result;
  result.chosen = urls.size();
  const auto operation = filesystem.manyItems();
  for (const std::string &url : urls)
    operation->importFile(url, directory);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    if (end.error)
      result.lastError = *end.error;
    else
      ++result.imported;
  };
  operation->run(watcher);
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
