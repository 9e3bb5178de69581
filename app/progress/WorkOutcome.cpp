#include "app/progress/WorkOutcome.h"

namespace tessary {

QString outcomeText(const QString &done, const WorkOutcome &outcome, const QString &things) {
  const QString failures =
      outcome.failed == 0 ? QString() : QStringLiteral(" (%1 failed)").arg(QString::number(outcome.failed));
  QString count = QString::number(outcome.done);
  if (outcome.isStopped) count += QStringLiteral(" of %1").arg(QString::number(outcome.all));
  return (outcome.isStopped ? QStringLiteral("Stopped. ") : QString()) +
         QStringLiteral("%1 %2 %3%4.").arg(done, count, things, failures);
}

} // namespace tessary
