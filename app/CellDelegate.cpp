#include "app/CellDelegate.h"

#include <QApplication>
#include <QPainter>

namespace tessary {
namespace {

constexpr int margin = 4;
constexpr int inset = 2; // above icon and text
constexpr int contentHeight = 16;
constexpr int textAfterIcon = 24;

QPalette::ColorGroup colorGroup(QStyle::State state) {
  if (!(state & QStyle::State_Enabled)) return QPalette::Disabled;
  return state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
}

} // namespace

QRect CellDelegate::textRect(const QRect &cell, bool hasIcon) {
  const int left = hasIcon ? textAfterIcon : margin;
  return {cell.left() + left, cell.top() + inset, cell.width() - left - margin, contentHeight};
}

void CellDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const {
  QStyleOptionViewItem cell(option);
  initStyleOption(&cell, index);
  const QString text = std::exchange(cell.text, QString());
  const QIcon icon = std::exchange(cell.icon, QIcon());
  const QStyle *style = cell.widget ? cell.widget->style() : QApplication::style();
  style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget); // background and focus frame

  const bool selected = cell.state & QStyle::State_Selected;
  if (!icon.isNull())
    icon.paint(painter, cell.rect.left() + margin, cell.rect.top() + inset, contentHeight, contentHeight,
               Qt::AlignCenter, selected ? QIcon::Selected : QIcon::Normal);
  const QRect area = textRect(cell.rect, !icon.isNull());
  painter->save();
  painter->setFont(cell.font);
  painter->setPen(
      cell.palette.color(colorGroup(cell.state), selected ? QPalette::HighlightedText : QPalette::Text));
  painter->drawText(area, Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter | Qt::TextSingleLine,
                    cell.fontMetrics.elidedText(text, Qt::ElideRight, area.width()));
  painter->restore();
}

QSize CellDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const {
  const bool hasIcon = !index.data(Qt::DecorationRole).isNull();
  const int left = hasIcon ? textAfterIcon : margin;
  return {left + option.fontMetrics.horizontalAdvance(index.data().toString()) + margin, kRowHeight};
}

} // namespace tessary
