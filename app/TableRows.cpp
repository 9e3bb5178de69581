#include "app/TableRows.h"

#include "app/CellDelegate.h"
#include "app/TextSize.h"

#include <QHeaderView>
#include <QTableView>

namespace tessary {

void setUpRows(QTableView *table) {
  table->setItemDelegate(new CellDelegate(table));
  table->setAlternatingRowColors(true);
  table->setEditTriggers(QTableView::NoEditTriggers);
  table->setSelectionBehavior(QTableView::SelectRows);
  table->setSelectionMode(QTableView::ExtendedSelection);
  table->setShowGrid(false);
  table->setWordWrap(false);
  table->setTabKeyNavigation(false);
  table->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  table->setVerticalScrollMode(QTableView::ScrollPerPixel);
  table->setFrameShape(QTableView::NoFrame);
  table->verticalHeader()->hide();
  table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  table->horizontalHeader()->setHighlightSections(false);
  table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

void setRowTextSize(QTableView *table) {
  setTextSize(table, kRowTextSize);
  setTextSize(table->horizontalHeader(), kRowTextSize);
  table->verticalHeader()->setMinimumSectionSize(scaled(kRowHeight));
  table->verticalHeader()->setDefaultSectionSize(scaled(kRowHeight));
}

} // namespace tessary
