#include "app/ImageCheck.h"

#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/ContentController.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/FileTable.h"
#include "app/FindingsPanel.h"
#include "app/FolderOutline.h"
#include "app/ImageWork.h"
#include "app/MainWindow.h"
#include "app/SidebarController.h"
#include "tessary/Text.h"

#include <algorithm>
#include <utility>

namespace tessary {
namespace {

QString checkedText(const std::vector<VolumeFinding> &findings) {
  if (findings.empty()) return QStringLiteral("Checked: nothing found.");
  const auto harms = std::count_if(findings.begin(), findings.end(),
                                   [](const VolumeFinding &finding) { return finding.isHarm(); });
  return QStringLiteral("Checked: %1 finding(s), %2 of harm.")
      .arg(QString::number(findings.size()), QString::number(harms));
}

/// The folder to be shown for it; null where there is none, and once its file is gone.
EMU3DirectoryPtr folderOf(const VolumeFinding &finding) {
  return finding.file ? finding.file->folder() : finding.folder;
}

} // namespace

ImageCheck::ImageCheck(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

void ImageCheck::check() {
  if (!tools_.image->filesystem() || checking_) return beep();
  checking_ = true;
  emit changed();
  tools_.browser->setStatus(QStringLiteral("Checking…"));
  tools_.image->runLongWork(
      [](EMU3Filesystem &filesystem, WorkProgress &progress) {
        progress.beginPart(QStringLiteral("Checking"));
        progress.setItem(lastPathComponent(filesystem.imageURL()));
        CheckWatcher watcher;
        watcher.progressed = [&](std::uint64_t done, std::uint64_t all) { progress.setBytes(done, all); };
        watcher.isToStop = [&] { return progress.isToStop(); };
        return filesystem.check(watcher);
      },
      [this](const Findings &findings) { checked(findings); }, ImageWork::Spinning::yes);
}

void ImageCheck::imageReplaced() {
  checking_ = false;
  if (panel_) panel_->close();
  emit changed();
}

void ImageCheck::checked(const Findings &findings) {
  if (tools_.dialogs->isQuitting()) return;
  checking_ = false;
  emit changed();
  tools_.browser->setStatus(findings ? checkedText(*findings) : QStringLiteral("Stopped."));
  if (findings) show(*findings);
}

// ---- The list of findings

/// In the panel that is open already, where there is one.
void ImageCheck::show(std::vector<VolumeFinding> findings) {
  if (!panel_ || !panel_->isVisible()) {
    const QString name = displayText(lastPathComponent(tools_.image->filesystem()->imageURL()));
    panel_ = new FindingsPanel(QStringLiteral("Check of “%1”").arg(name), tools_.dialogs->window());
    panel_->setAttribute(Qt::WA_DeleteOnClose);
    panel_->setCanGoTo([this](const VolumeFinding &finding) { return canGoTo(finding); });
    panel_->setGoTo([this](const VolumeFinding &finding) { goTo(finding); });
    // Both show anew what has changed in the image.
    for (const QAbstractItemModel *shown : {static_cast<QAbstractItemModel *>(tools_.browser->sidebar()),
                                            static_cast<QAbstractItemModel *>(tools_.browser->content())})
      connect(shown, &QAbstractItemModel::modelReset, panel_, &FindingsPanel::updateGoTo);
  }
  panel_->setFindings(std::move(findings), tools_.image->filesystem()->rootDirectory());
  // What the user types into a question that is up goes on there.
  const bool asks = tools_.dialogs->thatIsUp() != nullptr;
  panel_->setAttribute(Qt::WA_ShowWithoutActivating, asks);
  panel_->show();
  if (asks) return;
  panel_->raise();
  panel_->activateWindow();
}

bool ImageCheck::canGoTo(const VolumeFinding &finding) const {
  return tools_.browser->holds(folderOf(finding));
}

void ImageCheck::goTo(const VolumeFinding &finding) {
  if (tools_.dialogs->thatIsUp()) return beep(); // it asks about what is shown now
  tools_.browser->endSearch();
  tools_.browser->showFolder(folderOf(finding));
  if (finding.file && tools_.browser->content()->selectRowsOf({finding.file}))
    tools_.browser->views().table->setFocus();
  else
    tools_.browser->views().outline->setFocus();
  tools_.dialogs->window()->activateWindow();
}

} // namespace tessary
