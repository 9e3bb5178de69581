#include "app/FileURLs.h"

#include <QByteArray>
#include <QMimeData>
#include <QSysInfo>

namespace tessary {
namespace {

bool isThisHost(const QString &host) {
  return host.isEmpty() || host == QLatin1String("localhost") ||
         host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

} // namespace

// The toolkit's own way loses bytes that are no UTF-8.
std::string filePath(const QUrl &url) {
  if (!url.isLocalFile() || !isThisHost(url.host())) return {};
  const QByteArray path = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
  return path.contains('\0') ? std::string() : path.toStdString();
}

QUrl fileURL(const std::string &path) {
  return QUrl::fromEncoded("file://" + QByteArray::fromStdString(path).toPercentEncoding("/"),
                           QUrl::StrictMode);
}

std::vector<std::string> filePaths(const QMimeData &data) {
  std::vector<std::string> paths;
  if (!data.hasUrls()) return paths;
  for (const QUrl &url : data.urls())
    if (std::string path = filePath(url); !path.empty()) paths.push_back(std::move(path));
  return paths;
}

} // namespace tessary
