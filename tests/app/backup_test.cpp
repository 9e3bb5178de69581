#include "tests/app/FileCommandTest.h"
#include "tests/app/SheetTest.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/TemporaryFolder.h"

#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QTest>

namespace tessary::test {
namespace {

/// The window with its menu bar, and a folder for the copies.
class BackUpImage : public SheetTest {
protected:
  BackUpImage() { putMenuBar(); }

  static ImageBuilder volume() {
    ImageBuilder image;
    image.root().addFolder("Drums").addFile("KICK", patternBytes(600, 1));
    return image;
  }
  QAction *item() const { return menuItem("File", "Back Up Image…"); }
  QFileDialog *ask() {
    item()->trigger();
    return sheet<QFileDialog>();
  }
  void backUpTo(const std::string &path) {
    choosePaths(ask(), {path});
    ASSERT_TRUE(waitUntilIdle());
  }

  const TemporaryFolder copies_;
  const std::string copy_ = copies_.path("copy.hda");
};

TEST_F(BackUpImage, IsOfferedWhileAnImageIsMounted) {
  ASSERT_NE(item(), nullptr);
  EXPECT_FALSE(item()->isEnabled());
  mount(volume());
  EXPECT_TRUE(item()->isEnabled());
  clickToolbar("UnmountItem");
  EXPECT_FALSE(item()->isEnabled());
}

TEST_F(BackUpImage, AsksForANewFileBesideTheImage) {
  mount(volume());
  QFileDialog *chooser = ask();
  ASSERT_NE(chooser, nullptr);
  EXPECT_EQ(chooser->windowTitle(), QStringLiteral("Back up the image to a new file"));
  EXPECT_EQ(chooser->acceptMode(), QFileDialog::AcceptSave);
  EXPECT_EQ(chooser->labelText(QFileDialog::Accept), QStringLiteral("Back Up"));
  ASSERT_EQ(chooser->selectedFiles().size(), 1);
  EXPECT_TRUE(chooser->selectedFiles().first().endsWith(QStringLiteral("/disk backup.hda")))
      << chooser->selectedFiles().first().toStdString();
}

TEST_F(BackUpImage, MakesACopyOfEveryByte) {
  const std::string path = mount(volume());
  backUpTo(copy_);
  EXPECT_EQ(status(), QStringLiteral("Backed up to “copy.hda”."));
  EXPECT_EQ(readBytes(copy_), readBytes(path));
  EXPECT_EQ(namesIn(copies_.path()), std::vector<std::string>{"copy.hda"});
}

TEST_F(BackUpImage, NeverReplacesAFile) {
  mount(volume());
  writeText(copy_, "earlier");
  const AlertAnswers alerts;
  backUpTo(copy_);
  ASSERT_TRUE(QTest::qWaitFor([&] { return !alerts.shown().empty(); }, 30000));
  EXPECT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(status(), QStringLiteral("The backup failed."));
  EXPECT_EQ(readText(copy_), "earlier");
}

TEST_F(BackUpImage, WorksWhereTheImageIsReadOnly) {
  const std::string path = mountReadOnly(volume());
  backUpTo(copy_);
  EXPECT_EQ(readBytes(copy_), readBytes(path));
}

} // namespace
} // namespace tessary::test
