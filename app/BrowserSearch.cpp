#include "app/Browser.h"
#include "app/ContentController.h"
#include "app/FileTable.h"
#include "app/FindBar.h"

namespace tessary {

void Browser::find(bool everywhere) {
  views_.findBar->open(everywhere);
}

void Browser::search() {
  content_->setSearch(views_.findBar->search());
  tellFound();
  readMissingDetails();
  emit changed();
}

void Browser::endSearch() {
  if (views_.findBar->isHidden() && content_->search() == FileSearch()) return;
  const std::vector<EMU3FilePtr> selected = selectedFiles();
  const bool hadKeyboard = views_.findBar->hasKeyboard();
  views_.findBar->end();
  content_->setSearch({});
  content_->selectRowsOf(selected); // those of the current folder
  if (hadKeyboard) views_.table->setFocus();
  emit changed();
}

void Browser::goToFound() {
  if (content_->rowCount() == 0) return;
  const QModelIndex current = views_.table->currentIndex();
  const std::vector<EMU3FilePtr> shown = content_->displayedFiles();
  const EMU3FilePtr &file = shown[static_cast<std::size_t>(current.isValid() ? current.row() : 0)];
  if (content_->search().everywhere) return goTo(file);
  content_->selectRowsOf({file});
  views_.table->setFocus();
}

void Browser::tellFound() {
  views_.findBar->tellFound(static_cast<std::size_t>(content_->rowCount()), content_->searchedFiles());
}

/// Reads the details of banks in folders that were not shown yet.
void Browser::readMissingDetails() {
  if (!content_->search().everywhere || !image_->filesystem()) return;
  std::vector<EMU3FilePtr> unread;
  for (const EMU3FilePtr &file : content_->displayedFiles())
    if (file->fileType() == kFileTypeBank && !file->bankName()) unread.push_back(file);
  if (unread.empty()) return;
  image_->readFromImage([unread](EMU3Filesystem &filesystem) { readDetailsOf(filesystem, unread); },
                        [this] {
                          if (content_->search().everywhere) content_->refresh();
                        });
}

} // namespace tessary
