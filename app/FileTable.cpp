#include "app/FileTable.h"

#include "app/CellDelegate.h"
#include "app/DisplayText.h"
#include "app/DragPicture.h"
#include "app/FileURLs.h"
#include "filesystem/ExportNames.h"

#include <QDrag>
#include <QHeaderView>
#include <QMimeData>
#include <QMouseEvent>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessary {
namespace {

/// Of the files that come along: a selected row whose export fails does not.
QStringList exportedNames(const QMimeData &files) {
  QStringList names;
  for (const std::string &path : filePaths(files))
    names += displayText(nameOfExportedFile(path));
  return names;
}

} // namespace

FileTable::FileTable(QWidget *parent) : FileDropView(parent) {
  QFont cellFont = font();
  cellFont.setPixelSize(12);
  setFont(cellFont);
  setItemDelegate(new CellDelegate(this));
  setAlternatingRowColors(true);
  setEditTriggers(NoEditTriggers);
  setSelectionBehavior(SelectRows);
  setSelectionMode(ExtendedSelection);
  setShowGrid(false);
  setWordWrap(false);
  setTabKeyNavigation(false);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollMode(ScrollPerPixel);
  setFrameShape(NoFrame);
  verticalHeader()->hide();
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  verticalHeader()->setMinimumSectionSize(kRowHeight);
  verticalHeader()->setDefaultSectionSize(kRowHeight);
  horizontalHeader()->setHighlightSections(false);
  horizontalHeader()->setSectionsClickable(false);
  horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  connect(horizontalHeader(), &QHeaderView::sectionResized, this,
          [this](int column, int, int width) { columnResizedByUser(column, width); });
}

void FileTable::setColumnWidths(const std::vector<int> &widths, const std::vector<int> &minimums) {
  widths_.assign(widths.begin(), widths.end());
  minimums_ = minimums;
  sharedWidth_ = std::accumulate(widths_.begin(), widths_.end(), 0.0);
  horizontalHeader()->setMinimumSectionSize(*std::min_element(minimums.begin(), minimums.end()));
  applyWidths();
}

void FileTable::startDrag(Qt::DropActions supportedActions) {
  QMimeData *files = model()->mimeData(selectedIndexes());
  if (!files) return;
  auto *drag = new QDrag(this);
  drag->setMimeData(files);
  drag->setPixmap(dragPicture(exportedNames(*files), *this));
  drag->setHotSpot(kDragPictureHotSpot);
  drag->exec(supportedActions, Qt::CopyAction);
}

void FileTable::mouseDoubleClickEvent(QMouseEvent *event) {
  if (event->button() == Qt::LeftButton) QTableView::mouseDoubleClickEvent(event);
}

void FileTable::resizeEvent(QResizeEvent *event) {
  QTableView::resizeEvent(event);
  if (!widths_.empty()) shareWidthChange(viewport()->width() - sharedWidth_);
}

void FileTable::shareWidthChange(double change) {
  std::vector<std::size_t> sharing(widths_.size());
  std::iota(sharing.begin(), sharing.end(), std::size_t{0});
  double left = change;
  // What a column at its minimum cannot give up is shared by the others in the next round.
  while (!sharing.empty() && std::abs(left) > 0.001) {
    const double share = left / static_cast<double>(sharing.size());
    std::vector<std::size_t> stillSharing;
    for (const std::size_t column : sharing) {
      const double width = std::max<double>(minimums_[column], widths_[column] + share);
      left -= width - widths_[column];
      widths_[column] = width;
      if (width > minimums_[column]) stillSharing.push_back(column);
    }
    sharing = std::move(stillSharing);
  }
  sharedWidth_ += change - left;
  applyWidths();
}

void FileTable::applyWidths() {
  applyingWidths_ = true;
  double edge = 0;
  int drawnEdge = 0;
  for (std::size_t column = 0; column < widths_.size(); ++column) {
    edge += widths_[column];
    const int nextEdge = static_cast<int>(std::lround(edge));
    setColumnWidth(static_cast<int>(column), nextEdge - drawnEdge);
    drawnEdge = nextEdge;
  }
  applyingWidths_ = false;
}

void FileTable::columnResizedByUser(int column, int width) {
  const auto at = static_cast<std::size_t>(column);
  if (applyingWidths_ || at >= widths_.size()) return;
  widths_[at] = std::max(width, minimums_[at]);
  if (width < minimums_[at]) setColumnWidth(column, minimums_[at]);
}

} // namespace tessary
