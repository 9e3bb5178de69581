#include "app/AboutPanel.h"

#include "app/Colors.h"
#include "app/Documents.h"
#include "app/Icons.h"
#include "app/LinkText.h"
#include "app/Links.h"
#include "app/TextSize.h"

#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QUrl>

namespace tessary {
namespace {

constexpr QSize contentSize(300, 420);

/// The frame of an element whose place is given from the panel's bottom left corner, as all of them are.
QRect frame(int x, int bottom, int width, int height) {
  return {scaled(x), scaled(contentSize.height() - bottom - height), scaled(width), scaled(height)};
}

using Run = LinkText::Run;

Run linkRun(const links::Link &link) {
  const QUrl target(QString::fromUtf8(link.target));
  return {QString::fromUtf8(link.text), target.isRelative() ? documentUrl(target.path()) : target};
}

void addLink(QWidget *panel, const char *name, const links::Link &link, const QRect &place, int pixelSize) {
  auto *text = new LinkText({linkRun(link)}, scaled(pixelSize), 0, panel);
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
  setFixedSize(scaled(contentSize.width()), scaled(contentSize.height()));
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
  icon->setAccessibleName(tr("Tessary’s icon"));
  icon->setPixmap(applicationIcon().pixmap(QSize(scaled(90), scaled(90)), devicePixelRatioF()));

  addLink(this, "makerLink", links::maker, frame(20, 288, 260, 18), 12);

  auto *name = new QLabel(tr("Tessary"), this);
  name->setObjectName(QStringLiteral("applicationName"));
  name->setGeometry(frame(10, 260, 280, 24));
  name->setAlignment(Qt::AlignCenter);
  QFont bold = name->font();
  bold.setPixelSize(scaled(17));
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
  auto *credits = new LinkText(runs, scaled(11), scaled(4), this);
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
  setTextSize(label, pixelSize);
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
