#pragma once

#include <QString>
#include <QUrl>

namespace tessary {

/// Where a document of this project is read: beside the installed program, in the application bundle or in
/// the source tree, and on the project's site when it is in none of them.
QUrl documentUrl(const QString &fileName);

} // namespace tessary
