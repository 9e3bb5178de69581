#include "app/Beeper.h"
#include "app/ContentController.h"
#include "app/DisplayText.h"
#include "app/FindingsPanel.h"
#include "app/MainQueue.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"
#include "filesystem/Text.h"

#include <QTableView>
#include <QTreeView>
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

void MainWindowController::_checkImage() {
  if (!filesystem_ || checking_) return beep();
  checking_ = true;
  _validateItems();
  _setStatus(QStringLiteral("Checking…"));
  spinner_->start();
  filesystem_->ioQueue().async([controller = QPointer(this), filesystem = filesystem_] {
    const std::vector<VolumeFinding> findings = filesystem->check();
    onMainQueue([controller, filesystem, findings] {
      if (controller) controller->_imageChecked(filesystem, findings);
    });
  });
}

void MainWindowController::_imageChecked(const EMU3FilesystemPtr &filesystem,
                                         std::vector<VolumeFinding> findings) {
  spinner_->stop();
  if (quitting_ || filesystem != filesystem_) return;
  checking_ = false;
  _validateItems();
  _setStatus(checkedText(findings));
  _showFindings(std::move(findings));
}

// ---- The list of findings

/// In the panel that is open already, where there is one.
void MainWindowController::_showFindings(std::vector<VolumeFinding> findings) {
  if (!findings_ || !findings_->isVisible()) {
    const QString name = displayText(lastPathComponent(filesystem_->imageURL()));
    findings_ = new FindingsPanel(QStringLiteral("Check of “%1”").arg(name), window_.get());
    findings_->setAttribute(Qt::WA_DeleteOnClose);
    findings_->setCanGoTo([this](const VolumeFinding &finding) { return _canGoTo(finding); });
    findings_->setGoTo([this](const VolumeFinding &finding) { _goTo(finding); });
    // Both show anew what has changed in the image.
    for (const QAbstractItemModel *shown :
         {static_cast<QAbstractItemModel *>(sidebarCtl_), static_cast<QAbstractItemModel *>(contentCtl_)})
      connect(shown, &QAbstractItemModel::modelReset, findings_, &FindingsPanel::updateGoTo);
  }
  findings_->setFindings(std::move(findings), filesystem_->rootDirectory());
  // What the user types into a question that is up goes on there.
  const bool asks = _dialogThatIsUp() != nullptr;
  findings_->setAttribute(Qt::WA_ShowWithoutActivating, asks);
  findings_->show();
  if (asks) return;
  findings_->raise();
  findings_->activateWindow();
}

bool MainWindowController::_canGoTo(const VolumeFinding &finding) const {
  return _holdsDirectory(folderOf(finding));
}

void MainWindowController::_goTo(const VolumeFinding &finding) {
  if (_dialogThatIsUp()) return beep(); // it asks about what is shown now
  _revealDirectory(folderOf(finding));
  if (finding.file && contentCtl_->selectRowOf(finding.file))
    tableView_->setFocus();
  else
    outlineView_->setFocus();
  window_->activateWindow();
}

void MainWindowController::_revealDirectory(const EMU3DirectoryPtr &directory) {
  if (directory == filesystem_->rootDirectory())
    outlineView_->selectionModel()->clear(); // the root has no row
  else
    sidebarCtl_->revealRowOf(directory);
  if (currentDirectory_ != directory) _selectDirectory(directory);
}

} // namespace tessary
