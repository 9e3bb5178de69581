#include "app/WorkQuestions.h"

namespace tessary {
namespace {

/// `what` the user wants to do: "Close" or "Quit".
std::unique_ptr<Alert> makeQuestion(const QString &what, const QString &message, const QString &explanation,
                                    QWidget *parent) {
  const QString stop = QStringLiteral("Stop and %1").arg(what);
  const QString stopping =
      QStringLiteral(" “%1” ends it after the item in progress: what was done stays, the rest is not done.");
  auto question = std::make_unique<Alert>(message, explanation + stopping.arg(stop), parent);
  question->addChoice(what, Alert::AcceptRole);
  question->addChoice(stop, Alert::AcceptRole);
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

WorkAnswer workAnswer(int button) {
  return button < 0 ? WorkAnswer::cancel : static_cast<WorkAnswer>(button);
}

std::unique_ptr<Alert> closingQuestion(const QString &image, QWidget *parent) {
  return makeQuestion(QStringLiteral("Close"), QStringLiteral("Close the window while work is running?"),
                      unfinished({image}) +
                          QStringLiteral(" “Close” lets it go on without the window; nothing "
                                         "more is told of it."),
                      parent);
}

std::unique_ptr<Alert> quittingQuestion(const QStringList &images, QWidget *parent) {
  return makeQuestion(QStringLiteral("Quit"), QStringLiteral("Quit while work is running?"),
                      unfinished(images) +
                          QStringLiteral(" “Quit” lets it go on; Tessary ends when all of it is done."),
                      parent);
}

} // namespace tessary
