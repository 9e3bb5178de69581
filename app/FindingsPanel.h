#pragma once

#include "tessary/VolumeFindings.h"

#include <QDialog>
#include <QTimer>
#include <functional>
#include <vector>

class QLabel;
class QPushButton;
class QTableView;

namespace tessary {

class FindingsModel;

/// The list of what a check of an image found: to be read, copied, and gone to. Show it beside the window
/// that it belongs to, which stays in use; Escape or "Close" ends it. Return and a double-click go to the
/// selected finding; Ctrl+C and "Copy" copy the selected ones, or all when none is selected.
class FindingsPanel final : public QDialog {
  Q_OBJECT

public:
  FindingsPanel(const QString &title, QWidget *parent);

  /// Asked whether a finding can be gone to, and told to do it. To be set before findings are.
  void setCanGoTo(std::function<bool(const VolumeFinding &)> callback) { canGoTo_ = std::move(callback); }
  void setGoTo(std::function<void(const VolumeFinding &)> callback) { goTo_ = std::move(callback); }

  /// Replaces what is listed. Paths begin at `root`.
  void setFindings(std::vector<VolumeFinding> findings, const EMU3DirectoryPtr &root);
  /// Asks again whether the selected finding can be gone to: call it when the image has changed.
  void updateGoTo();

private:
  void buildTable();
  QPushButton *addButton(const QString &text, void (FindingsPanel::*pressed)());
  void layOut();
  /// Gives the panel the size that what it lists needs, and a place where it hides little of its window.
  void fitToContents();
  std::vector<int> selectedRows() const;
  void goToSelected();
  void copySelected();

  FindingsModel *model_;
  QLabel *summary_;
  QTableView *table_;
  QPushButton *goToButton_;
  QPushButton *copyButton_;
  QPushButton *closeButton_;
  QTimer fitRows_; ///< once after many changes of a column's width
  std::function<bool(const VolumeFinding &)> canGoTo_;
  std::function<void(const VolumeFinding &)> goTo_;
};

} // namespace tessary
