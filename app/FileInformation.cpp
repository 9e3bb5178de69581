#include "app/Alert.h"
#include "app/DisplayText.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "banks/BankAnalysis.h"

#include <QPushButton>
#include <utility>

namespace tessary {
namespace {

QString bankInformation(const EMU3File &file) {
  const BankDetails details = file.bankDetails();
  const char *format = bankFormatName(details.bankFormat);
  return QStringLiteral("Name:    %1\nFormat:  %2\nSize:    %3\nPresets: %4\nSamples: %5")
      .arg(displayText(details.bankName.value_or(file.name())),
           format ? QString::fromUtf8(format) : QStringLiteral("Unknown"),
           QString::fromStdString(file.fileSizeString()), QString::number(details.presetCount),
           QString::number(details.sampleCount));
}

QString fileInformation(const EMU3File &file) {
  if (file.fileType() == kFileTypeBank) return bankInformation(file);
  return QStringLiteral("Name: %1\nType: %2\nSize: %3")
      .arg(displayText(file.name()), QString::fromStdString(file.fileTypeString()),
           QString::fromStdString(file.fileSizeString()));
}

} // namespace

void MainWindowController::_tableDoubleClick() {
  const std::vector<EMU3FilePtr> files = _selectedFiles();
  if (files.size() != 1) return;
  const EMU3FilePtr &file = files.front();
  filesystem_->populateBankMetadata(file);
  const std::string name = file->name();
  auto alert = std::make_unique<Alert>(name.empty() ? QStringLiteral("File Info") : displayText(name),
                                       fileInformation(*file), window_.get());
  alert->setEscapeButton(alert->addChoice(QStringLiteral("OK"), Alert::AcceptRole));
  const QPushButton *exportChoice = alert->addChoice(QStringLiteral("Export…"), Alert::ActionRole);
  connect(alert.get(), &QDialog::finished, this,
          [this, answer = alert.get(), exportChoice, filesystem = filesystem_] {
            if (answer->clickedButton() == exportChoice && filesystem == filesystem_) _exportSelected();
          });
  _beginSheet(std::move(alert));
}

} // namespace tessary
