#include "app/Dialogs.h"

#include "app/Alert.h"
#include "app/Beeper.h"
#include "app/DisplayText.h"
#include "app/FailuresAlert.h"
#include "app/NameAlert.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QPushButton>
#include <utility>

namespace tessary {

Dialogs::Dialogs(QWidget *window, const ImageWork *image, QObject *parent)
    : QObject(parent), window_(window), image_(image) {}

void Dialogs::quit() {
  quitting_ = true;
  for (QDialog *dialog : window_->findChildren<QDialog *>())
    if (dialog->isVisible()) dialog->reject();
}

QDialog *Dialogs::thatIsUp() const {
  if (sheet_ && sheet_->isVisible()) return sheet_;
  auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
  if (!dialog || dialog->windowModality() == Qt::ApplicationModal) return dialog;
  // A sheet holds up its own window alone.
  for (const QWidget *below = dialog; below; below = below->parentWidget())
    if (below == window_) return dialog;
  return nullptr;
}

void Dialogs::whenNoneIsUp(std::function<void()> then) {
  if (quitting_) return;
  const QDialog *dialog = thatIsUp();
  if (!dialog) return then();
  connect(
      dialog, &QDialog::finished, this,
      [this, filesystem = image_->filesystem(), then = std::move(then)] {
        if (filesystem == image_->filesystem()) whenNoneIsUp(then);
      },
      Qt::QueuedConnection);
}

// ---- Sheets

void Dialogs::begin(std::unique_ptr<QDialog> dialog) {
  if (thatIsUp()) return beep();
  sheet_ = dialog.release();
  sheet_->setAttribute(Qt::WA_DeleteOnClose);
  sheet_->setWindowFlags((sheet_->windowFlags() & ~Qt::WindowType_Mask) | Qt::Sheet);
  sheet_->open();
}

void Dialogs::ask(std::unique_ptr<Alert> question, std::function<void()> confirmed,
                  std::function<void()> declined) {
  choose(std::move(question), [confirmed = std::move(confirmed), declined = std::move(declined)](int button) {
    if (button == 0)
      confirmed();
    else if (declined)
      declined();
  });
}

void Dialogs::choose(std::unique_ptr<Alert> question, std::function<void(int)> answered, About about) {
  connect(question.get(), &QDialog::finished, this,
          [this, alert = question.get(), filesystem = image_->filesystem(), about,
           answered = std::move(answered)] {
            if (about == About::window || filesystem == image_->filesystem()) answered(alert->chosen());
          });
  begin(std::move(question));
}

void Dialogs::askForName(std::unique_ptr<NameAlert> question,
                         std::function<void(const QString &)> confirmed) {
  connect(question.get(), &NameAlert::confirmed, this,
          [this, alert = question.get(), filesystem = image_->filesystem(),
           confirmed = std::move(confirmed)](const QString &name) {
            if (filesystem != image_->filesystem() || name.isEmpty()) return alert->accept();
            const bool isNew = name != alert->firstName(); // one that is there already may be longer
            if (isNew && name.size() > NameAlert::kRoomInEntry)
              return tell(engineError(EngineError::badName));
            alert->hide();
            confirmed(name);
          });
  begin(std::move(question));
}

void Dialogs::askAgain(const QPointer<NameAlert> &question) {
  if (!question) return;
  const bool isOfUse = !quitting_ && !thatIsUp() && !image_->filesystem()->isReadOnly();
  if (!isOfUse) return question->accept();
  sheet_ = question;
  question->open();
}

void Dialogs::chooseFolder(const QString &message, const QString &prompt,
                           std::function<void(const std::string &folder)> chosen) {
  auto chooser = std::make_unique<QFileDialog>(window_, message);
  chooser->setFileMode(QFileDialog::Directory);
  chooser->setOption(QFileDialog::ShowDirsOnly);
  chooser->setLabelText(QFileDialog::Accept, prompt);
  connect(chooser.get(), &QFileDialog::fileSelected, this,
          [this, filesystem = image_->filesystem(), chosen = std::move(chosen)](const QString &path) {
            if (filesystem == image_->filesystem()) chosen(QFile::encodeName(path).toStdString());
          });
  begin(std::move(chooser));
}

// ---- Alerts

void Dialogs::tell(const QString &message, const QString &informativeText) const {
  if (quitting_) return;
  QDialog *above = thatIsUp(); // an answer that could not be taken leaves its question open
  Alert(message, informativeText, above ? above : window_).exec();
}

void Dialogs::tell(const EMU3Error &error) const {
  tell(displayText(error.messageWithReason()));
}

void Dialogs::tellFailures(const QString &message, const std::vector<ItemFailure> &failures) const {
  if (quitting_ || failures.empty()) return;
  QDialog *above = thatIsUp();
  FailuresAlert(message, failures, above ? above : window_).exec();
}

} // namespace tessary
