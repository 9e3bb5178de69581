#pragma once

#include <QString>
#include <QUrl>

namespace tessary {

/// Where a document of this project is read: beside the installed program, in the application bundle or in
/// the source tree. `programFolder` is the one that the program lies in. Empty when the document is in none
/// of them.
QUrl documentUrl(const QString &fileName, const QString &programFolder);
/// The same for this program.
QUrl documentUrl(const QString &fileName);

} // namespace tessary
