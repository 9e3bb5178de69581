#include "app/AboutPanel.h"
#include "app/AppDelegate.h"
#include "app/Spinner.h"
#include "app/StatusBar.h"
#include "tests/app/WindowTest.h"
#include "tests/support/HostFiles.h"

#include <QApplication>
#include <QFileOpenEvent>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>
#include <atomic>
#include <filesystem>
#include <semaphore>

namespace tessary::test {
namespace {

class Launch : public testing::Test {
protected:
  ~Launch() override { EXPECT_TRUE(waitUntilIdle()); }

  void launch(const std::vector<std::string> &arguments = {}) {
    std::vector<std::string> all{"tessary"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    delegate_ = std::make_unique<AppDelegate>(all);
    delegate_->applicationDidFinishLaunching();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window()));
  }

  MainWindowController *controller() const { return delegate_->mainWC(); }
  MainWindow *window() const { return controller()->window(); }
  QString status() const { return controller()->statusLabel()->text(); }
  QMenu *menu(const QString &title) const {
    for (const QAction *item : window()->menuBar()->actions())
      if (item->text() == title) return item->menu();
    throw std::runtime_error("the menu bar has no menu " + title.toStdString());
  }
  QStringList itemsOf(const QString &title) const {
    QStringList items;
    for (const QAction *item : menu(title)->actions())
      items += item->isSeparator() ? QStringLiteral("-") : item->text();
    return items;
  }
  void chooseFromAppMenu(const QString &text) const {
    chooseFromMenuBar(window()->menuBar(), QStringLiteral("Tessary"), text);
  }

  std::string image(const std::string &name = "disk.hda") const {
    ImageBuilder image;
    image.root().addFolder("Drums").addFile("KICK");
    image.writeTo(folder_.path(name));
    return folder_.path(name);
  }

  TemporaryFolder folder_;
  std::unique_ptr<AppDelegate> delegate_;
};

// ---- Command line

TEST_F(Launch, WithoutArgumentsShowsAnEmptyWindow) {
  launch();
  EXPECT_TRUE(window()->isVisible());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_EQ(window()->centralWidget()->size(), QSize(1200, 700));
}

TEST_F(Launch, WithAPathThatDoesNotExistShowsAnEmptyWindowInSilence) {
  AlertAnswers answers;
  const BeepCounter beeps;
  launch({folder_.path("missing.hda")});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  EXPECT_TRUE(answers.shown().empty());
  EXPECT_EQ(beeps.count(), 0);
}

TEST_F(Launch, WithAnEmptyArgumentShowsAnEmptyWindow) {
  launch({""});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
}

TEST_F(Launch, WithAnImageOpensIt) {
  launch({image()});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Drums — 1 file(s)"));
  EXPECT_EQ(window()->windowHandle()->title(), QStringLiteral("Tessary — disk.hda"));
}

TEST_F(Launch, WithSeveralImagesOpensAWindowForEach) {
  launch({image(), image("second.hda"), folder_.path("missing.hda"), image("third.hda")});
  ASSERT_TRUE(waitUntilIdle());
  QStringList titles;
  for (const MainWindowController *each : delegate_->windows().windows())
    titles += each->window()->windowTitle();
  titles.sort();
  EXPECT_EQ(titles, (QStringList{"Tessary — disk.hda", "Tessary — second.hda", "Tessary — third.hda"}));
}

TEST_F(Launch, ImageThatDoesNotOpenLeavesItsWindowToTheNext) {
  const std::string notes = folder_.path("notes.txt");
  writeText(notes, "notes");
  AlertAnswers answers;
  launch({notes});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_TRUE(delegate_->application(image()));
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(delegate_->windows().windows().size(), 1U);
  EXPECT_EQ(window()->windowTitle(), QStringLiteral("Tessary — disk.hda"));
}

TEST_F(Launch, WithAnExistingPathThatIsNoImageReportsTheError) {
  const std::string path = folder_.path("notes.txt");
  writeText(path, "notes");
  AlertAnswers answers;
  launch({path});
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(answers.shown()[0].informativeText,
            QStringLiteral("notes.txt: File too small to be an E-MU disk image"));
  EXPECT_EQ(status(), QStringLiteral("Failed to open image."));
}

TEST_F(Launch, WithAFolderReportsTheError) {
  AlertAnswers answers;
  launch({folder_.path()});
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_TRUE(answers.shown()[0].informativeText.endsWith(QStringLiteral(": mmap failed: Is a directory")));
}

TEST_F(Launch, RelativePathIsTakenFromTheCurrentFolder) {
  image();
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.path());
  launch({"disk.hda"});
  std::filesystem::current_path(before);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Drums — 1 file(s)"));
}

// ---- Menu bar

TEST_F(Launch, MenuBarBeginsWithTheApplicationsMenu) {
  launch();
  QStringList titles;
  for (const QAction *item : window()->menuBar()->actions())
    titles += item->text();
  EXPECT_EQ(titles, (QStringList{"Tessary", "File", "Edit", "Folder", "View", "Window", "Help"}));
  EXPECT_EQ(itemsOf("Tessary"), (QStringList{"About Tessary", "-", "Quit Tessary"}));
  EXPECT_TRUE(menu("Tessary")->actions()[0]->shortcut().isEmpty());
  EXPECT_EQ(menu("Tessary")->actions()[2]->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
}

TEST_F(Launch, AboutShowsAModalPanelThatReturnCloses) {
  launch();
  int shown = 0;
  QTimer look;
  look.callOnTimeout([&] {
    auto *panel = qobject_cast<AboutPanel *>(QApplication::activeModalWidget());
    if (!panel || QApplication::activeWindow() != panel) return;
    ++shown;
    EXPECT_EQ(panel->windowModality(), Qt::ApplicationModal);
    QTest::keyClick(panel->windowHandle(), Qt::Key_Return);
  });
  look.start(5);
  chooseFromAppMenu(QStringLiteral("About Tessary"));
  EXPECT_EQ(shown, 1);
  EXPECT_TRUE(window()->findChildren<AboutPanel *>().isEmpty()) << "each call builds a new panel";
}

// ---- Open requests

TEST_F(Launch, DocumentHandedOverByTheDesktopOpensInTheEmptyWindow) {
  launch();
  QFileOpenEvent event(QString::fromStdString(image()));
  QApplication::sendEvent(qApp, &event);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(status(), QStringLiteral("Drums — 1 file(s)"));
}

TEST_F(Launch, DocumentThatDoesNotOpenIsReportedAndAnsweredWithSuccess) {
  launch();
  AlertAnswers answers;
  EXPECT_TRUE(delegate_->application(folder_.path("missing.hda")));
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(status(), QStringLiteral("Failed to open image."));
}

TEST_F(Launch, OpenCommandIsHandedOnToTheWindow) {
  launch();
  delegate_->_openImage();
  auto *panel = window()->findChild<QDialog *>();
  ASSERT_NE(panel, nullptr);
  EXPECT_EQ(panel->windowTitle(), QStringLiteral("Select an E-MU Sampler disk image (.hda)"));
  panel->reject();
}

// ---- Ending

class Quitting : public Launch {
protected:
  /// Runs the application as main() does. Fails the test when it has not ended after ten seconds.
  void run() {
    bool late = false;
    QTimer limit;
    limit.setSingleShot(true);
    limit.callOnTimeout([&] {
      late = true;
      QCoreApplication::exit(1);
    });
    limit.start(10000);
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_FALSE(late);
  }
};

TEST_F(Quitting, ClosingTheWindowEndsTheApplication) {
  launch();
  EXPECT_TRUE(delegate_->applicationShouldTerminateAfterLastWindowClosed());
  QTimer::singleShot(0, window(), &QWidget::close);
  run();
}

TEST_F(Quitting, QuitItemAndItsKeyEndTheApplication) {
  launch();
  QTimer::singleShot(0, window(), [this] { chooseFromAppMenu(QStringLiteral("Quit Tessary")); });
  run();
  launch();
  activate(window());
  QTimer::singleShot(0, window(), [this] { pressKeyIn(window(), Qt::Key_Q, Qt::ControlModifier); });
  run();
}

TEST_F(Quitting, DesktopsQuitRequestEndsTheApplication) {
  launch();
  QTimer::singleShot(0, window(), [] {
    QEvent event(QEvent::Quit);
    QApplication::sendEvent(qApp, &event);
  });
  run();
}

TEST_F(Quitting, WaitsForQueuedWorkOutOfSightAndThenEnds) {
  launch({image()});
  ASSERT_TRUE(waitUntilIdle());
  std::binary_semaphore go(0);
  std::atomic<bool> finished = false;
  controller()->filesystem()->ioQueue().async([&] {
    go.acquire();
    finished = true;
  });
  bool visible = true, eventsRun = false;
  QTimer::singleShot(0, window(), [this] { window()->close(); });
  QTimer::singleShot(100, window(), [&] {
    eventsRun = true;
    visible = window()->isVisible();
    EXPECT_FALSE(finished);
    go.release();
  });
  run();
  EXPECT_TRUE(eventsRun) << "the event loop was kept";
  EXPECT_FALSE(visible);
  EXPECT_TRUE(finished);
}

TEST_F(Quitting, OpeningThatFailsMeanwhileRaisesNoAlert) {
  launch();
  AlertAnswers answers;
  const std::string path = image();
  std::binary_semaphore go(0);
  SerialQueue queue("com.tessary.test");
  queue.async([&] { go.acquire(); }); // keeps the event loop
  controller()->openImageAtURL(folder_.path("missing.hda"));
  controller()->prepareToQuit();
  delegate_->terminate();
  QTimer::singleShot(200, window(), [&] { go.release(); });
  run();
  EXPECT_TRUE(answers.shown().empty());
  EXPECT_EQ(controller()->spinner()->users(), 0);
}

} // namespace
} // namespace tessary::test
