#include "app/Documents.h"

#include "app/Links.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace tessary {

QUrl documentUrl(const QString &fileName) {
  const QDir programs(QCoreApplication::applicationDirPath());
  for (const char *folder : {"../share/doc/tessary", "../Resources/docs", "../../../docs"}) {
    const QFileInfo document(programs.filePath(QLatin1String(folder)), fileName);
    if (document.isFile()) return QUrl::fromLocalFile(document.canonicalFilePath());
  }
  return QUrl(QLatin1String(links::documentsSite) + fileName);
}

} // namespace tessary
