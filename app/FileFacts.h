#pragma once

#include "tessary/EMU3File.h"

#include <QList>
#include <QPair>
#include <QString>

namespace tessary {

/// What is told of a file: names and values, as they are shown.
QList<QPair<QString, QString>> factsOf(const EMU3File &file);

/// The same as a text of a line each, the values one below the other where all letters are of one width.
QString informationText(const EMU3File &file);

} // namespace tessary
