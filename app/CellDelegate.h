#pragma once

#include <QStyledItemDelegate>

namespace tessary {

/// Height of a row of the folder outline and of the file table, and the size of its text, at the system's
/// usual text size.
inline constexpr int kRowHeight = 20;
inline constexpr int kRowTextSize = 12;

/// Draws a cell: the item's icon, if it has one, 16 × 16 at x 4, and its text, 16 high, at x 24 or, without
/// an icon, at x 4; larger where the system's texts are. Text is plain, and cut with an ellipsis where it
/// does not fit: a tool tip then shows it whole. What has the keyboard is the row, which the view marks.
class CellDelegate final : public QStyledItemDelegate {
  Q_OBJECT

public:
  using QStyledItemDelegate::QStyledItemDelegate;

  /// Where the text of a cell of that rectangle is drawn.
  static QRect textRect(const QRect &cell, bool hasIcon);

  void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
  QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
  bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                 const QModelIndex &index) override;
};

} // namespace tessary
