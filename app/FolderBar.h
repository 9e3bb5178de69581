#pragma once

#include <QWidget>

class QToolButton;

namespace tessary {

/// The bar below the folders: the volume itself, whose files lie in no folder, and the way up.
class FolderBar final : public QWidget {
  Q_OBJECT

public:
  explicit FolderBar(QWidget *parent = nullptr);

  /// The system's text size has changed.
  void followTextSize();

  /// `volume` is the volume's label; null when no image is mounted.
  void show(const QString &volume, bool isCurrent, bool hasParent);

signals:
  void rootChosen();
  void parentChosen();

protected:
  void resizeEvent(QResizeEvent *event) override;

private:
  void showLabel();

  QToolButton *root_;
  QToolButton *parent_;
  QString label_;
};

} // namespace tessary
