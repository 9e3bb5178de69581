#include "app/progress/WorkOutcome.h"

namespace tessary {

QString failedText(std::size_t failed) {
  return failed == 0 ? QString() : QStringLiteral(" (%1 failed)").arg(QString::number(failed));
}

QString outcomeText(const QString &done, const WorkOutcome &outcome, const QString &things) {
  QString count = QString::number(outcome.done);
  if (outcome.isStopped) count += QStringLiteral(" of %1").arg(QString::number(outcome.all));
  return (outcome.isStopped ? QStringLiteral("Stopped. ") : QString()) +
         QStringLiteral("%1 %2 %3%4.").arg(done, count, things, failedText(outcome.failed));
}

} // namespace tessary
