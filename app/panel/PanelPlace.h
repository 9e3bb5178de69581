#pragma once

#include "app/ThinSplitter.h"

namespace tessary {

/// Holds the table of files and the panel of a bank's contents: the panel to the right of the table or below
/// it. Where the window is too narrow for both side by side it is below, whatever is wished, so that neither
/// is cut.
class PanelPlace final : public ThinSplitter {
  Q_OBJECT

public:
  /// The panel is hidden at first.
  PanelPlace(QWidget *table, QWidget *panel, QWidget *parent = nullptr);

  void setBelow(bool below);
  [[nodiscard]] bool isWishedBelow() const { return wishedBelow_; }

protected:
  void resizeEvent(QResizeEvent *event) override;
  bool eventFilter(QObject *watched, QEvent *event) override;

private:
  void place();

  QWidget *const panel_;
  bool wishedBelow_ = false;
  bool isPlaced_ = false; ///< has its first size
};

} // namespace tessary
