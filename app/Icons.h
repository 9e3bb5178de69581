#pragma once

#include <QIcon>
#include <QString>

namespace tessary {

/// The line drawing of that symbol name ("trash", "square.and.arrow.up", ...), in the colour that buttons
/// write their text in: the application's palette is asked at each painting, so a change between light and
/// dark shows at once. Sharp at any size and device pixel ratio. The icon's name() is the symbol's. A null
/// icon when there is no drawing of that name.
QIcon toolbarIcon(const QString &symbolName);

/// The application's own icon, sharp at any size.
QIcon applicationIcon();

} // namespace tessary
