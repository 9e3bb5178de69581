#include "tests/app/LongWorkTest.h"

#include "app/StatusBar.h"
#include "app/progress/WorkBar.h"

#include <QPushButton>
#include <QTest>

namespace tessary::test {
namespace {

constexpr int kLongestWait = 30000;

std::string numbered(const char *name, int number) {
  const std::string digits = std::to_string(number);
  return name + std::string(4 - digits.size(), '0') + digits;
}

} // namespace

void LongWorkTest::TearDown() {
  medium_.letGo();
  EXPECT_TRUE(waitUntilIdle());
}

WorkBar *LongWorkTest::bar() const {
  return window()->findChild<WorkBar *>();
}

QPushButton *LongWorkTest::stopButton() const {
  return bar()->findChild<QPushButton *>(QStringLiteral("WorkStop"));
}

QString LongWorkTest::what() const {
  return bar()->findChild<StatusLabel *>(QStringLiteral("WorkItem"))->text();
}

QString LongWorkTest::figures() const {
  return bar()->findChild<StatusLabel *>(QStringLiteral("WorkFigures"))->text();
}

void LongWorkTest::waitForBar() const {
  ASSERT_TRUE(QTest::qWaitFor([this] { return medium_.waiting() > 0 && bar()->isVisible(); }, kLongestWait));
}

void LongWorkTest::stopAndWait() {
  waitForBar();
  click(stopButton(), stopButton()->rect().center());
  EXPECT_FALSE(stopButton()->isEnabled());
  letGoAndWait();
}

void LongWorkTest::letGoAndWait() {
  medium_.letGo();
  ASSERT_TRUE(waitUntilIdle());
}

void LongWorkTest::undoAndWait() const {
  clickToolbar("UndoItem");
  EXPECT_TRUE(waitUntilIdle());
}

void LongWorkTest::redoAndWait() const {
  clickToolbar("RedoItem");
  EXPECT_TRUE(waitUntilIdle());
}

ImageBuilder LongWorkTest::volumeOfMany(int files) {
  ImageBuilder image({.sizeBytes = 16 * kMiB});
  FolderBuilder many = image.root().addFolder("Many", {.blockCount = 7});
  for (int i = 0; i < files; ++i)
    many.addFile(numbered("FILE ", i), patternBytes(600, static_cast<std::uint32_t>(i)));
  image.root().addFolder("Other", {.blockCount = 7});
  return image;
}

std::vector<std::string> LongWorkTest::manyHostFiles(int count) const {
  std::vector<std::string> paths;
  for (int i = 0; i < count; ++i)
    paths.push_back(
        writeHostFile(numbered("HOST ", i) + ".E4B",
                      patternBytes(static_cast<std::size_t>(i) + 1, static_cast<std::uint32_t>(i))));
  return paths;
}

void LongWorkTest::importFiles(const std::vector<std::string> &paths) const {
  clickToolbar("ImportItem");
  confirmPanel(paths);
}

void LongWorkTest::selectAllFiles() {
  table()->selectAll();
  table()->setFocus();
}

} // namespace tessary::test
