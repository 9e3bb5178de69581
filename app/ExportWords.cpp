#include "app/ExportWords.h"

namespace tessary {
namespace {

QString filesStatus(const WorkOutcome &outcome) {
  if (outcome.isStopped) return outcomeText(QStringLiteral("Exported"), outcome);
  return outcome.failed == 0
             ? QStringLiteral("Exported %1 file(s) successfully.").arg(QString::number(outcome.done))
             : QStringLiteral("Exported with %1 failure(s).").arg(QString::number(outcome.failed));
}

QString samplesStatus(const WorkOutcome &outcome) {
  const QString done = QString::number(outcome.done);
  if (outcome.isStopped) return outcomeText(QStringLiteral("Exported"), outcome, QStringLiteral("sample(s)"));
  return outcome.failed == 0 ? QStringLiteral("Exported %1 sample(s) successfully.").arg(done)
                             : QStringLiteral("Exported %1 sample(s) with %2 failure(s).")
                                   .arg(done, QString::number(outcome.failed));
}

QString filesFailed(const ExportPlan::Result &result) {
  const WorkOutcome &outcome = result.outcome;
  return failuresTitle(QStringLiteral("Export"), outcome.failed,
                       outcome.failed + outcome.done + result.skipped);
}

QString samplesFailed(const ExportPlan::Result &result) {
  return QStringLiteral("Sample Export Failed (%1)").arg(QString::number(result.outcome.failed));
}

} // namespace

const ExportWords ExportWords::kFiles{"Export", filesStatus, filesFailed};
const ExportWords ExportWords::kSamples{"Sample export", samplesStatus, samplesFailed};

} // namespace tessary
