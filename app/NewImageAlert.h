#pragma once

#include "app/Alert.h"

#include <QString>
#include <optional>
#include <string>

class QComboBox;
class QLabel;
class QRadioButton;

namespace tessary {

/// An alert that asks what a new image is to be like: of a size, or like another disk's image. Its first
/// button confirms, "Cancel" is the other one.
///
/// It stays up when it is confirmed: accept it once the answer is one that can be made.
class NewImageAlert final : public Alert {
  Q_OBJECT

public:
  /// `model` is the image that is proposed to be like; empty for none.
  NewImageAlert(const std::string &model, QWidget *parent);

  /// The image that it is to be like, as a path of the host; none where a size was chosen, empty where the
  /// user has not said which.
  std::optional<std::string> model() const;
  /// What was typed or chosen as the size.
  QString size() const;

signals:
  void confirmed();

protected:
  bool eventFilter(QObject *watched, QEvent *event) override;

private:
  QWidget *makeChoices();
  void chooseModel();
  void showModel();
  void showSize();

  std::string path_; ///< of the model
  QRadioButton *ofSize_;
  QRadioButton *likeImage_;
  QComboBox *sizes_;
  QLabel *blocks_;
  QPushButton *modelButton_;
};

} // namespace tessary
