#include "app/FindingsPanel.h"

#include "app/DisplayText.h"
#include "app/FindingsModel.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>
#include <numeric>
#include <utility>

namespace tessary {
namespace {

constexpr QSize sizeWithFindings(720, 320);
constexpr QSize smallestWithFindings(420, 220);
constexpr int narrowest = 280;
constexpr int whereWidth = 160;

/// Leaves some room above and below the texts: most of them have several lines.
class RoomyDelegate final : public QStyledItemDelegate {
public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override {
    QStyleOptionViewItem cell(option);
    initStyleOption(&cell, index);
    cell.widget->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, painter, cell.widget);
    QStyleOptionViewItem inner(option);
    inner.rect.adjust(0, room, 0, -room);
    QStyledItemDelegate::paint(painter, inner, index);
  }
  QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override {
    return QStyledItemDelegate::sizeHint(option, index) + QSize(0, 2 * room);
  }

private:
  static constexpr int room = 3;
};

QString summaryText(int findings, int harms) {
  if (findings == 0) return QStringLiteral("Nothing found.");
  const QString count = QStringLiteral("%1 finding(s), ").arg(QString::number(findings));
  if (harms == 0) return count + QStringLiteral("none of harm: they cost room at most.");
  return count + QStringLiteral("%1 of harm: sounds are lost, or the next change here or in a sampler can "
                                "destroy some. The others cost room at most.")
                     .arg(QString::number(harms));
}

} // namespace

FindingsPanel::FindingsPanel(const QString &title, QWidget *parent)
    : QDialog(parent), model_(new FindingsModel(this)), summary_(new QLabel), table_(new QTableView) {
  setWindowTitle(titleText(title));
  summary_->setObjectName(QStringLiteral("Summary"));
  summary_->setTextFormat(Qt::PlainText);
  summary_->setWordWrap(true);
  buildTable();
  goToButton_ = addButton(QStringLiteral("Go To"), &FindingsPanel::goToSelected);
  copyButton_ = addButton(QStringLiteral("Copy"), &FindingsPanel::copySelected);
  closeButton_ = addButton(QStringLiteral("Close"), &FindingsPanel::reject);
  new QShortcut(QKeySequence::Copy, this, this, &FindingsPanel::copySelected);
  layOut();
}

void FindingsPanel::buildTable() {
  table_->setObjectName(QStringLiteral("Findings"));
  table_->setAccessibleName(QStringLiteral("Findings"));
  QFont cellFont = table_->font();
  cellFont.setPixelSize(12);
  table_->setFont(cellFont);
  table_->setItemDelegate(new RoomyDelegate(table_));
  table_->setModel(model_);
  table_->setAlternatingRowColors(true);
  table_->setEditTriggers(QTableView::NoEditTriggers);
  table_->setSelectionBehavior(QTableView::SelectRows);
  table_->setSelectionMode(QTableView::ExtendedSelection);
  table_->setShowGrid(false);
  table_->setTabKeyNavigation(false);
  table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  table_->setVerticalScrollMode(QTableView::ScrollPerPixel);
  table_->verticalHeader()->hide();
  QHeaderView *header = table_->horizontalHeader();
  header->setHighlightSections(false);
  header->setSectionsClickable(false);
  header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  header->setSectionResizeMode(FindingsModel::kKind, QHeaderView::ResizeToContents);
  header->setSectionResizeMode(FindingsModel::kWhat, QHeaderView::Stretch);
  header->resizeSection(FindingsModel::kWhere, whereWidth);
  // A text is as many lines high as its column's width makes it.
  fitRows_.setSingleShot(true);
  fitRows_.callOnTimeout(table_, &QTableView::resizeRowsToContents);
  connect(header, &QHeaderView::sectionResized, &fitRows_, qOverload<>(&QTimer::start));
  connect(model_, &QAbstractItemModel::modelReset, &fitRows_, qOverload<>(&QTimer::start));
  connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &FindingsPanel::updateGoTo);
  connect(table_, &QTableView::doubleClicked, this, &FindingsPanel::goToSelected);
}

QPushButton *FindingsPanel::addButton(const QString &text, void (FindingsPanel::*pressed)()) {
  auto *button = new QPushButton(text);
  connect(button, &QPushButton::clicked, this, pressed);
  return button;
}

void FindingsPanel::layOut() {
  auto *buttons = new QHBoxLayout;
  buttons->addStretch();
  for (QPushButton *button : {goToButton_, copyButton_, closeButton_})
    buttons->addWidget(button);
  auto *layout = new QVBoxLayout(this);
  layout->addWidget(summary_);
  layout->addWidget(table_, 1);
  layout->addLayout(buttons);
}

void FindingsPanel::setFindings(std::vector<VolumeFinding> findings, const EMU3DirectoryPtr &root) {
  const bool first = summary_->text().isEmpty();
  const bool lists = !findings.empty();
  const bool listed = model_->rowCount() > 0;
  model_->setFindings(std::move(findings), root);
  summary_->setText(summaryText(model_->rowCount(), model_->harms()));
  for (QWidget *part : {static_cast<QWidget *>(table_), static_cast<QWidget *>(goToButton_),
                        static_cast<QWidget *>(copyButton_)})
    part->setVisible(lists);
  (lists ? goToButton_ : closeButton_)->setDefault(true);
  (lists ? static_cast<QWidget *>(table_) : closeButton_)->setFocus();
  updateGoTo();
  if (first || lists != listed) fitToContents();
}

void FindingsPanel::fitToContents() {
  if (model_->rowCount() == 0) {
    setMinimumSize(narrowest, 0);
    return adjustSize();
  }
  const QRect window = parentWidget()->frameGeometry() & parentWidget()->screen()->availableGeometry();
  setMinimumSize(smallestWithFindings.boundedTo(window.size()));
  resize(sizeWithFindings.boundedTo(window.size()));
  // Folders and first files stay in sight.
  constexpr QPoint margin(20, 60);
  const QPoint corner = window.bottomRight() - margin - rect().bottomRight();
  move(std::max(corner.x(), window.left()), std::max(corner.y(), window.top()));
}

std::vector<int> FindingsPanel::selectedRows() const {
  std::vector<int> rows;
  for (int row = 0; row < model_->rowCount(); ++row)
    if (table_->selectionModel()->isRowSelected(row)) rows.push_back(row);
  return rows;
}

void FindingsPanel::updateGoTo() {
  const std::vector<int> rows = selectedRows();
  goToButton_->setEnabled(rows.size() == 1 && canGoTo_ && canGoTo_(model_->finding(rows.front())));
}

void FindingsPanel::goToSelected() {
  updateGoTo();
  if (goToButton_->isEnabled()) goTo_(model_->finding(selectedRows().front()));
}

void FindingsPanel::copySelected() {
  std::vector<int> rows = selectedRows();
  if (rows.empty()) {
    rows.resize(static_cast<std::size_t>(model_->rowCount()));
    std::iota(rows.begin(), rows.end(), 0);
  }
  QStringList lines;
  for (const int row : rows)
    lines += model_->line(row);
  if (!lines.isEmpty()) QGuiApplication::clipboard()->setText(lines.join(QLatin1Char('\n')));
}

} // namespace tessary
