#include "app/Documents.h"
#include "app/StartWords.h"
#include "tests/app/SheetTest.h"
#include "tests/support/HostFiles.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <filesystem>

namespace tessary::test {
namespace {

/// Stands in for the desktop: keeps what it is asked to open.
class Opener : public QObject {
  Q_OBJECT

public:
  Opener() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
  ~Opener() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
  QList<QUrl> opened;

public slots:
  void open(const QUrl &url) { opened.append(url); }
};

/// A folder as `cmake --install` leaves it, anywhere on the host.
class InstalledDocuments : public testing::Test {
protected:
  InstalledDocuments() {
    std::filesystem::create_directories(folder_.path("prefix/bin"));
    std::filesystem::create_directories(folder_.path("prefix/share/doc/tessary"));
  }
  QUrl found(const QString &fileName) const {
    return documentUrl(fileName, QString::fromStdString(folder_.path("prefix/bin")));
  }

  TemporaryFolder folder_;
};

TEST_F(InstalledDocuments, AreFoundFromWhereTheProgramLies) {
  const std::string guide = folder_.path("prefix/share/doc/tessary/user-guide.md");
  writeText(guide, "guide");
  EXPECT_EQ(found(QStringLiteral("user-guide.md")),
            QUrl::fromLocalFile(QFileInfo(QString::fromStdString(guide)).canonicalFilePath()));
}

TEST_F(InstalledDocuments, ThatAreMissingLeadNowhereElse) {
  EXPECT_TRUE(found(QStringLiteral("user-guide.md")).isEmpty());
}

class HelpMenu : public SheetTest {
protected:
  HelpMenu() { putMenuBar(); }
};

TEST_F(HelpMenu, OpensTheGuideAndWhatMaySurprise) {
  const Opener desktop;
  QStringList names;
  pressKeyIn(window(), Qt::Key_F1, {});
  chooseFromMenuBar(window()->menuBar(), QStringLiteral("Help"), QStringLiteral("What May Surprise"));
  for (const QUrl &url : desktop.opened) {
    EXPECT_TRUE(QFileInfo::exists(url.toLocalFile())) << url.toString().toStdString();
    names += url.fileName();
  }
  EXPECT_EQ(names, (QStringList{"user-guide.md", "what-may-surprise.md"}));
}

TEST(StartWords, HelpAndVersionAreAnsweredWithoutAWindow) {
  EXPECT_EQ(answerWithoutWindow({"tessary", "--version"}), "tessary " TESSARY_VERSION "\n");
  const auto help = answerWithoutWindow({"tessary", "-style", "fusion", "--help"});
  ASSERT_TRUE(help);
  EXPECT_NE(help->find("Usage: tessary [IMAGE...]"), std::string::npos);
  EXPECT_EQ(answerWithoutWindow({"tessary", "-h"}), help);
}

TEST(StartWords, AnImageAndNoWordsAtAllOpenTheWindow) {
  EXPECT_FALSE(answerWithoutWindow({"tessary"}));
  EXPECT_FALSE(answerWithoutWindow({"tessary", "disk.hda"}));
  EXPECT_FALSE(answerWithoutWindow({"--help"})) << "the program's own path";
}

} // namespace
} // namespace tessary::test

#include "documents_test.moc"
