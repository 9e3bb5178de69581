#include "app/ImportFiles.h"

#include "app/DisplayText.h"

#include <QFile>
#include <utility>

namespace tessary {

QString ImportResult::lastErrorText(const QString &unknown) const {
  return lastError.isSet() ? displayText(lastError.localizedDescription()) : unknown;
}

ImportResult importFiles(EMU3Filesystem &filesystem, const std::vector<std::string> &urls,
                         const EMU3DirectoryPtr &directory) {
  ImportResult result;
  result.chosen = urls.size();
  for (const std::string &url : urls) {
    EMU3Error error;
    if (filesystem.importFileAtURL(url, directory, &error))
      ++result.imported;
    else
      result.lastError = std::move(error);
  }
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
