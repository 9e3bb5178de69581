// File, New Image…: its question, its panel, and the image that comes of them.

#include "app/NewImageAlert.h"
#include "app/RecentImages.h"
#include "tests/app/SheetTest.h"
#include "tests/support/MountedVolume.h"

#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <filesystem>
#include <sys/resource.h>

namespace tessary::test {
namespace {

class NewImage : public SheetTest {
protected:
  NewImage() { putMenuBar(); }

  NewImageAlert &ask() {
    menuItem("File", "New Image…")->trigger();
    return asked();
  }
  NewImageAlert &asked() const {
    auto *alert = sheet<NewImageAlert>();
    if (!alert) throw std::runtime_error("nothing is asked about a new image");
    return *alert;
  }
  QRadioButton *choice(const QString &text) const {
    for (auto *button : asked().findChildren<QRadioButton *>())
      if (button->text() == text) return button;
    return nullptr;
  }
  QString blocks() const { return asked().findChild<QLabel *>(QStringLiteral("Blocks"))->text(); }
  void typeSize(const QString &size) const {
    QLineEdit *field = asked().findChild<QComboBox *>()->lineEdit();
    field->selectAll();
    QTest::keyClicks(field, size);
  }
  /// Presses "Create…" and then chooses the file.
  void createAt(const std::string &path) {
    clickButton(&asked(), "Create…");
    confirmPanel({path});
    ASSERT_TRUE(waitUntilIdle());
  }
  void createOfSize(const QString &size, const std::string &path) {
    ask();
    typeSize(size);
    createAt(path);
  }
  /// Chooses the image that the new one is to be like.
  void chooseModel(const std::string &path) {
    for (auto *button : asked().findChildren<QPushButton *>())
      if (button->text().endsWith(QChar(0x2026)) && button != asked().defaultButton())
        QTest::mouseClick(button, Qt::LeftButton);
    choosePaths(asked().findChild<QFileDialog *>(), {path});
  }
  void expectEmptyAndSound(const std::string &path) const {
    const EMU3FilesystemPtr volume = readAnew(path);
    EXPECT_TRUE(volume->check().empty());
    EXPECT_EQ(volume->rootDirectory()->subdirectories().size() + volume->rootDirectory()->allFiles().size(),
              0U);
    EXPECT_EQ(volume->describedBlocks(), volume->totalBlocks());
  }

  const std::string new_ = folder_.path("new.hda");
};

TEST_F(NewImage, CanBeMadeWithoutAnImage) {
  EXPECT_TRUE(menuItem("File", "New Image…")->isEnabled());
  createOfSize("2 MB", new_);
  EXPECT_EQ(std::filesystem::file_size(new_), 2U << 20);
  expectEmptyAndSound(new_);
  EXPECT_EQ(title(), "Tessary — new.hda") << "it is mounted at once";
  EXPECT_EQ(controller_->filesystem()->imageURL(), new_);
  EXPECT_FALSE(controller_->filesystem()->isReadOnly());
  EXPECT_EQ(RecentImages::paths().front(), new_);
}

TEST_F(NewImage, KeyAsksForOne) {
  pressKeyIn(window(), Qt::Key_N, Qt::ControlModifier);
  EXPECT_EQ(asked().text(), "New Image");
  answerSheet("Cancel");
  EXPECT_EQ(sheet<QFileDialog>(), nullptr);
}

TEST_F(NewImage, TellsThatAHeaderOfItsOwnHasNotBeenTried) {
  ask();
  QStringList texts;
  for (const auto *label : asked().findChildren<QLabel *>())
    if (label->isVisible()) texts += label->text();
  EXPECT_TRUE(texts.join(' ').contains(
      QStringLiteral("A header made without another disk’s has not been tried in a sampler.")))
      << texts.join(' ').toStdString();
  answerSheet("Cancel");
}

TEST_F(NewImage, WithoutAnImageProposesASize) {
  ask();
  EXPECT_TRUE(choice("Size:")->isChecked());
  EXPECT_EQ(asked().size(), "512 MB");
  EXPECT_EQ(blocks(), "1048576 blocks");
  answerSheet("Cancel");
}

TEST_F(NewImage, ReturnConfirmsTheSizeAsItWasTyped) {
  ask();
  type("1 MB");
  EXPECT_EQ(asked().size(), "1 MB");
  pressKey(Qt::Key_Return);
  ASSERT_NE(sheet<QFileDialog>(), nullptr);
  EXPECT_EQ(sheet<NewImageAlert>(), nullptr);
  confirmPanel({new_});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(std::filesystem::file_size(new_), 1U << 20);
}

TEST_F(NewImage, WithAnImageProposesOneLikeIt) {
  ImageBuilder image({.sizeBytes = 8 * kMiB + 100, .slotSizeBlocks = 128});
  image.root().addFile("KICK", bytesOf("kick"));
  image.poke(100, "made by a sampler");
  const std::string model = mount(image);
  ask();
  EXPECT_TRUE(choice("Like the disk image:")->isChecked());
  createAt(new_);
  EXPECT_EQ(readBytes(new_, 0, 512), readBytes(model, 0, 512));
  EXPECT_EQ(std::filesystem::file_size(new_), 8 * kMiB + 100);
  expectEmptyAndSound(new_);
  EXPECT_EQ(controller_->filesystem()->imageURL(), new_);
  EXPECT_EQ(namesOnImage(model, {}), std::vector<std::string>{"KICK"});
}

TEST_F(NewImage, CanBeLikeAnImageThatIsNotMounted) {
  ImageBuilder image({.sizeBytes = 4 * kMiB, .slotSizeBlocks = 128});
  image.poke(100, "made by a sampler");
  const std::string model = writeImage(image, "model.hda");
  ask();
  chooseModel(model);
  EXPECT_TRUE(choice("Like the disk image:")->isChecked());
  createAt(new_);
  EXPECT_EQ(readBytes(new_, 0, 512), readBytes(model, 0, 512));
}

TEST_F(NewImage, GoesBackToTheSizeWhereNoModelIsChosen) {
  ask();
  choice("Like the disk image:")->click();
  auto *chooser = asked().findChild<QFileDialog *>();
  ASSERT_NE(chooser, nullptr);
  chooser->reject();
  EXPECT_TRUE(choice("Size:")->isChecked());
  answerSheet("Cancel");
}

TEST_F(NewImage, SizeThatNoVolumeCanHaveLeavesTheQuestionUpWithTheReason) {
  ask();
  for (const auto &[size, reason] :
       {std::pair{"63 KB", "A volume has from 64 KiB to 32 GiB, in whole blocks of 512 bytes"},
        {"33 GB", "A volume has from 64 KiB to 32 GiB, in whole blocks of 512 bytes"},
        {"100000", "A volume has from 64 KiB to 32 GiB, in whole blocks of 512 bytes"},
        {"much", "“much” is no size. Write one as 512 MB or 2 GB."}}) {
    SCOPED_TRACE(size);
    typeSize(size);
    EXPECT_EQ(blocks(), "From 64 KB to 32 GB");
    const AlertAnswers alerts;
    clickButton(&asked(), "Create…");
    ASSERT_EQ(alerts.shown().size(), 1U);
    EXPECT_EQ(alerts.shown().front().message, QString::fromUtf8(reason));
    EXPECT_EQ(asked().size(), size);
  }
  typeSize("1 MB");
  EXPECT_EQ(blocks(), "2048 blocks");
  createAt(new_);
  expectEmptyAndSound(new_);
}

TEST_F(NewImage, GetsTheExtensionOfImages) {
  createOfSize("1 MB", folder_.path("plain"));
  EXPECT_TRUE(std::filesystem::exists(folder_.path("plain.hda")));
}

TEST_F(NewImage, PanelAsksBeforeItReplacesAFile) {
  writeText(new_, "earlier");
  ask();
  typeSize("1 MB");
  clickButton(&asked(), "Create…");
  {
    const AlertAnswers no("No");
    confirmPanel({new_});
    ASSERT_EQ(no.shown().size(), 1U);
    EXPECT_TRUE(no.shown().front().message.contains("new.hda"));
  }
  EXPECT_EQ(readText(new_), "earlier");
  const AlertAnswers yes("Yes");
  confirmPanel({new_});
  ASSERT_TRUE(waitUntilIdle());
  expectEmptyAndSound(new_);
}

TEST_F(NewImage, NeverReplacesTheMountedImage) {
  const std::string path = mount(volume());
  const Bytes before = readBytes(path);
  const EMU3FilesystemPtr mounted = controller_->filesystem();
  ask();
  typeSize("1 MB");
  clickButton(&asked(), "Create…");
  {
    const AlertAnswers yes("Yes");
    confirmPanel({path});
  }
  const AlertAnswers alerts;
  ASSERT_TRUE(QTest::qWaitFor([&] { return !alerts.shown().empty(); }, 30000));
  EXPECT_EQ(alerts.shown().front().message, QStringLiteral("Cannot Make “disk.hda”"));
  EXPECT_TRUE(alerts.shown().front().informativeText.endsWith("This is a mounted image"));
  EXPECT_EQ(status(), "The new image was not made.");
  EXPECT_EQ(readBytes(path), before);
  EXPECT_EQ(controller_->filesystem(), mounted);
}

TEST_F(NewImage, TellsWhyTheHostDoesNotTakeIt) {
  // No file of this process may be longer than this.
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  ::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{1 << 20, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &small);
  const AlertAnswers alerts;
  createOfSize("2 MB", new_);
  ::setrlimit(RLIMIT_FSIZE, &before);
  ASSERT_TRUE(QTest::qWaitFor([&] { return !alerts.shown().empty(); }, 30000));
  EXPECT_TRUE(alerts.shown().front().informativeText.endsWith("File too large"));
  EXPECT_EQ(status(), "The new image was not made.");
  EXPECT_FALSE(std::filesystem::exists(new_));
}

TEST_F(NewImage, TellsWhyAModelIsNotTaken) {
  const std::string model = writeImage(ImageBuilder(VolumeLayout::zeroHeader(4 * kMiB)), "short.hda");
  ask();
  chooseModel(model);
  const AlertAnswers alerts;
  createAt(new_);
  ASSERT_TRUE(QTest::qWaitFor([&] { return !alerts.shown().empty(); }, 30000));
  EXPECT_EQ(alerts.shown().front().informativeText,
            "The allocation table is too short for the volume: It describes 1024 of 8192 blocks");
  EXPECT_FALSE(std::filesystem::exists(new_));
}

} // namespace
} // namespace tessary::test
