#include "app/Beeper.h"
#include "app/MainQueue.h"
#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "filesystem/ItemsOperation.h"
#include "filesystem/SystemLog.h"

#include <QFile>
#include <QFileDialog>
#include <algorithm>
#include <iterator>
#include <utility>

namespace tessary {
namespace {

struct SampleCounts {
  std::size_t exported = 0;
  std::size_t failed = 0;
};

std::vector<EMU3FilePtr> banksAmong(const std::vector<EMU3FilePtr> &files) {
  std::vector<EMU3FilePtr> banks;
  std::copy_if(files.begin(), files.end(), std::back_inserter(banks),
               [](const EMU3FilePtr &file) { return file->fileType() == kFileTypeBank; });
  return banks;
}

void logFailure(const std::string &sample, const EMU3Error &error, SampleCounts *counts) {
  ++counts->failed;
  systemLog("Sample export failed for " + sample + ": " + error.description());
}

/// Adds the bank's samples to the operation, and what each is called in the log to `logged`.
void addSamplesOf(EMU3Filesystem &filesystem, const EMU3FilePtr &bank, const std::string &folder,
                  ItemsOperation *operation, std::vector<std::string> *logged, SampleCounts *counts) {
  const std::string name = bank->name();
  const std::vector<BankSample> samples = filesystem.namedSamplesFromBankFile(bank);
  EMU3Error missing; // a bank without samples, or one whose list is not there
  if (samples.empty() && !filesystem.contentsOfFile(bank, &missing)) logFailure(name, missing, counts);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    operation->exportSampleInto(bank, i, samples[i].name, folder);
    logged->push_back(name + "[" + samples[i].type + "]");
  }
}

SampleCounts exportSamplesOf(EMU3Filesystem &filesystem, const std::vector<EMU3FilePtr> &banks,
                             const EMU3DirectoryPtr &directory, const std::string &folder) {
  SampleCounts counts;
  const auto operation = filesystem.manyItems();
  std::vector<std::string> logged;
  for (const EMU3FilePtr &bank : banks)
    // What the entry of a bank deleted meanwhile led to may be another file's by now.
    if (directory->containsFile(bank))
      addSamplesOf(filesystem, bank, folder, operation.get(), &logged, &counts);
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    if (end.error)
      logFailure(logged[end.item], *end.error, &counts);
    else
      ++counts.exported;
  };
  operation->run(watcher);
  return counts;
}

} // namespace

void MainWindowController::_chooseFolder(const QString &message, const QString &prompt,
                                         std::function<void(const std::string &folder)> chosen) {
  auto chooser = std::make_unique<QFileDialog>(window_.get(), message);
  chooser->setFileMode(QFileDialog::Directory);
  chooser->setOption(QFileDialog::ShowDirsOnly);
  chooser->setLabelText(QFileDialog::Accept, prompt);
  connect(chooser.get(), &QFileDialog::fileSelected, this,
          [this, filesystem = filesystem_, chosen = std::move(chosen)](const QString &path) {
            if (filesystem == filesystem_) chosen(QFile::encodeName(path).toStdString());
          });
  _beginSheet(std::move(chooser));
}

// ---- Files

void MainWindowController::_exportSelected() {
  const std::vector<EMU3FilePtr> files = _selectedFiles();
  if (files.empty()) return beep();
  _chooseFolder(QStringLiteral("Export %1 file(s) to folder").arg(QString::number(files.size())),
                QStringLiteral("Export Here"),
                [this, files](const std::string &folder) { _exportFiles(files, folder); });
}

void MainWindowController::_exportFiles(const std::vector<EMU3FilePtr> &files, const std::string &folder) {
  filesystem_->ioQueue().async([controller = QPointer(this), filesystem = filesystem_, files, folder] {
    std::size_t failures = 0;
    const auto operation = filesystem->manyItems();
    for (const EMU3FilePtr &file : files)
      operation->exportFileInto(file, folder);
    ItemsWatcher watcher;
    watcher.ended = [&](const ItemEnd &end) {
      if (!end.error) return;
      ++failures;
      systemLog("Export failed for " + files[end.item]->name() + ": " + end.error->description());
    };
    operation->run(watcher);
    onMainQueue([controller, filesystem, files, failures] {
      if (controller) controller->_filesExported(filesystem, files.size(), failures);
    });
  });
}

void MainWindowController::_filesExported(const EMU3FilesystemPtr &filesystem, std::size_t chosen,
                                          std::size_t failed) {
  if (filesystem != filesystem_) return;
  if (failed == 0)
    _setStatus(QStringLiteral("Exported %1 file(s) successfully.").arg(QString::number(chosen)));
  else
    _setStatus(QStringLiteral("Exported with %1 failure(s).").arg(QString::number(failed)));
}

// ---- Samples

void MainWindowController::_exportSamples() {
  const std::vector<EMU3FilePtr> files = _selectedFiles();
  if (files.empty()) return beep();
  const std::vector<EMU3FilePtr> banks = banksAmong(files);
  if (banks.empty())
    return _runAlert(QStringLiteral("No Banks Selected"),
                     QStringLiteral("Please select one or more bank files to export samples from."));
  _chooseFolder(QStringLiteral("Export samples from %1 bank(s)").arg(QString::number(banks.size())),
                QStringLiteral("Export Samples"),
                [this, banks, directory = currentDirectory_](const std::string &folder) {
                  _exportSamplesOfBanks(banks, directory, folder);
                });
}

void MainWindowController::_exportSamplesOfBanks(const std::vector<EMU3FilePtr> &banks,
                                                 const EMU3DirectoryPtr &directory,
                                                 const std::string &folder) {
  filesystem_->ioQueue().async(
      [controller = QPointer(this), filesystem = filesystem_, banks, directory, folder] {
        const SampleCounts counts = exportSamplesOf(*filesystem, banks, directory, folder);
        onMainQueue([controller, filesystem, counts] {
          if (controller) controller->_samplesExported(filesystem, counts.exported, counts.failed);
        });
      });
}

void MainWindowController::_samplesExported(const EMU3FilesystemPtr &filesystem, std::size_t exported,
                                            std::size_t failed) {
  if (filesystem != filesystem_) return;
  if (failed == 0)
    _setStatus(QStringLiteral("Exported %1 sample(s) successfully.").arg(QString::number(exported)));
  else
    _setStatus(QStringLiteral("Exported %1 sample(s) with %2 failure(s).")
                   .arg(QString::number(exported), QString::number(failed)));
}

} // namespace tessary
