#pragma once

#include "app/ImageWork.h"
#include "tessary/EMU3Error.h"

#include <QDialog>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QWidget;

namespace tessary {

class Alert;
struct ItemFailure;
class NameAlert;

/// The dialogs that stand on the window: sheets that ask, one at a time, and modal alerts that tell. Main
/// thread only.
class Dialogs final : public QObject {
  Q_OBJECT

public:
  Dialogs(QWidget *window, const ImageWork *image, QObject *parent = nullptr);

  QWidget *window() const { return window_; }
  /// From now on nothing is asked and nothing is told; a question that is open counts as answered with no.
  void quit();
  bool isQuitting() const { return quitting_; }

  /// The sheet or modal dialog that the user has to answer first; null when there is none.
  QDialog *thatIsUp() const;
  /// Runs at once where no dialog is up; else when the user has answered those that are: what he has turned
  /// to comes first. Not at all when the image is no longer mounted then, or the application is quitting.
  void whenNoneIsUp(std::function<void()> then);
  /// Shows the dialog as a sheet on the window and deletes it when it is answered. While another dialog is up
  /// it beeps and deletes the dialog at once.
  void begin(std::unique_ptr<QDialog> dialog);
  /// Shows the alert as a sheet. `confirmed` runs when it ends with the first button, `declined`, where it is
  /// given, at any other answer; neither when the image it was asked about is no longer mounted.
  void ask(std::unique_ptr<Alert> question, std::function<void()> confirmed,
           std::function<void()> declined = {});
  /// What a question is about.
  enum class About { image, window };
  /// Shows the alert as a sheet. `answered` gets the number of the button, in the order in which they were
  /// added, or -1; it does not run when the image it was asked about is no longer mounted.
  void choose(std::unique_ptr<Alert> question, std::function<void(int button)> answered,
              About about = About::image);
  /// Asks for a name. `confirmed` gets one that an entry can have; the question is hidden meanwhile, so that
  /// the window can be used. Accept it then, or ask again. It just closes where no name is given, or the
  /// image is no longer mounted.
  void askForName(std::unique_ptr<NameAlert> question, std::function<void(const QString &name)> confirmed);
  /// Brings the question up again with what was typed, unless another dialog is up or the image has become
  /// read-only.
  void askAgain(const QPointer<NameAlert> &question);
  /// Asks for a folder of the host. `chosen` runs with its path unless the image was replaced meanwhile.
  void chooseFolder(const QString &message, const QString &prompt,
                    std::function<void(const std::string &folder)> chosen);

  /// Runs a modal alert, unless the application is quitting.
  void tell(const QString &message, const QString &informativeText = {}) const;
  void tell(const EMU3Error &error) const;
  /// Lists what failed in a modal alert, each item with its reason. Nothing when nothing did.
  void tellFailures(const QString &message, const std::vector<ItemFailure> &failures) const;

private:
  QWidget *const window_;
  const ImageWork *const image_;
  QPointer<QDialog> sheet_;
  bool quitting_ = false;
};

} // namespace tessary
