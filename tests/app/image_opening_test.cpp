#include "app/ContentController.h"
#include "app/SidebarController.h"
#include "app/Spinner.h"
#include "tests/app/WindowTest.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/OtherUser.h"
#include "tests/support/SampleVolumes.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <filesystem>
#include <sys/stat.h>

namespace tessary::test {
namespace {

ImageBuilder imageWithFolders(const std::vector<std::pair<std::string, int>> &folders) {
  ImageBuilder image;
  for (const auto &[name, files] : folders) {
    FolderBuilder folder = image.root().addFolder(name, {.blockCount = 2});
    for (int number = 1; number <= files; ++number)
      folder.addFile(name + " " + std::to_string(number));
  }
  return image;
}

class ImageOpening : public WindowTest {
protected:
  QFileDialog *openPanel() {
    clickToolbar("MountItem");
    QCoreApplication::processEvents();
    return sheet<QFileDialog>();
  }

  static bool offersMount(const QFileDialog *panel) {
    for (const QPushButton *button : panel->findChildren<QPushButton *>())
      if (button->isVisible() && button->text().remove(QLatin1Char('&')) == QLatin1String("Mount"))
        return button->isEnabled();
    return false;
  }

  /// Types the path into the panel and clicks "Mount".
  static void mountThrough(QFileDialog *panel, const std::string &path) {
    auto *field = panel->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
    field->clear();
    const QString typed = QString::fromStdString(path);
    QTest::keyClicks(field, typed);
    // The panel looks at each folder on the way in a thread of its own, and offers to open that until then.
    // It thinks again at the next key alone, so the last one is typed anew.
    const auto isKnown = [&] {
      if (offersMount(panel)) return true;
      QTest::keyClick(field, Qt::Key_Backspace);
      QTest::keyClicks(field, typed.right(1));
      return offersMount(panel);
    };
    ASSERT_TRUE(QTest::qWaitFor(isKnown, 10000));
    clickButton(panel, QStringLiteral("Mount"));
  }
};

// ---- The panel

TEST_F(ImageOpening, PanelIsASheetThatTakesAnyFile) {
  QFileDialog *panel = openPanel();
  ASSERT_NE(panel, nullptr);
  EXPECT_EQ(panel->windowTitle(), QStringLiteral("Select an E-MU Sampler disk image (.hda)"));
  EXPECT_EQ(panel->labelText(QFileDialog::Accept), QStringLiteral("Mount"));
  EXPECT_EQ(panel->fileMode(), QFileDialog::ExistingFile);
  EXPECT_EQ(panel->acceptMode(), QFileDialog::AcceptOpen);
  EXPECT_EQ(panel->nameFilters(), QStringList{"All Files (*)"});
  EXPECT_EQ(panel->windowModality(), Qt::WindowModal);
  EXPECT_EQ(panel->windowType(), Qt::Sheet);
  EXPECT_EQ(panel->parentWidget(), window());
  clickButton(panel, QStringLiteral("Cancel"));
}

TEST_F(ImageOpening, ChosenImageIsMounted) {
  const std::string path = writeImage(imageWithFolders({{"Drums", 3}}));
  mountThrough(openPanel(), path);
  EXPECT_EQ(status(), QStringLiteral("Opening image…"));
  EXPECT_TRUE(controller_->spinner()->isVisible());
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_FALSE(controller_->spinner()->isVisible());
  EXPECT_EQ(title(), QStringLiteral("Tessary — disk.hda"));
  EXPECT_EQ(fileNames(), (QStringList{"Drums 1", "Drums 2", "Drums 3"}));
  EXPECT_EQ(sheet<QFileDialog>(), nullptr);
}

TEST_F(ImageOpening, CancelledPanelDoesNothing) {
  clickButton(openPanel(), QStringLiteral("Cancel"));
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(controller_->filesystem(), nullptr);
  QFileDialog *again = openPanel();
  ASSERT_NE(again, nullptr);
  pressKeyIn(again, Qt::Key_Escape);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
}

TEST_F(ImageOpening, SecondSheetIsRefusedWithABeep) {
  QFileDialog *panel = openPanel();
  ASSERT_NE(panel, nullptr);
  controller_->_openImage();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(window()->findChildren<QFileDialog *>().size(), 1);
  clickButton(panel, QStringLiteral("Cancel"));
}

// ---- What is shown

TEST_F(ImageOpening, ShowsTitleFoldersFilesAndSpace) {
  mount(imageWithFolders({{"Drums", 2}, {"Pads", 5}, {"Empty", 0}}), "My Disk.hda");
  EXPECT_EQ(title(), QStringLiteral("Tessary — My Disk.hda"));
  EXPECT_EQ(outlineLabels(), (QStringList{"Drums (2)", "Pads (5)", "Empty"}));
  EXPECT_EQ(highlightedLabel(), QStringLiteral("Pads (5)"));
  EXPECT_EQ(fileNames().size(), 5);
  EXPECT_EQ(status(), QStringLiteral("Pads — 5 file(s)"));
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  EXPECT_EQ(diskSpace(), QStringLiteral("Used: %1 KB  Free: %2 KB")
                             .arg(filesystem->usedBlocks() / 2)
                             .arg(filesystem->freeBlocks() / 2));
  EXPECT_EQ(controller_->currentDirectory()->name(), "Pads");
  EXPECT_EQ(controller_->contentCtl()->filesystem(), filesystem);
  EXPECT_EQ(filesystem->rules(), MountRules::guarded);
}

TEST_F(ImageOpening, SameImageAgainIsShownAsIfItWereNew) {
  const std::string path = mount(imageWithFolders({{"Drums", 2}, {"Pads", 5}}), "disk.hda");
  chooseFolder({"Drums"});
  openImage(path);
  EXPECT_EQ(outlineLabels(), (QStringList{"Drums (2)", "Pads (5)"}));
  EXPECT_EQ(highlightedLabel(), QStringLiteral("Pads (5)"));
  EXPECT_EQ(fileNames().size(), 5);
  EXPECT_EQ(status(), QStringLiteral("Pads — 5 file(s)"));
  ASSERT_NE(controller_->currentDirectory(), nullptr);
  EXPECT_EQ(controller_->currentDirectory()->name(), "Pads");
  openImage(path); // with the folder that is shown first highlighted already
  EXPECT_EQ(highlightedLabel(), QStringLiteral("Pads (5)"));
  EXPECT_EQ(fileNames().size(), 5);
  ASSERT_NE(controller_->currentDirectory(), nullptr);
}

TEST_F(ImageOpening, OfTwoLargestFoldersTheFirstIsShown) {
  mount(imageWithFolders({{"Small", 1}, {"First", 4}, {"Second", 4}}));
  EXPECT_EQ(highlightedLabel(), QStringLiteral("First (4)"));
}

TEST_F(ImageOpening, WithoutAnyFileTheFirstFolderIsShown) {
  mount(imageWithFolders({{"One", 0}, {"Two", 0}}));
  EXPECT_EQ(highlightedLabel(), QStringLiteral("One"));
  EXPECT_EQ(status(), QStringLiteral("One — 0 file(s)"));
}

TEST_F(ImageOpening, DeletedFilesAndNestedOnesDoNotCount) {
  ImageBuilder image;
  FolderBuilder deleted = image.root().addFolder("Deleted");
  for (int number = 0; number < 5; ++number) {
    RawEntry entry = rawFileEntry("GONE", 0, 0, 1, 1, 1, 1);
    deleted.addRaw(entry);
  }
  FolderBuilder outer = image.root().addFolder("Outer");
  FolderBuilder inner = outer.addFolder("Inner");
  for (const char *name : {"A", "B", "C"})
    inner.addFile(name);
  image.root().addFolder("One").addFile("X");
  mount(image);
  EXPECT_EQ(outlineLabels(), (QStringList{"Deleted", "Outer", "One (1)"}));
  EXPECT_EQ(highlightedLabel(), QStringLiteral("One (1)"));
  chooseFolder({"Deleted"});
  EXPECT_EQ(fileNames(), QStringList());
  EXPECT_EQ(status(), QStringLiteral("Deleted — 0 file(s)"));
}

TEST_F(ImageOpening, ImageWithoutFoldersShowsNothingButItsSpace) {
  ImageBuilder image;
  image.root().addFile("LONELY");
  mount(image);
  EXPECT_EQ(outline()->model()->rowCount(), 0);
  EXPECT_EQ(fileNames(), QStringList());
  EXPECT_EQ(controller_->currentDirectory(), nullptr);
  EXPECT_EQ(status(), QStringLiteral("Opening image…"));
  EXPECT_TRUE(diskSpace().startsWith(QStringLiteral("Used: ")));
  EXPECT_EQ(title(), QStringLiteral("Tessary — disk.hda"));
  EXPECT_FALSE(controller_->spinner()->isVisible());
}

TEST_F(ImageOpening, ImageWithoutFoldersClearsTheEarlierOne) {
  mount(imageWithFolders({{"Drums", 3}}));
  mount(ImageBuilder(), "empty.hda");
  EXPECT_EQ(fileNames(), QStringList());
  EXPECT_EQ(outlineLabels(), QStringList());
  EXPECT_EQ(controller_->currentDirectory(), nullptr);
}

TEST_F(ImageOpening, AnotherImageReplacesTheMountedOne) {
  mount(imageWithFolders({{"Drums", 3}}), "one.hda");
  const std::weak_ptr<EMU3Filesystem> first = controller_->filesystem();
  mount(imageWithFolders({{"Pads", 1}}), "two.hda");
  EXPECT_TRUE(first.expired());
  EXPECT_EQ(title(), QStringLiteral("Tessary — two.hda"));
  EXPECT_EQ(outlineLabels(), QStringList{"Pads (1)"});
  EXPECT_EQ(fileNames(), QStringList{"Pads 1"});
  EXPECT_EQ(status(), QStringLiteral("Pads — 1 file(s)"));
}

TEST_F(ImageOpening, MountedByOtherRulesIsRefused) {
  const std::string path = writeImage(imageWithFolders({{"Drums", 1}}));
  const EMU3FilesystemPtr elsewhere = mounted(path, MountRules::bare);
  const AlertAnswers answers;
  openImage(path);
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(answers.shown()[0].message, QStringLiteral("Cannot Open Image"));
  EXPECT_EQ(answers.shown()[0].informativeText,
            QStringLiteral("disk.hda: The image is mounted with other rules"));
  EXPECT_EQ(status(), QStringLiteral("Failed to open image."));
}

TEST_F(ImageOpening, NamesThatAreNoTextAreShownAsCodes) {
  ImageBuilder image;
  FolderBuilder folder = image.root().addFolder("\xFF Drums");
  folder.addFile("\xC3KICK");
  folder.addFile("                ");
  image.root().addFolder("                ");
  mount(image);
  EXPECT_EQ(outlineLabels(), (QStringList{"%FF Drums (2)", "%20"}));
  EXPECT_EQ(fileNames(), (QStringList{"%C3KICK", "%20"}));
  EXPECT_EQ(status(), QStringLiteral("%FF Drums — 2 file(s)"));
}

TEST_F(ImageOpening, NamesAreWrittenAsTheyAreOnOneLine) {
  ImageBuilder image;
  image.root().addFolder("<u>F\n%2").addFile("[*]<b>x</b>\n");
  mount(image, "<b>a[*]b[*][*]\nc.hda");
  EXPECT_EQ(title(), QStringLiteral("Tessary — <b>a[*]b[*][*]\\nc.hda"));
  EXPECT_EQ(outlineLabels(), QStringList{"<u>F\\n%2 (1)"});
  EXPECT_EQ(fileNames(), QStringList{"[*]<b>x</b>\\n"});
  EXPECT_EQ(status(), QStringLiteral("<u>F\\n%2 — 1 file(s)"));
}

TEST_F(ImageOpening, PathsThatAreNoUtf8Open) {
  const std::string path = writeImage(imageWithFolders({{"Drums", 1}}), "disk\xFF.hda");
  openImage(path);
  EXPECT_EQ(title(), QStringLiteral("Tessary — disk\\xff.hda"));
}

TEST_F(ImageOpening, ReadOnlyImageOpensToo) {
  const std::string path = writeImage(imageWithFolders({{"Drums", 1}}));
  ::chmod(path.c_str(), 0444);
  ::chmod(folder_.path().c_str(), 0755);
  {
    const OtherUser other;
    openImage(path);
  }
  ASSERT_NE(controller_->filesystem(), nullptr);
  EXPECT_TRUE(controller_->filesystem()->isReadOnly());
  EXPECT_EQ(fileNames(), QStringList{"Drums 1"});
  EXPECT_TRUE(toolbarButton("DeleteItem")->isEnabled());
}

TEST(DiskSpaceText, CountsInUnsigned64BitArithmetic) {
  EXPECT_EQ(diskSpaceText(0, 0), QStringLiteral("Used: 0 KB  Free: 0 KB"));
  EXPECT_EQ(diskSpaceText(1, 3), QStringLiteral("Used: 0 KB  Free: 1 KB"));
  EXPECT_EQ(diskSpaceText(131072, 262144), QStringLiteral("Used: 65536 KB  Free: 131072 KB"));
  // The product is taken modulo 2^64 before it is divided.
  EXPECT_EQ(diskSpaceText(std::uint64_t{1} << 55, (std::uint64_t{1} << 55) + 2),
            QStringLiteral("Used: 0 KB  Free: 1 KB"));
  EXPECT_EQ(diskSpaceText(~std::uint64_t{0}, 0), QStringLiteral("Used: 18014398509481983 KB  Free: 0 KB"));
}

// ---- Failures

struct BadImage {
  const char *name;
  void (*make)(const std::string &path);
  std::string message; ///< "%" stands for the path
};

void PrintTo(const BadImage &image, std::ostream *stream) {
  *stream << image.name;
}

const BadImage badImages[] = {
    {"MissingFile", [](const std::string &) {}, "Cannot open file: %: No such file or directory"},
    {"Folder", [](const std::string &path) { std::filesystem::create_directory(path); },
     "mmap failed: Is a directory"},
    {"EmptyFile", [](const std::string &path) { writeText(path, ""); }, "mmap failed: The file is empty"},
    {"FileOf511Bytes", [](const std::string &path) { writeText(path, "EMU3" + std::string(507, '\0')); },
     "File too small to be an E-MU disk image"},
    {"WrongSignature", [](const std::string &path) { writeText(path, "EMU4" + std::string(1020, '\0')); },
     "Not an E-MU 3/4 disk image (missing \"EMU3\" signature)"},
    {"NoPermission",
     [](const std::string &path) {
       ImageBuilder().writeTo(path);
       ::chmod(path.c_str(), 0);
     },
     "Cannot open file: %: Permission denied"},
    {"Fifo", [](const std::string &path) { ::mkfifo(path.c_str(), 0666); }, "mmap failed: No such device"},
};

class FailedOpening : public ImageOpening, public testing::WithParamInterface<BadImage> {
protected:
  FailedOpening() {
    mount(imageWithFolders({{"Drums", 2}}), "good.hda");
    ::chmod(folder_.path().c_str(), 0755);
  }

  void expectFailure(const std::vector<ShownAlert> &alerts) {
    QString message = QString::fromStdString(GetParam().message);
    message.replace(QLatin1Char('%'), QString::fromStdString(path_));
    if (!message.contains(QLatin1String("bad.hda"))) message.prepend(QLatin1String("bad.hda: "));
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_EQ(alerts[0].message, QStringLiteral("Cannot Open Image"));
    EXPECT_EQ(alerts[0].informativeText, message);
    EXPECT_EQ(alerts[0].buttons, QStringList{"OK"});
    EXPECT_EQ(status(), QStringLiteral("Failed to open image."));
    EXPECT_FALSE(controller_->spinner()->isVisible());
    // The image mounted before stays mounted and shown.
    EXPECT_EQ(title(), QStringLiteral("Tessary — good.hda"));
    EXPECT_EQ(fileNames(), (QStringList{"Drums 1", "Drums 2"}));
    EXPECT_EQ(highlightedLabel(), QStringLiteral("Drums (2)"));
    EXPECT_TRUE(toolbarButton("UnmountItem")->isEnabled());
  }

  const std::string path_ = folder_.path("bad.hda");
};

TEST_P(FailedOpening, ThroughAnOpenRequestRaisesTheAlert) {
  GetParam().make(path_);
  AlertAnswers answers;
  {
    const OtherUser other;
    openImage(path_);
  }
  expectFailure(answers.shown());
}

// The panel itself takes existing files alone. What is bad comes in the chosen file's place before it is
// opened.
TEST_P(FailedOpening, ThroughThePanelRaisesTheAlert) {
  AlertAnswers answers;
  HeldWorkQueue held;
  writeText(path_, "chosen");
  mountThrough(openPanel(), path_);
  std::filesystem::remove(path_);
  GetParam().make(path_);
  {
    const OtherUser other;
    held.letGo();
    ASSERT_TRUE(waitUntilIdle());
  }
  expectFailure(answers.shown());
}

INSTANTIATE_TEST_SUITE_P(Window, FailedOpening, testing::ValuesIn(badImages),
                         [](const auto &image) { return image.param.name; });

TEST_F(ImageOpening, FailureWithoutAnImageLeavesNone) {
  AlertAnswers answers;
  openImage(folder_.path("missing.hda"));
  EXPECT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(title(), QStringLiteral("Tessary"));
  EXPECT_EQ(status(), QStringLiteral("Failed to open image."));
  EXPECT_FALSE(toolbarButton("UnmountItem")->isEnabled());
}

TEST_F(ImageOpening, AlertShowsPathsAsPlainTextOnOneLine) {
  AlertAnswers answers;
  QString shown;
  Qt::TextFormat format = Qt::AutoText;
  QTimer look;
  look.callOnTimeout([&] {
    for (const QWidget *top : QApplication::topLevelWidgets())
      if (auto *label = top->findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel"))) {
        shown = label->text();
        format = label->textFormat();
      }
  });
  look.start(1);
  openImage(folder_.path("<b>a</b>\nb.hda"));
  EXPECT_TRUE(shown.endsWith(QStringLiteral("/<b>a</b>\\nb.hda: No such file or directory")));
  EXPECT_EQ(format, Qt::PlainText);
  EXPECT_EQ(answers.shown().size(), 1U);
}

// ---- Two openings

TEST_F(ImageOpening, OfTwoOpeningsTheOneThatEndsLastStays) {
  const std::string slow = writeImage(imageWithFolders({{"Slow", 1}}), "slow.hda");
  const std::string quick = writeImage(imageWithFolders({{"Quick", 2}}), "quick.hda");
  HeldVolume held(slow);
  controller_->openImageAtURL(slow);
  controller_->openImageAtURL(quick);
  EXPECT_EQ(controller_->spinner()->users(), 2);
  ASSERT_TRUE(QTest::qWaitFor([&] { return title() == QStringLiteral("Tessary — quick.hda"); }, 10000));
  EXPECT_TRUE(controller_->spinner()->isVisible()) << "the other opening still runs";
  EXPECT_EQ(highlightedLabel(), QStringLiteral("Quick (2)"));
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(title(), QStringLiteral("Tessary — slow.hda"));
  EXPECT_EQ(outlineLabels(), QStringList{"Slow (1)"});
  EXPECT_FALSE(controller_->spinner()->isVisible());
}

TEST_F(ImageOpening, MountedImageStaysWhileAnotherOneOpens) {
  mount(imageWithFolders({{"Drums", 3}}), "one.hda");
  const std::string slow = writeImage(imageWithFolders({{"Slow", 1}}), "slow.hda");
  HeldVolume held(slow);
  controller_->openImageAtURL(slow);
  QTest::qWait(50);
  EXPECT_EQ(title(), QStringLiteral("Tessary — one.hda"));
  EXPECT_EQ(fileNames().size(), 3);
  EXPECT_EQ(status(), QStringLiteral("Opening image…"));
  EXPECT_TRUE(toolbarButton("UnmountItem")->isEnabled());
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(title(), QStringLiteral("Tessary — slow.hda"));
}

TEST_F(ImageOpening, WindowPaintsAndAnswersHoweverManyImagesAreSlowToOpen) {
  const std::string slow = writeImage(imageWithFolders({{"Slow", 1}}));
  HeldVolume held(slow);
  for (int opening = 0; opening < 12; ++opening)
    controller_->openImageAtURL(slow);
  window()->resize(window()->size() + QSize(10, 10));
  EXPECT_FALSE(window()->grab().isNull());
  QFileDialog *panel = openPanel();
  ASSERT_NE(panel, nullptr);
  clickButton(panel, QStringLiteral("Cancel"));
  EXPECT_EQ(controller_->spinner()->users(), 12);
  held.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(controller_->spinner()->users(), 0);
}

// ---- Unmounting

TEST_F(ImageOpening, UnmountReturnsToNoImage) {
  mount(imageWithFolders({{"Drums", 3}}));
  const std::weak_ptr<EMU3Filesystem> filesystem = controller_->filesystem();
  controller_->undoManager()->registerUndo([](UndoManager::Side) {});
  clickToolbar("UnmountItem");
  EXPECT_TRUE(filesystem.expired());
  EXPECT_EQ(controller_->filesystem(), nullptr);
  EXPECT_EQ(controller_->currentDirectory(), nullptr);
  EXPECT_EQ(controller_->contentCtl()->filesystem(), nullptr);
  EXPECT_EQ(controller_->sidebarCtl()->root(), nullptr);
  EXPECT_EQ(title(), QStringLiteral("Tessary"));
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(diskSpace(), QString());
  EXPECT_EQ(outline()->model()->rowCount(), 0);
  EXPECT_EQ(table()->model()->rowCount(), 0);
  EXPECT_FALSE(controller_->undoManager()->canUndo()) << "of an image that is not mounted";
}

TEST_F(ImageOpening, UnmountWithNothingMountedChangesNothing) {
  AlertAnswers answers;
  openImage(folder_.path("missing.hda"));
  controller_->_unmountImage();
  EXPECT_EQ(status(), QStringLiteral("Failed to open image."));
}

TEST_F(ImageOpening, ImageCanBeMountedAgainAfterUnmounting) {
  const std::string path = mount(imageWithFolders({{"Drums", 3}}));
  clickToolbar("UnmountItem");
  openImage(path);
  EXPECT_EQ(status(), QStringLiteral("Drums — 3 file(s)"));
}

} // namespace
} // namespace tessary::test
