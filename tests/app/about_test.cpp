#include "app/AboutPanel.h"

#include "app/Links.h"
#include "tests/app/Contrast.h"
#include "tests/app/PaletteGuard.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocumentFragment>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace tessary {
namespace {

/// Stands in for the desktop: keeps what the panel asks it to open.
class Desktop : public QObject {
  Q_OBJECT

public:
  Desktop() { setHandler(this); }
  ~Desktop() override { setHandler(nullptr); }
  QList<QUrl> opened;

public slots:
  void open(const QUrl &url) { opened.append(url); }

private:
  static void setHandler(QObject *handler) {
    for (const char *scheme : {"https", "file"}) {
      if (handler)
        QDesktopServices::setUrlHandler(scheme, handler, "open");
      else
        QDesktopServices::unsetUrlHandler(scheme);
    }
  }
};

struct LinkRange {
  QString text;
  QUrl target;
  int position; ///< of its first character
  QColor color;
};

QList<LinkRange> linksOf(const QTextBrowser &view) {
  QList<LinkRange> found;
  for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next())
    for (auto part = block.begin(); !part.atEnd(); ++part)
      if (const QTextFragment fragment = part.fragment(); fragment.charFormat().isAnchor())
        found.append({fragment.text(), QUrl(fragment.charFormat().anchorHref()), fragment.position(),
                      fragment.charFormat().foreground().color()});
  return found;
}

void click(QTextBrowser &view, const LinkRange &link) {
  QTextCursor cursor(view.document());
  cursor.setPosition(link.position + 1);
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.cursorRect(cursor).center());
}

class AboutPanelTest : public testing::Test {
protected:
  template <typename T> T &element(const char *name) {
    T *found = panel.findChild<T *>(name);
    if (!found) throw std::runtime_error(std::string("the panel has no ") + name);
    return *found;
  }

  QTextBrowser &view(const char *name) { return element<QTextBrowser>(name); }
  QLabel &label(const char *name) { return element<QLabel>(name); }

  Desktop desktop;
  AboutPanel panel;
};

const char *const linkViews[] = {"makerLink", "creditLink", "imageCreationLink", "blueScsiLink", "credits"};
const char *const labels[] = {"applicationName", "description", "imageCreationCaption", "blueScsiCaption"};

TEST_F(AboutPanelTest, ContentIs300By420WithATitleAndACloseButton) {
  EXPECT_EQ(panel.size(), QSize(300, 420));
  EXPECT_EQ(panel.minimumSize(), panel.maximumSize());
  EXPECT_EQ(panel.windowTitle(), "About Tessary");
  EXPECT_TRUE(panel.windowFlags().testFlag(Qt::WindowTitleHint));
  EXPECT_TRUE(panel.windowFlags().testFlag(Qt::WindowCloseButtonHint));
  EXPECT_FALSE(panel.windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
}

TEST_F(AboutPanelTest, StandsInTheMiddleOfTheScreen) {
  panel.show();
  const QPoint off = panel.geometry().center() - panel.screen()->availableGeometry().center();
  constexpr int halfATitleBar = 20; // of a frame that the window system adds once the panel is shown
  EXPECT_LE(std::abs(off.x()), halfATitleBar);
  EXPECT_LE(std::abs(off.y()), halfATitleBar);
}

TEST_F(AboutPanelTest, EveryElementHasItsFrame) {
  const struct {
    const char *name;
    int x, bottom, width, height;
  } frames[] = {{"applicationIcon", 105, 310, 90, 90},
                {"makerLink", 20, 288, 260, 18},
                {"applicationName", 10, 260, 280, 24},
                {"creditLink", 20, 239, 260, 17},
                {"description", 20, 160, 260, 72},
                {"imageCreationCaption", 20, 157, 260, 14},
                {"imageCreationLink", 20, 141, 260, 14},
                {"blueScsiCaption", 20, 115, 260, 14},
                {"blueScsiLink", 20, 99, 260, 14},
                {"credits", 20, 30, 260, 50},
                {"okButton", 116, 14, 68, 28}};
  for (const auto &[name, x, bottom, width, height] : frames)
    EXPECT_EQ(element<QWidget>(name).geometry(), QRect(x, 420 - bottom - height, width, height)) << name;
}

TEST_F(AboutPanelTest, TextsAndFontSizes) {
  EXPECT_EQ(label("applicationName").text(), "Tessary");
  EXPECT_EQ(label("applicationName").font().pixelSize(), 17);
  EXPECT_TRUE(label("applicationName").font().bold());
  EXPECT_EQ(
      label("description").text(),
      "Browse, copy, move, and delete E-MU Emulator III / Emulator IV / ESI-32 sampler banks and presets on "
      "BlueSCSI .hda disk images.");
  EXPECT_EQ(label("description").font().pixelSize(), 11);
  EXPECT_TRUE(label("description").wordWrap());
  EXPECT_EQ(label("imageCreationCaption").text(), "Create .hda disk images");
  EXPECT_EQ(label("imageCreationCaption").font().pixelSize(), 10);
  EXPECT_EQ(label("blueScsiCaption").text(), "Visit BlueSCSI");
  EXPECT_EQ(label("blueScsiCaption").font().pixelSize(), 10);
  EXPECT_EQ(view("makerLink").toPlainText(), "Quorvane");
  EXPECT_EQ(view("creditLink").toPlainText(), QString::fromUtf8(links::credit.text));
  EXPECT_EQ(view("imageCreationLink").toPlainText(), QString::fromUtf8(links::imageCreation.text));
  EXPECT_EQ(view("blueScsiLink").toPlainText(), "https://bluescsi.com");
  EXPECT_EQ(view("credits").toPlainText(),
            QString::fromUtf8("Filesystem format based on:\n%1  \u00B7  %2  (GPLv3)")
                .arg(links::diskFormat.text, links::bankFormat.text));
  for (const char *name : linkViews)
    EXPECT_EQ(view(name).document()->begin().begin().fragment().charFormat().font().pixelSize(),
              name == std::string_view("makerLink") ? 12 : 11)
        << name;
}

TEST_F(AboutPanelTest, IconFillsItsFrame) {
  const QPixmap icon = label("applicationIcon").pixmap();
  EXPECT_EQ(icon.deviceIndependentSize().toSize(), QSize(90, 90));
}

TEST_F(AboutPanelTest, EverythingIsCentred) {
  for (const char *name : labels)
    EXPECT_TRUE(label(name).alignment().testFlag(Qt::AlignHCenter)) << name;
  for (const char *name : linkViews)
    for (QTextBlock block = view(name).document()->begin(); block.isValid(); block = block.next())
      EXPECT_EQ(block.blockFormat().alignment(), Qt::AlignHCenter) << name;
}

TEST_F(AboutPanelTest, CreditsParagraphsAreFourPixelsApart) {
  for (QTextBlock block = view("credits").document()->begin(); block.isValid(); block = block.next())
    EXPECT_EQ(block.blockFormat().bottomMargin(), 4);
}

TEST_F(AboutPanelTest, TextViewsAreTransparentSelectableAndNotEditable) {
  for (const char *name : linkViews) {
    QTextBrowser &text = view(name);
    EXPECT_TRUE(text.isReadOnly()) << name;
    EXPECT_TRUE(text.textInteractionFlags().testFlag(Qt::TextSelectableByMouse)) << name;
    EXPECT_TRUE(text.textInteractionFlags().testFlag(Qt::LinksAccessibleByMouse)) << name;
    EXPECT_FALSE(text.textInteractionFlags().testFlag(Qt::TextEditable)) << name;
    EXPECT_FALSE(text.viewport()->autoFillBackground()) << name;
    EXPECT_EQ(text.frameShape(), QFrame::NoFrame) << name;
  }
}

TEST_F(AboutPanelTest, LinksLeadToTheirTargets) {
  const struct {
    const char *view;
    links::Link link;
  } targets[] = {{"makerLink", links::maker},
                 {"creditLink", links::credit},
                 {"imageCreationLink", links::imageCreation},
                 {"blueScsiLink", links::blueScsi}};
  for (const auto &[name, link] : targets) {
    const QList<LinkRange> found = linksOf(view(name));
    ASSERT_EQ(found.size(), 1) << name;
    EXPECT_EQ(found[0].text, QString::fromUtf8(link.text));
    EXPECT_EQ(found[0].target.fileName(), QUrl(link.target).fileName());
  }
}

TEST_F(AboutPanelTest, EachLinkIsASiteThatThereIsOrADocumentOnThisComputer) {
  for (const char *name : linkViews) {
    for (const LinkRange &link : linksOf(view(name))) {
      if (link.target.isLocalFile())
        EXPECT_TRUE(QFile::exists(link.target.toLocalFile())) << link.target.toString().toStdString();
      else
        EXPECT_EQ(link.target, QUrl("https://bluescsi.com")) << name;
    }
  }
}

TEST_F(AboutPanelTest, CreditsLeadToTheProjectsOwnDocuments) {
  const QList<LinkRange> found = linksOf(view("credits"));
  ASSERT_EQ(found.size(), 2);
  EXPECT_EQ(found[0].text, links::diskFormat.text);
  EXPECT_EQ(found[1].text, links::bankFormat.text);
  EXPECT_EQ(found[0].target.fileName(), "disk-format.md");
  EXPECT_EQ(found[1].target.fileName(), "bank-format.md");
}

TEST_F(AboutPanelTest, ClickOnALinkOpensItOnTheDesktop) {
  panel.show();
  QList<QUrl> expected;
  for (const char *name : linkViews) {
    for (const LinkRange &link : linksOf(view(name))) {
      click(view(name), link);
      expected.append(link.target);
    }
  }
  EXPECT_EQ(desktop.opened, expected);
  EXPECT_TRUE(panel.isVisible());
}

TEST_F(AboutPanelTest, SpaceOpensTheLinkThatTabReached) {
  panel.show();
  panel.activateWindow();
  QTextBrowser &maker = view("makerLink");
  maker.setFocus();
  QTest::keyClick(&maker, Qt::Key_Tab);
  ASSERT_EQ(maker.textCursor().selectedText(), "Quorvane");
  QTest::keyClick(&maker, Qt::Key_Space);
  EXPECT_EQ(desktop.opened, QList<QUrl>{linksOf(maker)[0].target});
}

TEST_F(AboutPanelTest, OkIsTheDefaultButton) {
  auto &ok = element<QPushButton>("okButton");
  EXPECT_EQ(ok.text(), "OK");
  EXPECT_TRUE(ok.isDefault());
}

TEST_F(AboutPanelTest, OkCanBeClickedAllOverThoughTheCreditsReachUnderIt) {
  panel.show();
  const QRect button = element<QPushButton>("okButton").geometry();
  for (const QPoint corner : {button.topLeft(), button.topRight(), button.bottomLeft(), button.bottomRight()})
    EXPECT_EQ(panel.childAt(corner), &element<QPushButton>("okButton"));
}

/// Runs the panel's modal loop and gives it `act` once it is up.
template <typename Action> int runAnd(AboutPanel &panel, Action act) {
  bool wasModal = false;
  QTimer::singleShot(0, &panel, [&] {
    wasModal = QApplication::activeModalWidget() == &panel;
    act();
  });
  QTimer::singleShot(5000, &panel, [&panel] { panel.done(-1); });
  const int result = panel.exec();
  EXPECT_TRUE(wasModal);
  EXPECT_FALSE(panel.isVisible());
  return result;
}

TEST_F(AboutPanelTest, ReturnClosesIt) {
  EXPECT_EQ(runAnd(panel, [&] { QTest::keyClick(&panel, Qt::Key_Return); }), QDialog::Accepted);
}

TEST_F(AboutPanelTest, ReturnClosesItWhileALinkHasTheFocusAndOpensNothing) {
  const auto act = [&] {
    view("makerLink").setFocus();
    QTest::keyClick(&view("makerLink"), Qt::Key_Tab);
    QTest::keyClick(&view("makerLink"), Qt::Key_Return);
  };
  EXPECT_EQ(runAnd(panel, act), QDialog::Accepted);
  EXPECT_TRUE(desktop.opened.isEmpty());
}

TEST_F(AboutPanelTest, OkClosesIt) {
  const auto act = [&] { QTest::mouseClick(&element<QPushButton>("okButton"), Qt::LeftButton); };
  EXPECT_EQ(runAnd(panel, act), QDialog::Accepted);
}

TEST_F(AboutPanelTest, CloseButtonAndEscapeEndIt) {
  EXPECT_EQ(runAnd(panel, [&] { panel.close(); }), QDialog::Rejected);
  EXPECT_EQ(runAnd(panel, [&] { QTest::keyClick(&panel, Qt::Key_Escape); }), QDialog::Rejected);
}

// ---- What can be read

/// Where the words of an element lie in the panel.
QRect readArea(const QWidget &element) {
  if (const auto *text = qobject_cast<const QTextBrowser *>(&element)) {
    // The last paragraph's spacing is no text.
    const int spacing = static_cast<int>(text->document()->lastBlock().blockFormat().bottomMargin());
    const QSizeF size(text->document()->idealWidth(), text->document()->size().height() - spacing);
    const int left = element.x() + (element.width() - static_cast<int>(size.width())) / 2;
    return {QPoint(left, element.y()), size.toSize()};
  }
  const auto &label = dynamic_cast<const QLabel &>(element);
  const int flags = static_cast<int>(label.alignment()) | (label.wordWrap() ? Qt::TextWordWrap : 0);
  return label.fontMetrics().boundingRect(label.rect(), flags, label.text()).translated(label.pos());
}

TEST_F(AboutPanelTest, NothingReadIsCutOrOverlaps) {
  panel.show();
  std::vector<std::pair<std::string, QRect>> areas = {
      {"okButton", element<QPushButton>("okButton").geometry()},
      {"applicationIcon", label("applicationIcon").geometry()}};
  for (const char *name : labels)
    areas.emplace_back(name, readArea(label(name)));
  for (const char *name : linkViews)
    areas.emplace_back(name, readArea(view(name)));
  for (const auto &[name, area] : areas) {
    EXPECT_TRUE(element<QWidget>(name.c_str()).geometry().contains(area)) << name << " is cut";
    for (const auto &[other, otherArea] : areas)
      EXPECT_TRUE(name == other || !area.intersects(otherArea)) << name << " overlaps " << other;
  }
}

TEST_F(AboutPanelTest, EverythingCanBeReadInLightAndDarkAlsoWhenItChangesWhileShown) {
  const PaletteGuard guard;
  panel.show();
  for (const QColor background : {QColor(239, 239, 239), QColor(45, 45, 48), QColor(0, 0, 0)}) {
    QApplication::setPalette(QPalette(background));
    QApplication::processEvents();
    ASSERT_EQ(panel.palette().color(QPalette::Window), background);
    for (const char *name : labels)
      EXPECT_GE(test::contrast(label(name).palette().color(QPalette::WindowText), background), 4.5) << name;
    for (const char *name : linkViews)
      for (const LinkRange &link : linksOf(view(name)))
        EXPECT_GE(test::contrast(link.color, background), 4.5)
            << name << " on " << background.name().toStdString();
  }
}

TEST_F(AboutPanelTest, LinksHaveThePalettesLinkColorWhereItCanBeRead) {
  const PaletteGuard guard;
  QPalette palette(QColor(239, 239, 239));
  palette.setColor(QPalette::Link, QColor(120, 20, 20));
  QApplication::setPalette(palette);
  AboutPanel fresh;
  EXPECT_EQ(linksOf(*fresh.findChild<QTextBrowser *>("makerLink"))[0].color, QColor(120, 20, 20));
}

} // namespace
} // namespace tessary

#include "about_test.moc"
