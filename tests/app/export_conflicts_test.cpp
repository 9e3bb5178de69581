#include "tests/app/SheetTest.h"
#include "tests/support/BankBuilder.h"

#include <QCheckBox>
#include <QTest>
#include <filesystem>

namespace tessary::test {
namespace {

class ExportConflicts : public SheetTest {
protected:
  ExportConflicts() {
    for (const char *name : {"FIRST", "THIRD"})
      writeBytes(target(name), bytesOf("there before"));
  }
  std::string target(const std::string &name) const { return hostFolder("out") + "/" + name + ".E4B"; }
  void exportAll() {
    mount(volume());
    chooseFiles({"FIRST", "SECOND", "THIRD"});
    clickToolbar("ExportItem");
    confirmPanel({hostFolder("out")});
    ASSERT_TRUE(waitUntilIdle());
  }
  QCheckBox *forAll() const { return question().findChild<QCheckBox *>(); }
};

TEST_F(ExportConflicts, AsksAboutEachFileThatIsThereBeforeItWritesAny) {
  exportAll();
  const ShownAlert asked = describe(question());
  EXPECT_EQ(asked.message, "“FIRST.E4B” is already there");
  EXPECT_EQ(QSet<QString>(asked.buttons.begin(), asked.buttons.end()),
            (QSet<QString>{"Keep Both", "Replace", "Skip", "Cancel"}));
  EXPECT_EQ(question().defaultButton()->text(), "Keep Both");
  EXPECT_FALSE(std::filesystem::exists(target("SECOND")));
  answerSheet("Cancel");
}

TEST_F(ExportConflicts, ReplaceKeepBothAndSkipOneByOne) {
  exportAll();
  answerSheet("Replace");
  EXPECT_EQ(question().text(), "“THIRD.E4B” is already there");
  EXPECT_FALSE(forAll()->isVisible()) << "there are no others";
  answerSheet("Skip");
  EXPECT_EQ(readBytes(target("FIRST")), patternBytes(600, 1));
  EXPECT_EQ(readBytes(target("SECOND")), patternBytes(700, 2));
  EXPECT_EQ(readBytes(target("THIRD")), bytesOf("there before"));
  EXPECT_EQ(status(), "Exported 2 file(s) successfully. 1 skipped.");
}

TEST_F(ExportConflicts, KeepBothGivesTheNewFileANumber) {
  writeBytes(target("FIRST (2)"), bytesOf("there too"));
  exportAll();
  answerSheet("Keep Both");
  answerSheet("Keep Both");
  EXPECT_EQ(readBytes(target("FIRST")), bytesOf("there before"));
  EXPECT_EQ(readBytes(target("FIRST (2)")), bytesOf("there too"));
  EXPECT_EQ(readBytes(target("FIRST (3)")), patternBytes(600, 1));
  EXPECT_EQ(readBytes(target("THIRD (2)")), patternBytes(800, 3));
  EXPECT_EQ(status(), "Exported 3 file(s) successfully.");
}

TEST_F(ExportConflicts, OneAnswerCanBeForAll) {
  exportAll();
  ASSERT_TRUE(forAll()->isVisible());
  EXPECT_EQ(forAll()->text(), "Do the same with the other 1");
  forAll()->click();
  answerSheet("Skip");
  EXPECT_EQ(sheet<QMessageBox>(), nullptr);
  EXPECT_EQ(readBytes(target("FIRST")), bytesOf("there before"));
  EXPECT_EQ(readBytes(target("THIRD")), bytesOf("there before"));
  EXPECT_EQ(status(), "Exported 1 file(s) successfully. 2 skipped.");
}

TEST_F(ExportConflicts, EscapeExportsNothing) {
  exportAll();
  pressKey(Qt::Key_Escape);
  EXPECT_FALSE(std::filesystem::exists(target("SECOND")));
  EXPECT_EQ(readBytes(target("FIRST")), bytesOf("there before"));
  EXPECT_EQ(status(), "Nothing was exported.");
}

TEST_F(ExportConflicts, FileOfTheSameNameInAnotherFolderReplacesNothingUnasked) {
  ImageBuilder image;
  image.root().addFolder("A").addFile("KICK", patternBytes(600, 1));
  image.root().addFolder("B").addFile("KICK", patternBytes(700, 2));
  mount(image);
  for (const char *folder : {"A", "B"}) {
    chooseFolder({folder});
    chooseFiles({"KICK"});
    clickToolbar("ExportItem");
    confirmPanel({hostFolder("out")});
    ASSERT_TRUE(waitUntilIdle());
  }
  answerSheet("Keep Both");
  EXPECT_EQ(readBytes(target("KICK")), patternBytes(600, 1));
  EXPECT_EQ(readBytes(target("KICK (2)")), patternBytes(700, 2));
}

TEST_F(ExportConflicts, TwoFilesOfOneNameAreBothExported) {
  ImageBuilder image;
  FolderBuilder a = image.root().addFolder("A");
  a.addFile("KICK", patternBytes(600, 1));
  a.addFile("KICK", patternBytes(700, 2));
  writeBytes(target("KICK"), bytesOf("there before"));
  mount(image);
  table()->selectAll();
  clickToolbar("ExportItem");
  confirmPanel({hostFolder("out")});
  ASSERT_TRUE(waitUntilIdle());
  answerSheet("Replace");
  EXPECT_EQ(readBytes(target("KICK")), patternBytes(600, 1));
  EXPECT_EQ(readBytes(target("KICK (2)")), patternBytes(700, 2));
}

TEST_F(ExportConflicts, AnswerAfterTheImageWasReplacedExportsNothing) {
  exportAll();
  mount(volume(), "other.hda");
  answerSheet("Replace");
  EXPECT_EQ(readBytes(target("FIRST")), bytesOf("there before"));
  EXPECT_FALSE(std::filesystem::exists(target("SECOND")));
}

TEST_F(ExportConflicts, SamplesAskToo) {
  ImageBuilder image;
  image.root().addFolder("A").addFile(
      "BRASS", IffBank().sample("HORN", patternBytes(40, 1)).sample("TUBA", patternBytes(40, 2)).build());
  const std::string horn = hostFolder("out") + "/BRASS_HORN.wav";
  writeBytes(horn, bytesOf("there before"));
  mount(image);
  chooseFiles({"BRASS"});
  chooseFromFileMenu("BRASS", "Export Samples…");
  confirmPanel({hostFolder("out")});
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(question().text(), "“BRASS_HORN.wav” is already there");
  answerSheet("Keep Both");
  EXPECT_EQ(readBytes(horn), bytesOf("there before"));
  EXPECT_TRUE(std::filesystem::exists(hostFolder("out") + "/BRASS_HORN (2).wav"));
  EXPECT_EQ(status(), "Exported 2 sample(s) successfully.");
}

TEST_F(ExportConflicts, EachFileThatFailsIsListedWithItsReason) {
  std::filesystem::remove(target("FIRST"));
  std::filesystem::create_directories(target("FIRST") + "/in the way");
  exportAll();
  const AlertAnswers alerts;
  forAll()->click();
  answerSheet("Replace");
  ASSERT_EQ(alerts.shown().size(), 1U);
  EXPECT_EQ(alerts.shown()[0].message, "Export Failed (1 of 3)");
  ASSERT_EQ(alerts.shown()[0].failures.size(), 1);
  EXPECT_TRUE(alerts.shown()[0].failures[0].startsWith("FIRST: "));
  EXPECT_EQ(status(), "Exported with 1 failure(s).");
}

// As where the host does not tell case: here a link makes two names one file.
TEST_F(ExportConflicts, NamesThatAreOneFileOnTheHostDoNotReplaceEachOther) {
  std::filesystem::remove(target("THIRD"));
  std::filesystem::create_symlink(target("FIRST"), target("THIRD"));
  writeBytes(target("THIRD (2)"), bytesOf("there too"));
  exportAll();
  answerSheet("Replace");
  EXPECT_EQ(question().text(), "“THIRD.E4B” is already there");
  answerSheet("Replace");
  EXPECT_EQ(status(), "Exported 3 file(s) successfully.");
  EXPECT_EQ(readBytes(target("FIRST")), patternBytes(600, 1));
  EXPECT_EQ(readBytes(target("SECOND")), patternBytes(700, 2));
  EXPECT_EQ(readBytes(target("THIRD (2)")), bytesOf("there too")) << "nobody was asked about this one";
  EXPECT_EQ(readBytes(target("THIRD (3)")), patternBytes(800, 3));
}

} // namespace
} // namespace tessary::test
