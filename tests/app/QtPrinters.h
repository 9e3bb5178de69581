#pragma once

#include <QRect>
#include <QSize>
#include <QStringList>
#include <ostream>

// How GoogleTest writes values of the toolkit in its failure messages. Every test file includes this first:
// one that did not would have the same types written in another way.

inline void PrintTo(const QString &text, std::ostream *stream) {
  *stream << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList &texts, std::ostream *stream) {
  *stream << '[' << texts.join(QStringLiteral(" | ")).toStdString() << ']';
}

inline void PrintTo(const QSize &size, std::ostream *stream) {
  *stream << size.width() << " x " << size.height();
}

inline void PrintTo(const QRect &rect, std::ostream *stream) {
  *stream << '(' << rect.x() << ", " << rect.y() << ") " << rect.width() << " x " << rect.height();
}
