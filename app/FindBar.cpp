#include "app/FindBar.h"

#include "app/Colors.h"
#include "app/TextSize.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QStyle>
#include <QToolButton>

namespace tessary {
namespace {

constexpr int textSize = 12;
constexpr int margin = 6;
enum Where { kThisFolder, kAllFolders };

} // namespace

FindBar::FindBar(QWidget *parent)
    : QWidget(parent), field_(new QLineEdit), where_(new QComboBox), count_(new QLabel) {
  setObjectName(QStringLiteral("FindBar"));
  setAutoFillBackground(true);
  field_->setObjectName(QStringLiteral("FindField"));
  field_->setAccessibleName(QStringLiteral("Find"));
  field_->setPlaceholderText(QStringLiteral("Find files by name"));
  field_->setClearButtonEnabled(true);
  for (auto *clear : field_->findChildren<QToolButton *>())
    clear->setAccessibleName(QStringLiteral("Clear"));
  field_->installEventFilter(this);
  where_->setObjectName(QStringLiteral("FindWhere"));
  where_->setAccessibleName(QStringLiteral("Where to look"));
  where_->addItems({QStringLiteral("This Folder"), QStringLiteral("All Folders")});
  count_->setObjectName(QStringLiteral("FindCount"));
  count_->setTextFormat(Qt::PlainText);
  auto *close = new QToolButton;
  close->setObjectName(QStringLiteral("FindClose"));
  close->setAutoRaise(true);
  close->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
  close->setAccessibleName(QStringLiteral("End Find"));
  close->setToolTip(QStringLiteral("End Find"));
  auto *layout = new QHBoxLayout(this);
  layout->setContentsMargins(margin, margin / 2, margin, margin / 2);
  layout->setSpacing(margin);
  layout->addWidget(field_, 1);
  layout->addWidget(where_);
  layout->addWidget(count_);
  layout->addWidget(close);
  connect(field_, &QLineEdit::textChanged, this, &FindBar::changed);
  connect(where_, &QComboBox::currentIndexChanged, this, &FindBar::changed);
  connect(close, &QToolButton::clicked, this, &FindBar::closed);
  followTextSize();
  hide();
}

void FindBar::open(bool everywhere) {
  show();
  where_->setCurrentIndex(everywhere ? kAllFolders : kThisFolder);
  field_->setFocus(Qt::ShortcutFocusReason);
  field_->selectAll();
  emit changed();
}

void FindBar::end() {
  const QSignalBlocker quietField(field_), quietWhere(where_);
  field_->clear();
  where_->setCurrentIndex(kThisFolder);
  hide();
}

FileSearch FindBar::search() const {
  return {field_->text(), where_->currentIndex() == kAllFolders};
}

bool FindBar::hasKeyboard() const {
  const QWidget *focused = window()->focusWidget();
  return focused && isAncestorOf(focused);
}

void FindBar::tellFound(std::size_t found, std::size_t searched) {
  count_->setText(QStringLiteral("%1 of %2").arg(QString::number(found), QString::number(searched)));
}

bool FindBar::eventFilter(QObject *watched, QEvent *event) {
  if (watched != field_) return QWidget::eventFilter(watched, event);
  auto *key = static_cast<QKeyEvent *>(event);
  // These edit the field: elsewhere they delete files.
  if (event->type() == QEvent::ShortcutOverride &&
      (key->matches(QKeySequence::DeleteStartOfWord) || key->matches(QKeySequence::DeleteEndOfWord))) {
    event->accept();
    return true;
  }
  if (event->type() != QEvent::KeyPress) return false;
  switch (key->key()) {
  case Qt::Key_Return:
  case Qt::Key_Enter:
    emit confirmed();
    return true;
  case Qt::Key_Down:
    emit left();
    return true;
  default:
    return false;
  }
}

void FindBar::keyPressEvent(QKeyEvent *event) {
  if (event->key() != Qt::Key_Escape) return QWidget::keyPressEvent(event);
  emit closed();
}

void FindBar::followTextSize() {
  for (QWidget *part :
       {static_cast<QWidget *>(field_), static_cast<QWidget *>(where_), static_cast<QWidget *>(count_)})
    setTextSize(part, textSize);
}

} // namespace tessary
