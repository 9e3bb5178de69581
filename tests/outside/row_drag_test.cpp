#include "app/DragPicture.h"
#include "app/SidebarController.h"
#include "tests/app/FileCommandTest.h"
#include "tests/support/MountedVolume.h"

#include <QApplication>
#include <QDrag>
#include <QImage>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QUrl>
#include <deque>
#include <filesystem>
#include <functional>
#include <unistd.h>

namespace tessary {
namespace {

using test::bytesOf;
using test::filesOnImage;
using test::ImageBuilder;
using test::namesOnImage;
using test::StoredFiles;

const std::vector<std::string> kDrums = {"Drums"};
const std::vector<std::string> kPads = {"Pads"};

/// Counts the drops that reach a widget.
class DropCounter final : public QObject {
public:
  explicit DropCounter(QWidget *widget) { widget->installEventFilter(this); }
  int count() const { return count_; }

protected:
  bool eventFilter(QObject *, QEvent *event) override {
    if (event->type() == QEvent::Drop) ++count_;
    return false;
  }

private:
  int count_ = 0;
};

/// A hand on the mouse while a drag out of a window runs its own event loop: does one step after the other,
/// with pauses in which the drag answers. It waits for the drag to begin.
class Hand {
public:
  explicit Hand(const QWidget *window) : window_(window) {
    timer_.callOnTimeout([this] { doNext(); });
  }
  void then(std::function<void()> step) { steps_.push_back(std::move(step)); }
  void start() {
    constexpr int millisecondsBetweenSteps = 30;
    timer_.start(millisecondsBetweenSteps);
  }

private:
  void doNext() {
    if (steps_.empty() || !window_->findChild<QDrag *>()) return;
    const std::function<void()> step = std::move(steps_.front());
    steps_.pop_front();
    step();
  }

  const QWidget *const window_;
  QTimer timer_;
  std::deque<std::function<void()>> steps_;
};

/// Real drags of the table's rows with the mouse; they need a window system that knows drags.
class RowDrag : public test::FileCommandTest {
protected:
  void SetUp() override {
    if (QGuiApplication::platformName() != QLatin1String("xcb")) GTEST_SKIP() << "needs an X server";
  }

  /// "Drums" with three files is shown, "Pads" with one is not.
  void mountDrumsAndPads() {
    ImageBuilder image;
    auto drums = image.root().addFolder("Drums");
    drums.addFile("KICK", bytesOf("kick"));
    drums.addFile("SNARE", bytesOf("snare"));
    drums.addFile("A.B.C", bytesOf("dots"));
    image.root().addFolder("Pads").addFile("CHOIR", bytesOf("choir"));
    path_ = mount(image);
  }

  struct Target {
    QWidget *widget;
    QPoint place;
  };
  Target folder(const QStringList &path) const {
    return {outline()->viewport(), outline()->visualRect(folderItem(path)).center()};
  }
  Target rootArea() const { return {outline()->viewport(), test::emptyPlace(outline())}; }
  Target tableArea() const { return {table()->viewport(), test::emptyPlace(table())}; }

  /// Takes hold of the row, moves to the target, does `whileThere` and lets go.
  void dragRow(const QString &file, const Target &target, const std::function<void()> &whileThere = {}) {
    dragRow(fileItem(file), target, whileThere);
  }
  void dragRow(const QModelIndex &file, const Target &target, const std::function<void()> &whileThere = {}) {
    const QPoint row = inWindow(table()->viewport(), table()->visualRect(file).center());
    QWindow *handle = window()->windowHandle();
    Hand hand(window());
    moveAndLetGo(hand, target, whileThere);
    QTest::mousePress(handle, Qt::LeftButton, {}, row);
    QTest::mouseMove(handle, row + QPoint(8, 0));
    hand.start();
    QTest::mouseMove(handle, row + QPoint(30, 0)); // returns when the drag is over
    EXPECT_TRUE(test::waitUntilIdle());
  }

  /// Drags what the test made up.
  Qt::DropAction drag(QWidget *source, QMimeData *data, Qt::DropActions actions, const Target &target,
                      const std::function<void()> &whileThere = {}) {
    Hand hand(window());
    moveAndLetGo(hand, target, whileThere);
    hand.start();
    auto *drag = new QDrag(source);
    drag->setMimeData(data);
    return drag->exec(actions);
  }

  /// The drag that goes on.
  const QDrag *dragOfRows() const { return table()->findChild<QDrag *>(); }

  static Qt::CursorShape cursor() {
    const QCursor *shown = QGuiApplication::overrideCursor();
    return shown ? shown->shape() : Qt::ArrowCursor;
  }

  std::size_t exportedCopies() const {
    const std::string folder = folder_.path("tmp/tessary-" + std::to_string(::geteuid()) + "/EMU3Drag");
    return std::filesystem::exists(folder) ? test::namesIn(folder).size() : 0;
  }

  std::string path_;

private:
  QPoint inWindow(const QWidget *widget, const QPoint &place) const { return widget->mapTo(window(), place); }

  void moveAndLetGo(Hand &hand, const Target &target, const std::function<void()> &whileThere) {
    QWindow *handle = window()->windowHandle();
    const QPoint end = inWindow(target.widget, target.place);
    for (const QPoint &place : {end + QPoint(3, 0), end})
      hand.then([handle, place] { QTest::mouseMove(handle, place); });
    if (whileThere) hand.then(whileThere);
    hand.then([handle, end] { QTest::mouseRelease(handle, Qt::LeftButton, {}, end); });
    hand.then([] { QDrag::cancel(); }); // of one that a sheet kept from ending
  }
};

TEST_F(RowDrag, OntoAnotherFolderCopies) {
  mountDrumsAndPads();
  dragRow("SNARE", folder({"Pads"}), [] { EXPECT_EQ(cursor(), Qt::DragCopyCursor); });
  EXPECT_EQ(status(), "Copied 1 file(s).");
  EXPECT_EQ(fileNames(), (QStringList{"CHOIR", "SNARE"}));
  EXPECT_EQ(highlightedLabel(), "Pads (2)");
  EXPECT_EQ(filesOnImage(path_, kPads),
            (StoredFiles{{"CHOIR", bytesOf("choir")}, {"SNARE", bytesOf("snare")}}));
  EXPECT_EQ(namesOnImage(path_, kDrums), (std::vector<std::string>{"KICK", "SNARE", "A.B.C"}));
}

TEST_F(RowDrag, OfSeveralRowsCopiesThemInRowOrder) {
  mountDrumsAndPads();
  chooseFiles({"A.B.C", "KICK"});
  dragRow("KICK", folder({"Pads"}));
  EXPECT_EQ(status(), "Copied 2 file(s).");
  EXPECT_EQ(namesOnImage(path_, kPads), (std::vector<std::string>{"CHOIR", "KICK", "A.B.C"}));
}

TEST_F(RowDrag, ExportsNothingInsideTheWindow) {
  mountDrumsAndPads();
  chooseFiles({"KICK", "SNARE"});
  dragRow("SNARE", folder({"Pads"}), [this] { EXPECT_EQ(exportedCopies(), 0U); });
  EXPECT_EQ(status(), "Copied 2 file(s).");
  EXPECT_EQ(exportedCopies(), 0U);
}

TEST_F(RowDrag, LetGoNowhereExportsNothing) {
  mountDrumsAndPads();
  chooseFiles({"KICK", "SNARE"});
  dragRow("SNARE", tableArea());
  EXPECT_EQ(exportedCopies(), 0U);
}

TEST_F(RowDrag, OntoTheEmptyAreaCopiesIntoTheRoot) {
  mountDrumsAndPads();
  dragRow("KICK", rootArea());
  EXPECT_EQ(status(), "Copied 1 file(s).");
  EXPECT_EQ(fileNames(), QStringList{"KICK"});
  EXPECT_EQ(filesOnImage(path_, {}), (StoredFiles{{"KICK", bytesOf("kick")}}));
}

TEST_F(RowDrag, OntoTheFolderItIsInIsRefused) {
  mountDrumsAndPads();
  const QString before = status();
  const DropCounter drops(outline()->viewport());
  dragRow("KICK", folder({"Drums"}), [] { EXPECT_EQ(cursor(), Qt::ForbiddenCursor); });
  EXPECT_EQ(drops.count(), 0);
  EXPECT_EQ(status(), before);
  EXPECT_EQ(namesOnImage(path_, kDrums), (std::vector<std::string>{"KICK", "SNARE", "A.B.C"}));
}

TEST_F(RowDrag, OntoTheTableItselfIsRefused) {
  mountDrumsAndPads();
  const QString before = status();
  const DropCounter drops(table()->viewport());
  dragRow("KICK", tableArea(), [] { EXPECT_EQ(cursor(), Qt::ForbiddenCursor); });
  EXPECT_EQ(drops.count(), 0);
  EXPECT_EQ(status(), before);
  EXPECT_EQ(namesOnImage(path_, kDrums), (std::vector<std::string>{"KICK", "SNARE", "A.B.C"}));
}

TEST_F(RowDrag, OnAReadOnlyImageIsRefusedEverywhere) {
  ImageBuilder image;
  image.root().addFolder("Drums").addFile("KICK", bytesOf("kick"));
  image.root().addFolder("Pads");
  mountReadOnly(image);
  const DropCounter drops(outline()->viewport());
  dragRow("KICK", folder({"Pads"}), [] { EXPECT_EQ(cursor(), Qt::ForbiddenCursor); });
  dragRow("KICK", rootArea(), [] { EXPECT_EQ(cursor(), Qt::ForbiddenCursor); });
  EXPECT_EQ(drops.count(), 0);
}

TEST_F(RowDrag, ExactlyOneExtensionIsTakenOffTheName) {
  mountDrumsAndPads();
  dragRow("A.B.C", folder({"Pads"}));
  EXPECT_EQ(filesOnImage(path_, kPads),
            (StoredFiles{{"CHOIR", bytesOf("choir")}, {"A.B.C", bytesOf("dots")}}));
}

TEST_F(RowDrag, NamesThatTheHostCannotBearAreFoundAgain) {
  const std::vector<std::string> names = {"A/B", "..", "%41", ".hidden", "C.", "T\tAB", " x. y"};
  ImageBuilder image;
  auto odd = image.root().addFolder("Odd");
  for (const std::string &name : names)
    odd.addFile(name, bytesOf(name));
  image.root().addFolder("Other");
  const std::string path = mount(image);
  table()->selectAll();
  dragRow("A/B", folder({"Other"}));
  EXPECT_EQ(status(), "Copied 7 file(s).");
  StoredFiles expected;
  for (const std::string &name : names)
    expected.emplace_back(name, bytesOf(name));
  EXPECT_EQ(filesOnImage(path, {"Other"}), expected);
}

TEST_F(RowDrag, OfTheSecondFileOfOneNameCopiesThatOne) {
  ImageBuilder image;
  auto twins = image.root().addFolder("Twins");
  twins.addFile("TWIN", bytesOf("one"));
  twins.addFile("TWIN", bytesOf("two"));
  image.root().addFolder("Other");
  const std::string path = mount(image);
  dragRow(table()->model()->index(1, 0), folder({"Other"}));
  EXPECT_EQ(status(), "Copied 1 file(s).");
  EXPECT_EQ(filesOnImage(path, {"Other"}), (StoredFiles{{"TWIN", bytesOf("two")}}));
}

TEST_F(RowDrag, OfSeveralFilesOfOneNameCopiesEach) {
  ImageBuilder image;
  auto twins = image.root().addFolder("Twins");
  twins.addFile("TWIN", bytesOf("one"));
  twins.addFile("TWIN", bytesOf("two"));
  twins.addFile("LAST", bytesOf("last"));
  image.root().addFolder("Other");
  const std::string path = mount(image);
  table()->selectAll();
  dragRow("LAST", folder({"Other"}));
  EXPECT_EQ(filesOnImage(path, {"Other"}),
            (StoredFiles{{"TWIN", bytesOf("one")}, {"TWIN", bytesOf("two")}, {"LAST", bytesOf("last")}}));
}

TEST_F(RowDrag, NamesThatDifferInCaseAloneAreDifferentFiles) {
  ImageBuilder image;
  auto drums = image.root().addFolder("Drums");
  drums.addFile("Kick", bytesOf("soft"));
  drums.addFile("KICK", bytesOf("loud"));
  image.root().addFolder("Pads");
  const std::string path = mount(image);
  dragRow("KICK", folder({"Pads"}));
  EXPECT_EQ(filesOnImage(path, kPads), (StoredFiles{{"KICK", bytesOf("loud")}}));
}

TEST_F(RowDrag, PictureNamesTheFilesThatComeAlong) {
  mountDrumsAndPads();
  chooseFiles({"KICK", "SNARE", "A.B.C"});
  bool looked = false;
  dragRow("KICK", folder({"Drums"}), [&] {
    EXPECT_EQ(dragOfRows()->pixmap().toImage(), dragPicture({"KICK", "SNARE", "A.B.C"}, *table()).toImage());
    looked = true;
  });
  EXPECT_TRUE(looked);
}

TEST_F(RowDrag, AcceptedBeforeTheTargetWasTheFolderShownDoesNothing) {
  mountDrumsAndPads();
  const QString before = status();
  bool handedOn = false;
  dragRow("KICK", folder({"Drums"}), [&] {
    handedOn = outline()->model()->dropMimeData(dragOfRows()->mimeData(), Qt::CopyAction, -1, -1,
                                                folderItem({"Drums"}));
  });
  EXPECT_TRUE(handedOn);
  EXPECT_EQ(status(), before);
  EXPECT_EQ(namesOnImage(path_, kDrums), (std::vector<std::string>{"KICK", "SNARE", "A.B.C"}));
}

TEST_F(RowDrag, FilesThatGoWhileTheyAreDraggedAreSkipped) {
  mountDrumsAndPads();
  const QString before = status();
  const EMU3DirectoryPtr drums = controller_->currentDirectory();
  dragRow("KICK", folder({"Pads"}),
          [&] { EXPECT_TRUE(controller_->filesystem()->deleteFile(test::fileNamed(drums, "KICK"), drums)); });
  EXPECT_EQ(status(), before);
  EXPECT_EQ(namesOnImage(path_, kPads), std::vector<std::string>{"CHOIR"});
}

TEST_F(RowDrag, EndsWhenTheRowsAreNoLongerShown) {
  mountDrumsAndPads();
  ImageBuilder other;
  other.root().addFolder("Other").addFile("KICK", bytesOf("another kick"));
  other.root().addFolder("Pads");
  const std::string otherPath = writeImage(other, "other.hda");
  dragRow("KICK", folder({"Pads"}), [&] {
    controller_->openImageAtURL(otherPath);
    EXPECT_TRUE(QTest::qWaitFor([this] { return fileNames() == QStringList{"KICK"}; }));
  });
  EXPECT_TRUE(namesOnImage(otherPath, {"Pads"}).empty()) << "the file of that name is another one";
  EXPECT_EQ(namesOnImage(path_, kPads), std::vector<std::string>{"CHOIR"});
}

TEST_F(RowDrag, WithoutTheWindowsCallbackIsOfferedAsAMove) {
  mountDrumsAndPads();
  SidebarController *sidebar = controller_->sidebarCtl();
  sidebar->setValidateDropBlock({});
  bool wasInternal = false;
  sidebar->setDropReceived([&](const auto &, const auto &, bool internal) { wasInternal = internal; });
  const auto makeData = [] {
    auto data = std::make_unique<QMimeData>();
    data->setUrls({QUrl(QStringLiteral("file:///KICK.E4B"))});
    return data.release();
  };
  EXPECT_EQ(drag(table(), makeData(), Qt::CopyAction | Qt::MoveAction, folder({"Pads"})), Qt::MoveAction);
  EXPECT_TRUE(wasInternal);
  wasInternal = false;
  EXPECT_EQ(drag(table(), makeData(), Qt::CopyAction, folder({"Pads"})), Qt::IgnoreAction)
      << "the table's rows can only be copied";
  EXPECT_FALSE(wasInternal);
}

TEST_F(RowDrag, FromElsewhereInTheApplicationIsNotInternal) {
  mountDrumsAndPads();
  auto data = std::make_unique<QMimeData>();
  data->setUrls({QUrl::fromLocalFile(QString::fromStdString(writeHostFile("KICK.E4B", bytesOf("new"))))});
  EXPECT_EQ(drag(outline(), data.release(), Qt::CopyAction, folder({"Drums"})), Qt::CopyAction);
  ASSERT_TRUE(test::waitUntilIdle());
  EXPECT_EQ(status(), "Imported 1 file(s) into 'Drums'.");
}

TEST_F(RowDrag, NothingIsTakenWhileASheetIsUp) {
  mountDrumsAndPads();
  QMessageBox sheet(window());
  sheet.setText(QStringLiteral("A question"));
  sheet.open();
  const DropCounter onTable(table()->viewport());
  const DropCounter onOutline(outline()->viewport());
  const std::string file = writeHostFile("Hat", bytesOf("hat"));
  for (const Target &target : {tableArea(), folder({"Pads"})}) {
    auto data = std::make_unique<QMimeData>();
    data->setUrls({QUrl::fromLocalFile(QString::fromStdString(file))});
    EXPECT_EQ(drag(outline(), data.release(), Qt::CopyAction, target), Qt::IgnoreAction);
  }
  EXPECT_EQ(onTable.count() + onOutline.count(), 0);
  sheet.close();
}

TEST_F(RowDrag, FolderOpensWhenADragRestsOnIt) {
  ImageBuilder image;
  auto drums = image.root().addFolder("Drums");
  drums.addFile("KICK", bytesOf("kick"));
  image.root().addFolder("Outer").addFolder("Inner");
  const std::string path = mount(image);
  const Target outer = folder({"Outer"});
  QCursor::setPos(outline()->viewport()->mapToGlobal(outer.place));
  dragRow("KICK", outer, [this] {
    EXPECT_TRUE(QTest::qWaitFor([this] { return outline()->isExpanded(folderItem({"Outer"})); }));
  });
  EXPECT_EQ(outlineLabels().size(), 3);
}

} // namespace
} // namespace tessary
