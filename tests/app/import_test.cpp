#include "app/ContentController.h"
#include "app/Spinner.h"
#include "tests/app/FileCommandTest.h"

#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <filesystem>
#include <sys/stat.h>

namespace tessary::test {
namespace {

class Import : public FileCommandTest {
protected:
  static ImageBuilder volume(std::size_t drums = 1) {
    ImageBuilder image;
    auto folder = image.root().addFolder("Drums");
    for (std::size_t i = 0; i < drums; ++i)
      folder.addFile("DRUM " + std::to_string(i), patternBytes(300, static_cast<std::uint32_t>(i)));
    image.root().addFolder("Pads");
    return image;
  }
  /// The same with a folder Drums of 112 entries, more than which none can have.
  static ImageBuilder fullVolume() {
    ImageBuilder image;
    auto folder = image.root().addFolder("Drums", {.blockCount = 7});
    for (int i = 0; i < 112; ++i)
      folder.addFile("DRUM " + std::to_string(i), patternBytes(3, static_cast<std::uint32_t>(i)));
    image.root().addFolder("Pads");
    return image;
  }

  /// Chooses the host files and waits until they are imported.
  void import(const std::vector<std::string> &paths) {
    clickToolbar("ImportItem");
    confirmPanel(paths);
    ASSERT_TRUE(waitUntilIdle());
  }
};

TEST_F(Import, WithoutAnImageBeeps) {
  EXPECT_FALSE(toolbarButton("ImportItem")->isEnabled());
  controller_->_importFile();
  EXPECT_EQ(beeps_.count(), 1);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
}

TEST_F(Import, IntoAReadOnlyImageNeverOpensTheChooser) {
  mountReadOnly(volume());
  AlertAnswers answers;
  clickToolbar("ImportItem");
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(answers.shown()[0].message, QStringLiteral("Read-Only Image"));
  EXPECT_EQ(
      answers.shown()[0].informativeText,
      QStringLiteral("This image is opened read-only and cannot be modified.\n\nMake sure the .hda file "
                     "is not locked and has write permissions."));
  EXPECT_EQ(answers.shown()[0].buttons.size(), 1);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
}

TEST_F(Import, WithNoFolderShownGoesIntoTheRootAndShowsIt) {
  ImageBuilder image;
  image.root().addFile("LONELY", patternBytes(10));
  const std::string path = mount(image);
  ASSERT_EQ(controller_->currentDirectory(), nullptr);
  import({writeHostFile("SNARE.E4B", patternBytes(50))});
  EXPECT_EQ(beeps_.count(), 0);
  EXPECT_EQ(status(), QStringLiteral("Imported 1 file(s)."));
  EXPECT_EQ(fileNames(), (QStringList{"LONELY", "SNARE"}));
  EXPECT_EQ(namesOnImage(path, {}), (std::vector<std::string>{"LONELY", "SNARE"}));
}

TEST_F(Import, CancelledWithNoFolderShownShowsNone) {
  mount(ImageBuilder());
  clickToolbar("ImportItem");
  pressKeyIn(sheet<QFileDialog>(), Qt::Key_Escape);
  EXPECT_EQ(controller_->currentDirectory(), nullptr);
}

TEST_F(Import, AsksForFilesOfAnyKind) {
  mount(volume());
  clickToolbar("ImportItem");
  auto *chooser = sheet<QFileDialog>();
  ASSERT_NE(chooser, nullptr);
  EXPECT_EQ(chooser->windowTitle(), QStringLiteral("Select E-MU bank file(s) to import"));
  EXPECT_EQ(chooser->labelText(QFileDialog::Accept), QStringLiteral("Import"));
  EXPECT_EQ(chooser->fileMode(), QFileDialog::ExistingFiles);
  EXPECT_EQ(chooser->acceptMode(), QFileDialog::AcceptOpen);
  EXPECT_TRUE(chooser->nameFilters().isEmpty() ||
              chooser->nameFilters().contains(QStringLiteral("All Files (*)")));
  const QString before = status();
  pressKeyIn(chooser, Qt::Key_Escape);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), before);
  EXPECT_EQ(sheet<QDialog>(), nullptr);
}

TEST_F(Import, StoresTheFilesUnderTheirNames) {
  const std::string path = mount(volume());
  const QString spaceBefore = diskSpace();
  import({writeHostFile("SNARE.E4B", patternBytes(5000, 1)),
          writeHostFile("a much longer name.wav", patternBytes(70, 2)),
          writeHostFile("no extension", Bytes())});
  EXPECT_EQ(status(), QStringLiteral("Imported 3 file(s)."));
  EXPECT_EQ(filesOnImage(path, {"Drums"}), (StoredFiles{{"DRUM 0", patternBytes(300, 0)},
                                                        {"SNARE", patternBytes(5000, 1)},
                                                        {"a much longer n", patternBytes(70, 2)},
                                                        {"no extension", Bytes()}}));
  EXPECT_EQ(fileNames(), (QStringList{QStringLiteral("DRUM 0"), QStringLiteral("SNARE"),
                                      QStringLiteral("a much longer n"), QStringLiteral("no extension")}));
  EXPECT_EQ(outlineLabels().first(), QStringLiteral("Drums (4)"));
  EXPECT_NE(diskSpace(), spaceBefore);
  EXPECT_EQ(beeps_.count(), 0);
}

TEST_F(Import, ShowsTheSpinnerUntilItIsDoneAndLeavesTheFocus) {
  const std::string path = mount(volume());
  chooseFiles({QStringLiteral("DRUM 0")});
  HeldQueue queue(*controller_->filesystem());
  const QString before = status();
  clickToolbar("ImportItem");
  confirmPanel({writeHostFile("SNARE.E4B", patternBytes(50))});
  EXPECT_TRUE(controller_->spinner()->isVisible());
  EXPECT_EQ(status(), before);
  EXPECT_EQ(namesOnImage(path, {"Drums"}).size(), 1U);
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_FALSE(controller_->spinner()->isVisible());
  EXPECT_EQ(controller_->spinner()->users(), 0);
  activate(window());
  EXPECT_EQ(QApplication::focusWidget(), table());
  EXPECT_EQ(selectedFileNames(), QStringList{QStringLiteral("SNARE")});
}

TEST_F(Import, IntoAFullFolderFailsForEachFile) {
  const std::string path = mount(fullVolume());
  const Bytes before = readBytes(path);
  QString statusUnderTheAlert;
  bool spinning = true;
  ShownAlert shown;
  QTimer answers;
  answers.callOnTimeout([&] {
    auto *alert = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!alert) return;
    shown = describe(*alert);
    statusUnderTheAlert = status();
    spinning = controller_->spinner()->isVisible();
    alert->close();
  });
  answers.start(5);
  import({writeHostFile("ONE.E4B", patternBytes(50)), writeHostFile("TWO.E4B", patternBytes(60))});
  EXPECT_EQ(shown.message, QStringLiteral("Import Failed (2 of 2)"));
  EXPECT_EQ(shown.failures, (QStringList{"ONE.E4B: Destination directory is full",
                                         "TWO.E4B: Destination directory is full"}));
  EXPECT_EQ(statusUnderTheAlert, QStringLiteral("Drums — 112 file(s)")) << "set after the alert is dismissed";
  EXPECT_FALSE(spinning);
  EXPECT_EQ(status(), QStringLiteral("Imported 0 file(s) (2 failed)."));
  EXPECT_EQ(readBytes(path), before);
}

TEST_F(Import, IntoAFullFolderMakesItGrow) {
  const std::string path = mount(volume(16));
  import({writeHostFile("ONE.E4B", patternBytes(50, 1)), writeHostFile("TWO.E4B", patternBytes(60, 2))});
  EXPECT_EQ(status(), QStringLiteral("Imported 2 file(s)."));
  EXPECT_EQ(outlineLabels().first(), QStringLiteral("Drums (18)"));
  const StoredFiles files = filesOnImage(path, {"Drums"});
  ASSERT_EQ(files.size(), 18U);
  EXPECT_EQ(files[16], (StoredFile{"ONE", patternBytes(50, 1)}));
  EXPECT_EQ(files[17], (StoredFile{"TWO", patternBytes(60, 2)}));
}

TEST_F(Import, IntoTheRootThatIsFullFails) {
  ImageBuilder image;
  for (int i = 0; i < 16; ++i)
    image.root().addFile("DRUM " + std::to_string(i), patternBytes(30));
  const std::string path = mount(image);
  const Bytes before = readBytes(path);
  AlertAnswers answers;
  import({writeHostFile("ONE.E4B", patternBytes(50))});
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_TRUE(
      answers.shown()[0].failures.value(0).endsWith(QStringLiteral(": Destination directory is full")));
  EXPECT_EQ(readBytes(path), before);
}

TEST_F(Import, UsesRoomThatIsFreeBelowTheLastFile) {
  ImageBuilder image;
  const auto lastSlot = static_cast<std::uint16_t>((image.totalBlocks() - image.dataAreaBlock()) /
                                                   image.slotSizeBlocks()); // the last whole one
  image.root().addFolder("Drums").addFile("LAST", patternBytes(300, 1), {.slot = lastSlot});
  const std::string path = mount(image);
  import({writeHostFile("LARGE.E4B", patternBytes(3 * kMiB, 2))});
  EXPECT_EQ(status(), QStringLiteral("Imported 1 file(s)."));
  EXPECT_EQ(filesOnImage(path, {"Drums"}),
            (StoredFiles{{"LAST", patternBytes(300, 1)}, {"LARGE", patternBytes(3 * kMiB, 2)}}));
}

TEST_F(Import, GoesAboveEverySlotThatAFileReaches) {
  ImageBuilder image;
  image.root().addFolder("Drums").addFile("LONG", patternBytes(100'000, 1));
  const std::string path = mount(image);
  import({writeHostFile("NEXT.E4B", patternBytes(90'000, 2))});
  EXPECT_EQ(filesOnImage(path, {"Drums"}),
            (StoredFiles{{"LONG", patternBytes(100'000, 1)}, {"NEXT", patternBytes(90'000, 2)}}));
}

TEST_F(Import, OfWhatTheFiguresSayIsFreeSucceedsAndOfMoreFails) {
  const std::string path = mount(volume());
  const std::uint64_t free = controller_->filesystem()->freeBlocks();
  ASSERT_EQ(diskSpace(), diskSpaceText(controller_->filesystem()->totalBlocks() - free, free));
  AlertAnswers answers;
  import({writeHostFile("MORE.E4B", Bytes((free + 1) * kBlockBytes))});
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_TRUE(
      answers.shown()[0].failures.value(0).endsWith(QStringLiteral(": Not enough free space on image")));
  import({writeHostFile("ALL.E4B", Bytes(free * kBlockBytes))});
  EXPECT_EQ(status(), QStringLiteral("Imported 1 file(s)."));
  EXPECT_TRUE(diskSpace().endsWith(QStringLiteral("Free: 0 KB"))) << diskSpace().toStdString();
}

TEST_F(Import, OfAFileThatIsTooLargeForAnEntryIsRefused) {
  const std::string path = mount(ImageBuilder({.sizeBytes = 64 * kMiB}));
  const std::string host = writeHostFile("HUGE.E4B", {});
  std::filesystem::resize_file(host, 65535 * kBlockBytes + 1);
  AlertAnswers answers;
  import({host});
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_TRUE(
      answers.shown()[0].failures.value(0).endsWith(QStringLiteral(": File is too large for the volume")));
  std::filesystem::resize_file(host, 65535 * kBlockBytes);
  import({host});
  EXPECT_EQ(status(), QStringLiteral("Imported 1 file(s)."));
}

TEST_F(Import, CutsTheNameAtAWholeCharacterAndShowsItSo) {
  const std::string path = mount(volume());
  import({writeHostFile("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9.E4B",
                        patternBytes(50))});
  const std::string cut = "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9";
  EXPECT_EQ(fileNames().last(), QString::fromStdString(cut));
  EXPECT_EQ(namesOnImage(path, {"Drums"}).back(), cut);
}

TEST_F(Import, OfANameOfSpacesAloneIsRefused) {
  const std::string path = mount(volume());
  const Bytes before = readBytes(path);
  AlertAnswers answers;
  import({writeHostFile("   .E4B", patternBytes(50))});
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_TRUE(
      answers.shown()[0].failures.value(0).endsWith(QStringLiteral(": Name must be 1–15 characters")));
  EXPECT_EQ(readBytes(path), before);
}

TEST_F(Import, TriesTheRestAfterAFailureAndShowsTheLastError) {
  const std::string path = mount(volume());
  const std::string fifo = hostFolder("import") + "/FIFO.E4B";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string gone = writeHostFile("GONE.E4B", patternBytes(1));
  const std::string good = writeHostFile("GOOD.E4B", patternBytes(90, 4));
  AlertAnswers answers;
  HeldQueue queue(*controller_->filesystem());
  clickToolbar("ImportItem");
  confirmPanel({fifo, gone, good});
  ASSERT_EQ(::unlink(gone.c_str()), 0);
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(answers.shown()[0].message, QStringLiteral("Import Failed (2 of 3)"));
  EXPECT_EQ(answers.shown()[0].failures.last(),
            "GONE.E4B: " + QString::fromStdString(hostError(ENOENT, gone).localizedDescription()));
  EXPECT_EQ(status(), QStringLiteral("Imported 1 file(s) (2 failed)."));
  EXPECT_EQ(filesOnImage(path, {"Drums"}).back(), (StoredFile{"GOOD", patternBytes(90, 4)}));
}

TEST_F(Import, GoesIntoTheFolderShownWhenItWasConfirmed) {
  const std::string path = mount(volume());
  HeldQueue queue(*controller_->filesystem());
  clickToolbar("ImportItem");
  confirmPanel({writeHostFile("SNARE.E4B", patternBytes(50))});
  chooseFolder({QStringLiteral("Pads")});
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(namesOnImage(path, {"Drums"}), (std::vector<std::string>{"DRUM 0", "SNARE"}));
  EXPECT_TRUE(namesOnImage(path, {"Pads"}).empty());
  EXPECT_EQ(controller_->currentDirectory()->name(), "Pads");
  EXPECT_EQ(highlightedLabel(), QStringLiteral("Pads"));
  EXPECT_EQ(fileNames(), QStringList());
  EXPECT_EQ(outlineLabels(), (QStringList{QStringLiteral("Drums (2)"), QStringLiteral("Pads")}));
  EXPECT_EQ(status(), QStringLiteral("Imported 1 file(s)."));
}

TEST_F(Import, IntoAFolderDeletedMeanwhileFails) {
  const std::string path = mount(volume());
  const EMU3FilesystemPtr filesystem = controller_->filesystem();
  HeldQueue queue(*filesystem);
  clickToolbar("ImportItem");
  confirmPanel({writeHostFile("SNARE.E4B", patternBytes(50))});
  ASSERT_TRUE(filesystem->deleteDirectory(controller_->currentDirectory(), filesystem->rootDirectory()));
  const Bytes before = readBytes(path);
  AlertAnswers answers;
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_TRUE(answers.shown()[0].failures.value(0).endsWith(QStringLiteral(": Dentry block not found")));
  EXPECT_EQ(readBytes(path), before);
}

TEST_F(Import, StartedWhileAnotherOneRunsComesAfterIt) {
  const std::string path = mount(volume());
  HeldQueue queue(*controller_->filesystem());
  for (const char *name : {"ONE.E4B", "TWO.E4B"}) {
    clickToolbar("ImportItem");
    confirmPanel({writeHostFile(name, patternBytes(50))});
  }
  EXPECT_EQ(controller_->spinner()->users(), 2);
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(controller_->spinner()->users(), 0);
  EXPECT_EQ(namesOnImage(path, {"Drums"}), (std::vector<std::string>{"DRUM 0", "ONE", "TWO"}));
}

TEST_F(Import, AnsweredAfterTheImageWasReplacedDoesNothing) {
  mount(volume());
  clickToolbar("ImportItem");
  const std::string other = mount(volume(), "other.hda");
  confirmPanel({writeHostFile("SNARE.E4B", patternBytes(50))});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(namesOnImage(other, {"Drums"}).size(), 1U);
  EXPECT_FALSE(controller_->spinner()->isVisible());
}

TEST_F(Import, FinishedAfterTheImageWasReplacedOnlyStopsTheSpinner) {
  const std::string path = mount(fullVolume());
  HeldQueue queue(*controller_->filesystem());
  clickToolbar("ImportItem");
  confirmPanel({writeHostFile("SNARE.E4B", patternBytes(50))});
  clickToolbar("UnmountItem");
  AlertAnswers answers;
  queue.letGo();
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(answers.shown().empty()) << "it failed, on an image that nobody looks at";
  EXPECT_FALSE(controller_->spinner()->isVisible());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
}

TEST_F(Import, AlertDismissedAfterTheImageWasReplacedLeavesTheStatusAlone) {
  mount(fullVolume());
  QTimer answers;
  answers.callOnTimeout([&] {
    auto *alert = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!alert) return;
    answers.stop();
    controller_->_unmountImage();
    alert->close();
  });
  answers.start(5);
  import({writeHostFile("ONE.E4B", patternBytes(50))});
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
}

} // namespace
} // namespace tessary::test
