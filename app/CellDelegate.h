#pragma once

#include <QStyledItemDelegate>

namespace tessary {

/// Height of a row of the folder outline and of the file table.
inline constexpr int kRowHeight = 20;

/// Draws a cell: the item's icon, if it has one, 16 × 16 at x 4, and its text, 16 high, at x 24 or, without
/// an icon, at x 4. Text is plain and cut with an ellipsis where it does not fit.
class CellDelegate final : public QStyledItemDelegate {
  Q_OBJECT

public:
  using QStyledItemDelegate::QStyledItemDelegate;

  /// Where the text of a cell of that rectangle is drawn.
  static QRect textRect(const QRect &cell, bool hasIcon);

  void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
  QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

} // namespace tessary
