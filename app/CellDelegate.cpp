#include "app/CellDelegate.h"

#include "app/TextSize.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <utility>

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
  const int left = scaled(hasIcon ? textAfterIcon : margin);
  return {cell.left() + left, cell.top() + scaled(inset), cell.width() - left - scaled(margin),
          scaled(contentHeight)};
}

void CellDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const {
  QStyleOptionViewItem cell(option);
  initStyleOption(&cell, index);
  cell.state.setFlag(QStyle::State_HasFocus, false);
  const QString text = std::exchange(cell.text, QString());
  const QIcon icon = std::exchange(cell.icon, QIcon());
  const QStyle *style = cell.widget ? cell.widget->style() : QApplication::style();
  style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget); // background

  const bool selected = cell.state & QStyle::State_Selected;
  const int iconSize = scaled(contentHeight);
  if (!icon.isNull())
    icon.paint(painter, cell.rect.left() + scaled(margin), cell.rect.top() + scaled(inset), iconSize,
               iconSize, Qt::AlignCenter, selected ? QIcon::Selected : QIcon::Normal);
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
  const int left = scaled(hasIcon ? textAfterIcon : margin);
  return {left + option.fontMetrics.horizontalAdvance(index.data().toString()) + scaled(margin),
          scaled(kRowHeight)};
}

bool CellDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                             const QModelIndex &index) {
  if (event->type() != QEvent::ToolTip) return QStyledItemDelegate::helpEvent(event, view, option, index);
  const QString text = index.data().toString();
  const int room = textRect(option.rect, !index.data(Qt::DecorationRole).isNull()).width();
  const bool isCut = view->fontMetrics().horizontalAdvance(text) > room;
  QToolTip::showText(event->globalPos(),
                     isCut ? QStringLiteral("<qt>%1</qt>").arg(text.toHtmlEscaped()) : QString(), view);
  return true;
}

} // namespace tessary
