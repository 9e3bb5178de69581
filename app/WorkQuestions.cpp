#include "app/WorkQuestions.h"

namespace tessary {
namespace {

std::unique_ptr<Alert> makeQuestion(const QString &message, const QString &explanation, const QString &agree,
                                    QWidget *parent) {
  auto question = std::make_unique<Alert>(message, explanation, parent);
  question->addChoice(agree, Alert::AcceptRole);
  question->addChoice(QStringLiteral("Cancel"), Alert::RejectRole);
  return question;
}

QString unfinished(const QStringList &images) {
  const QString name = images.first().isEmpty() ? QStringLiteral("an image that was unmounted")
                                                : QStringLiteral("“%1”").arg(images.first());
  return QStringLiteral("Work on %1 is not finished.")
      .arg(images.size() == 1 ? name : QStringLiteral("%1 images").arg(QString::number(images.size())));
}

} // namespace

std::unique_ptr<Alert> closingQuestion(const QString &image, QWidget *parent) {
  return makeQuestion(QStringLiteral("Close the window while work is running?"),
                      unfinished({image}) +
                          QStringLiteral(" It goes on without the window, and nothing more is told of it."),
                      QStringLiteral("Close"), parent);
}

std::unique_ptr<Alert> quittingQuestion(const QStringList &images, QWidget *parent) {
  return makeQuestion(QStringLiteral("Quit while work is running?"),
                      unfinished(images) + QStringLiteral(" Tessary ends when all of it is done."),
                      QStringLiteral("Quit"), parent);
}

} // namespace tessary
