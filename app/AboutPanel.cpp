#include "app/AboutPanel.h"

#include "app/Colors.h"
#include "app/Icons.h"
#include "app/Links.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTextBlockFormat>
#include <QTextBrowser>
#include <QTextCursor>
#include <QUrl>

namespace tessary {
namespace {

constexpr QSize contentSize(300, 420);

/// The frame of an element whose place is given from the panel's bottom left corner, as all of them are.
QRect frame(int x, int bottom, int width, int height) {
  return {x, contentSize.height() - bottom - height, width, height};
}

// ---- Text with links

struct Run {
  QString text; ///< "\n" ends a paragraph
  QUrl target;  ///< empty where the text is no link
};

/// A few centred words with links in them, on whatever lies behind. Can be selected but not edited. A link
/// opens in the desktop's own program: with the mouse, or with Tab and the space bar (Return belongs to the
/// panel).
class LinkText final : public QTextBrowser {
public:
  /// Sizes are in device-independent pixels. The colours follow the palette for as long as the view lives.
  LinkText(QList<Run> textRuns, int pixelSize, int paragraphSpacing, QWidget *parent)
      : QTextBrowser(parent), runs(std::move(textRuns)), spacing(paragraphSpacing) {
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(0);
    QFont textFont = font();
    textFont.setPixelSize(pixelSize);
    setFont(textFont);
    setOpenLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, &QDesktopServices::openUrl);
    write();
  }

protected:
  void changeEvent(QEvent *event) override {
    QTextBrowser::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) write();
  }

  void keyPressEvent(QKeyEvent *event) override {
    const QString target = textCursor().hasSelection() ? textCursor().charFormat().anchorHref() : QString();
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
      event->ignore();
    else if (event->key() == Qt::Key_Space && !target.isEmpty())
      emit anchorClicked(QUrl(target));
    else
      QTextBrowser::keyPressEvent(event);
  }

private:
  void write() {
    clear();
    QTextBlockFormat paragraph;
    paragraph.setAlignment(Qt::AlignHCenter);
    paragraph.setBottomMargin(spacing);
    QTextCursor cursor(document());
    cursor.setBlockFormat(paragraph);
    for (const Run &run : runs)
      cursor.insertText(run.text, characterFormat(run));
  }

  QTextCharFormat characterFormat(const Run &run) const {
    QTextCharFormat format;
    format.setFont(font());
    format.setForeground(run.target.isEmpty() ? secondaryLabelColor(palette()) : linkColor(palette()));
    if (!run.target.isEmpty()) {
      format.setAnchor(true);
      format.setAnchorHref(run.target.toString());
    }
    return format;
  }

  QList<Run> runs;
  int spacing;
};

/// Where a document of this project is read: beside the installed program, in the application bundle or in
/// the source tree, and on the project's site when it is in none of them.
QUrl documentUrl(const QString &fileName) {
  const QDir programs(QCoreApplication::applicationDirPath());
  for (const char *folder : {"../share/doc/tessary", "../Resources/docs", "../../../docs"}) {
    const QFileInfo document(programs.filePath(QLatin1String(folder)), fileName);
    if (document.isFile()) return QUrl::fromLocalFile(document.canonicalFilePath());
  }
  return QUrl(QLatin1String(links::documentsSite) + fileName);
}

Run linkRun(const links::Link &link) {
  const QUrl target(QString::fromUtf8(link.target));
  return {QString::fromUtf8(link.text), target.isRelative() ? documentUrl(target.path()) : target};
}

void addLink(QWidget *panel, const char *name, const links::Link &link, const QRect &place, int pixelSize) {
  auto *text = new LinkText({linkRun(link)}, pixelSize, 0, panel);
  text->setObjectName(QLatin1String(name));
  text->setGeometry(place);
}

} // namespace

// ---- The panel

AboutPanel::AboutPanel(QWidget *parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                          Qt::WindowCloseButtonHint) {
  setWindowTitle(tr("About Tessary"));
  setWindowModality(Qt::ApplicationModal);
  setFixedSize(contentSize);
  addIconAndName();
  addDescription();
  addLinks();
  addCredits();
  addButton();
  applySecondaryColor();
  move(screen()->availableGeometry().center() - rect().center());
}

void AboutPanel::addIconAndName() {
  auto *icon = new QLabel(this);
  icon->setObjectName(QStringLiteral("applicationIcon"));
  icon->setGeometry(frame(105, 310, 90, 90));
  icon->setAlignment(Qt::AlignCenter);
  icon->setPixmap(applicationIcon().pixmap(QSize(90, 90), devicePixelRatioF()));

  addLink(this, "makerLink", links::maker, frame(20, 288, 260, 18), 12);

  auto *name = new QLabel(tr("Tessary"), this);
  name->setObjectName(QStringLiteral("applicationName"));
  name->setGeometry(frame(10, 260, 280, 24));
  name->setAlignment(Qt::AlignCenter);
  QFont bold = name->font();
  bold.setPixelSize(17);
  bold.setBold(true);
  name->setFont(bold);
}

void AboutPanel::addDescription() {
  QLabel *description = addCaption(QStringLiteral("description"),
                                   tr("Browse, copy, move, and delete E-MU Emulator III / Emulator IV / "
                                      "ESI-32 sampler banks and presets on "
                                      "BlueSCSI .hda disk images."),
                                   frame(20, 160, 260, 72), 11);
  description->setWordWrap(true);
}

void AboutPanel::addLinks() {
  addLink(this, "creditLink", links::credit, frame(20, 239, 260, 17), 11);
  addCaption(QStringLiteral("imageCreationCaption"), tr("Create .hda disk images"), frame(20, 157, 260, 14),
             10);
  addLink(this, "imageCreationLink", links::imageCreation, frame(20, 141, 260, 14), 11);
  addCaption(QStringLiteral("blueScsiCaption"), tr("Visit BlueSCSI"), frame(20, 115, 260, 14), 10);
  addLink(this, "blueScsiLink", links::blueScsi, frame(20, 99, 260, 14), 11);
}

void AboutPanel::addCredits() {
  const QList<Run> runs = {{tr("Filesystem format based on:\n"), {}},
                           linkRun(links::diskFormat),
                           {QStringLiteral("  \u00B7  "), {}},
                           linkRun(links::bankFormat),
                           {tr("  (GPLv3)"), {}}};
  auto *credits = new LinkText(runs, 11, 4, this);
  credits->setObjectName(QStringLiteral("credits"));
  credits->setGeometry(frame(20, 30, 260, 50));
}

/// Comes last: its frame reaches into the empty end of the credits, and must lie above them to be clicked.
void AboutPanel::addButton() {
  auto *button = new QPushButton(tr("OK"), this);
  button->setObjectName(QStringLiteral("okButton"));
  button->setGeometry(frame(116, 14, 68, 28));
  button->setDefault(true);
  button->setFocus();
  connect(button, &QPushButton::clicked, this, &QDialog::accept);
}

QLabel *AboutPanel::addCaption(const QString &name, const QString &text, const QRect &place, int pixelSize) {
  auto *label = new QLabel(text, this);
  label->setObjectName(name);
  label->setGeometry(place);
  label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
  QFont textFont = label->font();
  textFont.setPixelSize(pixelSize);
  label->setFont(textFont);
  secondaryLabels.append(label);
  return label;
}

void AboutPanel::changeEvent(QEvent *event) {
  QDialog::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) applySecondaryColor();
}

void AboutPanel::applySecondaryColor() {
  for (QLabel *label : secondaryLabels) {
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, secondaryLabelColor(palette()));
    label->setPalette(colors);
  }
}

} // namespace tessary
