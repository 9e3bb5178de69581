#include "app/ContentController.h"
#include "app/DisplayText.h"
#include "app/FolderOutline.h"
#include "app/SidebarController.h"
#include "tessary/BankEntry.h"
#include "tests/app/WindowTest.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/SampleVolumes.h"

#include <QElapsedTimer>
#include <QTest>

namespace tessary::test {
namespace {

/// Compares what the window shows with what the engine, opened a second time, has in its tree.
class ShownVolumes : public WindowTest {
protected:
  static QStringList expectedTexts(EMU3Filesystem &filesystem, const EMU3FilePtr &file) {
    filesystem.populateBankMetadata(file);
    const auto count = [](std::uint64_t value) {
      return value == 0 ? QStringLiteral("—") : QString::number(value);
    };
    const char *format = bankFormatName(file->bankFormat());
    return {QString::fromStdString(file->name()),
            QString::fromStdString(file->fileTypeString()),
            format ? QString::fromUtf8(format) : QStringLiteral("—"),
            count(file->presetCount()),
            count(file->sampleCount()),
            QString::fromStdString(file->fileSizeString())};
  }

  /// Chooses the row of every folder below `item` in turn.
  void expectShown(EMU3Filesystem &filesystem, const EMU3DirectoryPtr &folder, const QModelIndex &item) {
    const std::vector<EMU3DirectoryPtr> subfolders = folder->subdirectories();
    const QAbstractItemModel *model = outline()->model();
    ASSERT_EQ(static_cast<std::size_t>(model->rowCount(item)), subfolders.size());
    outline()->expand(item);
    for (std::size_t row = 0; row < subfolders.size(); ++row) {
      const EMU3DirectoryPtr &subfolder = subfolders[row];
      const QModelIndex child = model->index(static_cast<int>(row), 0, item);
      ++folders_;
      clickRow(outline(), child);
      ASSERT_TRUE(waitUntilIdle());
      const std::vector<EMU3FilePtr> files = subfolder->allFiles();
      const QString name = QString::fromStdString(subfolder->name());
      EXPECT_EQ(child.data().toString(),
                files.empty() ? name : QStringLiteral("%1 (%2)").arg(name).arg(files.size()));
      EXPECT_EQ(status(), QStringLiteral("%1 — %2 file(s)").arg(name).arg(files.size()));
      ASSERT_EQ(static_cast<std::size_t>(table()->model()->rowCount()), files.size());
      for (std::size_t file = 0; file < files.size(); ++file)
        ASSERT_EQ(rowTexts(*table()->model(), static_cast<int>(file)),
                  expectedTexts(filesystem, files[file]));
      files_ += files.size();
      expectShown(filesystem, subfolder, child);
    }
  }

  void expectWholeTreeShown(const ImageBuilder &image) {
    const std::string path = mount(image);
    const EMU3FilesystemPtr filesystem = test::readAnew(path);
    expectShown(*filesystem, filesystem->rootDirectory(), {});
  }

  std::size_t folders_ = 0;
  std::size_t files_ = 0;
};

TEST_F(ShownVolumes, DemoImageIsShownWhole) {
  expectWholeTreeShown(demoVolume());
  EXPECT_GT(folders_, 5U);
  EXPECT_GT(files_, 20U);
}

TEST_F(ShownVolumes, ImageOf1GiBIsShownWhole) {
  expectWholeTreeShown(bigVolume());
  EXPECT_EQ(folders_, 40U);
  EXPECT_GT(files_, 1000U);
}

// ---- Hostile images

class HostileImages : public WindowTest {
protected:
  /// Chooses and expands the first rows, as far as the outline has them, and lets everything be painted.
  void browse() {
    for (int row = 0; row < 12; ++row) {
      QModelIndex item = outline()->model()->index(0, 0);
      for (int below = 0; below < row && item.isValid(); ++below)
        item = outline()->indexBelow(item);
      if (!item.isValid()) break;
      clickRow(outline(), item);
      outline()->expand(item);
      ASSERT_TRUE(waitUntilIdle());
      table()->selectAll();
    }
    EXPECT_FALSE(window()->grab().isNull());
  }
};

TEST_F(HostileImages, AllOfThemOpenAndCanBeBrowsed) {
  for (const NamedVolume &volume : hostileVolumes()) {
    SCOPED_TRACE(volume.name);
    QElapsedTimer timer;
    timer.start();
    mount(volume.image, "hostile.hda");
    ASSERT_NE(controller_->filesystem(), nullptr);
    browse();
    clickToolbar("UnmountItem");
    EXPECT_EQ(table()->model()->rowCount(), 0);
    EXPECT_LT(timer.elapsed(), 30000);
  }
}

TEST_F(HostileImages, ThirtyTwoThousandNestedFoldersOpenAndClose) {
  mount(nestedVolume(32000));
  ASSERT_EQ(outline()->model()->rowCount(), 1);
  outline()->setFocus();
  QTest::keyClick(outline(), Qt::Key_Asterisk);
  QCoreApplication::processEvents();
  EXPECT_GT(outlineLabels().size(), FolderOutline::kDeepestOpenLevel);
  EXPECT_FALSE(window()->grab().isNull());
  controller_->sidebarCtl()->reload(); // reloads the outline with all that is open
  clickToolbar("UnmountItem");
  EXPECT_EQ(outline()->model()->rowCount(), 0);
}

} // namespace
} // namespace tessary::test
