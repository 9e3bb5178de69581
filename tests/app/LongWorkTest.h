#pragma once

#include "tests/app/SheetTest.h"
#include "tests/support/MediumFaults.h"

#include <QString>
#include <string>
#include <vector>

class QPushButton;

namespace tessary {
class WorkBar;
}

namespace tessary::test {

/// The window with work that takes long, since the medium is held.
class LongWorkTest : public SheetTest {
protected:
  // Before anything is torn down that still has work.
  void TearDown() override;

  WorkBar *bar() const;
  QPushButton *stopButton() const;
  /// What the bar says of the item, and its figures.
  QString what() const;
  QString figures() const;

  /// Waits until the work is held and the bar shows it.
  void waitForBar() const;
  /// Presses Stop in the bar, which comes first, lets the medium go and waits for the end.
  void stopAndWait();
  void letGoAndWait();
  void undoAndWait() const;
  void redoAndWait() const;

  /// A volume with a folder "Many" of so many files, and the folder "Other".
  static ImageBuilder volumeOfMany(int files);
  /// So many host files, as long as their number says.
  std::vector<std::string> manyHostFiles(int count) const;
  void importFiles(const std::vector<std::string> &paths) const;
  void selectAllFiles();

  MediumFaults medium_;
};

} // namespace tessary::test
