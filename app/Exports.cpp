#include "app/Exports.h"

#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/Browser.h"
#include "app/Dialogs.h"
#include "app/DisplayText.h"
#include "app/ImageWork.h"
#include "tessary/ItemsOperation.h"
#include "tessary/SystemLog.h"
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

ExportJob jobFor(const EMU3FilePtr &file) {
  const std::string name = file->name();
  const auto writeAt = [file](ItemsOperation &operation, const std::string &path) {
    operation.exportFile(file, path);
  };
  return {exportedFileName(name), name, writeAt};
}

ExportJob jobFor(const EMU3FilePtr &bank, std::uint64_t index, const std::string &sampleName,
                 const std::string &label) {
  const std::string name = bank->name();
  const auto writeAt = [bank, index](ItemsOperation &operation, const std::string &path) {
    operation.exportSample(bank, index, path);
  };
  return {exportedSampleName(name, sampleName), name + "[" + label + "]", writeAt};
}

void planSamples(EMU3Filesystem &filesystem, const EMU3FilePtr &bank, ExportPlan *plan) {
  const std::string name = bank->name();
  const std::vector<BankSample> samples = filesystem.namedSamplesFromBankFile(bank);
  EMU3Error missing; // a bank without samples, or one whose list is not there
  if (samples.empty() && !filesystem.contentsOfFile(bank, &missing)) {
    plan->addFailure(name, missing);
    systemLog("Sample export failed for " + name + ": " + missing.description());
  }
  for (std::size_t i = 0; i < samples.size(); ++i)
    plan->add(jobFor(bank, i, samples[i].name, samples[i].type));
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
      QStringLiteral("Export Here"), [this, files](const std::string &folder) {
        run(
            folder,
            [files](EMU3Filesystem &, ExportPlan *plan) {
              for (const EMU3FilePtr &file : files)
                plan->add(jobFor(file));
            },
            "Export", [this](const ExportPlan::Result &result) { filesExported(result); });
      });
}

void Exports::filesExported(const ExportPlan::Result &result) {
  const std::size_t failed = result.failures.size();
  tools_.browser->setStatus(
      (failed == 0 ? QStringLiteral("Exported %1 file(s) successfully.").arg(QString::number(result.exported))
                   : QStringLiteral("Exported with %1 failure(s).").arg(QString::number(failed))) +
      skippedText(result.skipped));
  tools_.dialogs->tellFailures(
      QStringLiteral("Export Failed (%1 of %2)")
          .arg(QString::number(failed), QString::number(failed + result.exported + result.skipped)),
      result.failures);
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
      QStringLiteral("Export Samples"), [this, placed = placedFiles(banks)](const std::string &folder) {
        run(
            folder,
            [placed](EMU3Filesystem &filesystem, ExportPlan *plan) {
              for (const auto &[bank, holder] : placed)
                if (holder->containsFile(bank)) planSamples(filesystem, bank, plan);
            },
            "Sample export", [this](const ExportPlan::Result &result) { samplesExported(result); });
      });
}

void Exports::exportSamples(const EMU3FilePtr &bank, const std::vector<ListedSample> &samples,
                            std::uint32_t rate) {
  tools_.dialogs->chooseFolder(
      QStringLiteral("Export %1 sample(s) to folder").arg(QString::number(samples.size())),
      QStringLiteral("Export Here"), [this, bank, samples, rate](const std::string &folder) {
        run(
            folder,
            [bank, samples, rate](EMU3Filesystem &, ExportPlan *plan) {
              plan->setSampleRate(rate);
              for (const ListedSample &sample : samples)
                plan->add(jobFor(bank, sample.number, sample.name, sample.name));
            },
            "Sample export", [this](const ExportPlan::Result &result) { samplesExported(result); });
      });
}

void Exports::samplesExported(const ExportPlan::Result &result) {
  const QString exported = QString::number(result.exported);
  const QString failed = QString::number(result.failures.size());
  tools_.browser->setStatus(
      (result.failures.empty()
           ? QStringLiteral("Exported %1 sample(s) successfully.").arg(exported)
           : QStringLiteral("Exported %1 sample(s) with %2 failure(s).").arg(exported, failed)) +
      skippedText(result.skipped));
  tools_.dialogs->tellFailures(QStringLiteral("Sample Export Failed (%1)").arg(failed), result.failures);
}

// ---- What both do

void Exports::run(const std::string &folder, Planner planner, const std::string &what, Told told) {
  tools_.image->runOnImage(
      [folder, what, planner = std::move(planner)](EMU3Filesystem &filesystem) {
        Planned planned{std::make_shared<ExportPlan>(folder), {}};
        planner(filesystem, planned.plan.get());
        if (planned.plan->conflicts().empty()) planned.result = planned.plan->run(filesystem, what);
        return planned;
      },
      [this, what, told = std::move(told)](const Planned &planned) {
        if (planned.result) return told(*planned.result);
        askAboutConflicts(planned.plan, [this, plan = planned.plan, what, told] {
          tools_.image->runOnImage(
              [plan, what](EMU3Filesystem &filesystem) { return plan->run(filesystem, what); }, told);
        });
      });
}

/// One after another, until the user decides for all that are left.
void Exports::askAboutConflicts(const Plan &plan, std::function<void()> decided) {
  if (plan->conflicts().empty()) return decided();
  const std::size_t others = plan->conflicts().size() - 1;
  auto question =
      std::make_unique<Alert>(QStringLiteral("“%1” is already there")
                                  .arg(displayText(lastPathComponent(plan->conflicts().front().path))),
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
    constexpr OnConflict decisions[] = {OnConflict::keepBoth, OnConflict::replace, OnConflict::skip};
    do
      plan->decide(decisions[button]);
    while (forAll->isChecked() && !plan->conflicts().empty());
    askAboutConflicts(plan, decided);
  });
}

} // namespace tessary
