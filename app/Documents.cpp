#include "app/Documents.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace tessary {

QUrl documentUrl(const QString &fileName, const QString &programFolder) {
  const QDir programs(programFolder);
  for (const char *folder : {TESSARY_DOCUMENTS_FROM_PROGRAM, "../Resources/docs", "../../../docs"}) {
    const QFileInfo document(programs.filePath(QString::fromUtf8(folder)), fileName);
    if (document.isFile()) return QUrl::fromLocalFile(document.canonicalFilePath());
  }
  return {};
}

QUrl documentUrl(const QString &fileName) {
  return documentUrl(fileName, QCoreApplication::applicationDirPath());
}

} // namespace tessary
