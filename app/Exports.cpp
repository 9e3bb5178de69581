#include "app/Exports.h"

#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageWork.h"
#include "tessary/ItemsOperation.h"
#include "tessary/Text.h"

#include <QCheckBox>
#include <algorithm>
#include <iterator>
#include <utility>

namespace tessary {
namespace {

std::vector<EMU3FilePtr> banksAmong(const std::vector<EMU3FilePtr> &files) {
  std::vector<EMU3FilePtr> banks;
  std::copy_if(files.begin(), files.end(), std::back_inserter(banks),
               [](const EMU3FilePtr &file) { return file->fileType() == kFileTypeBank; });
  return banks;
}

void planSamples(EMU3Filesystem &filesystem, const EMU3FilePtr &bank, ExportPlan *plan) {
  const std::vector<BankSample> samples = filesystem.namedSamplesFromBankFile(bank);
  EMU3Error missing; // a bank without samples, or one whose list is not there
  if (samples.empty() && !filesystem.contentsOfFile(bank, &missing)) plan->addFailure(bank->name(), missing);
  for (std::size_t i = 0; i < samples.size(); ++i)
    plan->addSample(bank, {i, samples[i].name}, samples[i].type);
}

/// Of the root all that is in it.
void planFolder(EMU3Filesystem &filesystem, const EMU3DirectoryPtr &folder, ExportPlan *plan) {
  if (folder != filesystem.rootDirectory()) return plan->addTree(folder);
  for (const EMU3FilePtr &file : folder->allFiles())
    plan->addFile(file);
  for (const EMU3DirectoryPtr &below : folder->subdirectories())
    plan->addTree(below);
}

QString skippedText(std::size_t skipped) {
  return skipped == 0 ? QString() : QStringLiteral(" %1 skipped.").arg(QString::number(skipped));
}

} // namespace

Exports::Exports(const CommandTools &tools, QObject *parent) : QObject(parent), tools_(tools) {}

// ---- Files

void Exports::exportFiles(const std::vector<EMU3FilePtr> &files) {
  if (files.empty()) return beep();
  tools_.dialogs->chooseFolder(
      QStringLiteral("Export %1 file(s) to folder").arg(QString::number(files.size())),
      QStringLiteral("Export Here"), [this, files](const std::string &hostFolder) {
        const auto planner = [files](EMU3Filesystem &, ExportPlan *plan, const WorkProgress &) {
          for (const EMU3FilePtr &file : files)
            plan->addFile(file);
        };
        run({hostFolder, ExportWords::kFiles, planner});
      });
}

void Exports::exportFolder(const EMU3DirectoryPtr &folder) {
  if (!folder) return beep();
  tools_.dialogs->chooseFolder(
      QStringLiteral("Export folder '%1' with all that is in it").arg(displayText(folder->name())),
      QStringLiteral("Export Here"), [this, folder](const std::string &hostFolder) {
        const auto planner = [folder](EMU3Filesystem &filesystem, ExportPlan *plan, const WorkProgress &) {
          planFolder(filesystem, folder, plan);
        };
        run({hostFolder, ExportWords::kFiles, planner});
      });
}

// ---- Samples

void Exports::exportSamples(const std::vector<EMU3FilePtr> &files) {
  if (files.empty()) return beep();
  const std::vector<EMU3FilePtr> banks = banksAmong(files);
  if (banks.empty())
    return tools_.dialogs->tell(
        QStringLiteral("No Banks Selected"),
        QStringLiteral("Please select one or more bank files to export samples from."));
  tools_.dialogs->chooseFolder(
      QStringLiteral("Export samples from %1 bank(s)").arg(QString::number(banks.size())),
      QStringLiteral("Export Samples"), [this, placed = placedFiles(banks)](const std::string &hostFolder) {
        const auto planner = [placed](EMU3Filesystem &filesystem, ExportPlan *plan,
                                      const WorkProgress &progress) {
          for (const auto &[bank, holder] : placed) {
            if (progress.isToStop()) return;
            if (holder->containsFile(bank)) planSamples(filesystem, bank, plan);
          }
        };
        run({hostFolder, ExportWords::kSamples, planner});
      });
}

void Exports::exportSamples(const EMU3FilePtr &bank, const std::vector<ListedSample> &samples,
                            std::uint32_t rate) {
  tools_.dialogs->chooseFolder(
      QStringLiteral("Export %1 sample(s) to folder").arg(QString::number(samples.size())),
      QStringLiteral("Export Here"), [this, bank, samples, rate](const std::string &hostFolder) {
        const auto planner = [bank, samples, rate](EMU3Filesystem &, ExportPlan *plan, const WorkProgress &) {
          plan->setSampleRate(rate);
          for (const ListedSample &sample : samples)
            plan->addSample(bank, sample, sample.name);
        };
        run({hostFolder, ExportWords::kSamples, planner});
      });
}

// ---- What all do

void Exports::run(const Job &job) {
  tools_.image->runLongWork(
      [job](EMU3Filesystem &filesystem, WorkProgress &progress) {
        progress.beginPart(QStringLiteral("Exporting"));
        Planned planned{std::make_shared<ExportPlan>(job.hostFolder), {}};
        job.planner(filesystem, planned.plan.get(), progress);
        if (planned.plan->conflicts() == 0 || progress.isToStop())
          planned.result = planned.plan->run(filesystem, job.words.log, progress);
        return planned;
      },
      [this, words = job.words](const Planned &planned) {
        if (planned.result) return tell(words, *planned.result);
        askAboutConflicts(planned.plan, [this, words, plan = planned.plan] { write(words, plan); });
      });
}

void Exports::write(const ExportWords &words, const Plan &plan) {
  tools_.image->runLongWork(
      [words, plan](EMU3Filesystem &filesystem, WorkProgress &progress) {
        progress.beginPart(QStringLiteral("Exporting"));
        return plan->run(filesystem, words.log, progress);
      },
      [this, words](const ExportPlan::Result &result) { tell(words, result); });
}

void Exports::tell(const ExportWords &words, const ExportPlan::Result &result) {
  tools_.browser->setStatus(words.status(result.outcome) + skippedText(result.skipped));
  tools_.dialogs->tellFailures(words.failed(result), result.failures);
}

/// One after another, until the user decides for all that are left.
void Exports::askAboutConflicts(const Plan &plan, std::function<void()> decided) {
  if (plan->conflicts() == 0) return decided();
  const std::size_t others = plan->conflicts() - 1;
  auto question = std::make_unique<Alert>(
      QStringLiteral("“%1” is already there").arg(displayText(lastPathComponent(plan->conflict()))),
      QStringLiteral("In the folder “%1”. What is replaced cannot be brought back.")
          .arg(displayText(lastPathComponent(plan->folder()))),
      tools_.dialogs->window());
  question->addChoice(QStringLiteral("Keep Both"), Alert::AcceptRole);
  question->addChoice(QStringLiteral("Replace"), Alert::DestructiveRole);
  question->addChoice(QStringLiteral("Skip"), Alert::NoRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  QCheckBox *forAll =
      question->addCheckBox(QStringLiteral("Do the same with the other %1").arg(QString::number(others)));
  forAll->setVisible(others > 0);
  tools_.dialogs->choose(std::move(question), [this, plan, forAll, decided = std::move(decided)](int button) {
    if (button < 0 || button > 2) return tools_.browser->setStatus(QStringLiteral("Nothing was exported."));
    constexpr ExistingFile decisions[] = {ExistingFile::isKept, ExistingFile::isReplaced,
                                          ExistingFile::leavesOut};
    do
      plan->decide(decisions[button]);
    while (forAll->isChecked() && plan->conflicts() > 0);
    askAboutConflicts(plan, decided);
  });
}

} // namespace tessary
