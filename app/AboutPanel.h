#pragma once

#include <QDialog>
#include <QList>

class QLabel;

namespace tessary {

/// Says what the application is and where to read more. Run it with exec(): the rest of the application takes
/// no input until "OK", Return, Escape or the close button ends it.
class AboutPanel : public QDialog {
  Q_OBJECT

public:
  explicit AboutPanel(QWidget *parent = nullptr);

protected:
  void changeEvent(QEvent *event) override;

private:
  void addIconAndName();
  void addDescription();
  void addLinks();
  void addCredits();
  void addButton();
  QLabel *addCaption(const QString &name, const QString &text, const QRect &place, int pixelSize);
  void applySecondaryColor();

  QList<QLabel *> secondaryLabels;
};

} // namespace tessary
