#include "app/FailuresAlert.h"

#include "app/DisplayText.h"
#include "app/TextSize.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <algorithm>

namespace tessary {
namespace {

constexpr int width = 420;
constexpr int nameWidth = 130;
constexpr int mostRowsInSight = 8;

QTableWidgetItem *cell(const QString &text) {
  auto *item = new QTableWidgetItem(text);
  item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
  return item;
}

std::unique_ptr<QTableWidget> makeList(const std::vector<ItemFailure> &failures) {
  auto list = std::make_unique<QTableWidget>(static_cast<int>(failures.size()), 2);
  list->setObjectName(QStringLiteral("Failures"));
  list->setAccessibleName(QStringLiteral("What failed"));
  list->setHorizontalHeaderLabels({QStringLiteral("Item"), QStringLiteral("Reason")});
  for (int row = 0; row < list->rowCount(); ++row) {
    const ItemFailure &failure = failures[static_cast<std::size_t>(row)];
    list->setItem(row, 0, cell(failure.item));
    list->setItem(row, 1, cell(failure.reason));
  }
  list->setSelectionBehavior(QTableView::SelectRows);
  list->setShowGrid(false);
  list->setAlternatingRowColors(true);
  list->setTabKeyNavigation(false);
  list->verticalHeader()->hide();
  QHeaderView *header = list->horizontalHeader();
  header->setHighlightSections(false);
  header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  list->setFixedWidth(scaled(width));
  list->ensurePolished();
  header->resizeSection(0, scaled(nameWidth));
  // A reason may take several lines: of the width that it will have.
  const bool scrolls = list->rowCount() > mostRowsInSight;
  header->resizeSection(1, scaled(width) - scaled(nameWidth) - 2 * list->frameWidth() -
                               (scrolls ? list->verticalScrollBar()->sizeHint().width() : 0));
  list->resizeRowsToContents();
  header->setSectionResizeMode(1, QHeaderView::Stretch);
  int height = header->sizeHint().height() + 2 * list->frameWidth();
  for (int row = 0; row < std::min(list->rowCount(), mostRowsInSight); ++row)
    height += list->rowHeight(row);
  list->setFixedHeight(height + 2);
  return list;
}

} // namespace

ItemFailure ItemFailure::of(const std::string &item, const EMU3Error &error) {
  return {displayText(item), displayText(error.messageWithReason())};
}

QString failuresTitle(const QString &command, std::size_t failed, std::size_t all) {
  return QStringLiteral("%1 Failed (%2 of %3)").arg(command, QString::number(failed), QString::number(all));
}

FailuresAlert::FailuresAlert(const QString &message, const std::vector<ItemFailure> &failures,
                             QWidget *parent)
    : Alert(message, {}, parent) {
  setEscapeButton(addChoice(QStringLiteral("OK"), AcceptRole));
  QStringList lines;
  for (const ItemFailure &failure : failures)
    lines += QStringLiteral("%1: %2").arg(failure.item, failure.reason);
  QPushButton *copy = addChoice(QStringLiteral("Copy"), ActionRole);
  copy->disconnect(); // the list stays up
  connect(copy, &QPushButton::clicked, this,
          [text = lines.join(QLatin1Char('\n'))] { QGuiApplication::clipboard()->setText(text); });
  setAccessory(makeList(failures));
  defaultButton()->setFocus();
}

} // namespace tessary
