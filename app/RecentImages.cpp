#include "app/RecentImages.h"

#include "app/DisplayText.h"
#include "app/ImageTitle.h"
#include "app/Settings.h"

#include <QMenu>
#include <algorithm>
#include <filesystem>
#include <utility>

namespace tessary {
namespace {

const QString kPaths = QStringLiteral("RecentImages");

/// Bytes that are no text survive only so.
QStringList encoded(const std::vector<std::string> &paths) {
  QStringList list;
  for (const std::string &path : paths)
    list += QString::fromLatin1(QByteArray::fromStdString(path).toPercentEncoding("/ "));
  return list;
}

} // namespace

RecentImages::RecentImages(std::function<void(const std::string &)> open, QObject *parent)
    : QObject(parent), open_(std::move(open)) {}

std::vector<std::string> RecentImages::paths() {
  std::vector<std::string> paths;
  for (const QString &path : openSettings()->value(kPaths).toStringList())
    paths.push_back(QByteArray::fromPercentEncoding(path.toLatin1()).toStdString());
  return paths;
}

void RecentImages::add(const std::string &path) {
  std::error_code ignored;
  const std::string whole = std::filesystem::absolute(path, ignored).string();
  std::vector<std::string> recent = paths();
  std::erase(recent, whole);
  recent.insert(recent.begin(), whole);
  recent.resize(std::min(recent.size(), kMost));
  openSettings()->setValue(kPaths, encoded(recent));
}

void RecentImages::clear() {
  openSettings()->remove(kPaths);
}

void RecentImages::fill(QMenu *menu) {
  connect(menu, &QMenu::aboutToShow, this, [this, menu] { list(menu); });
  list(menu);
}

void RecentImages::list(QMenu *menu) {
  menu->clear();
  const std::vector<std::string> recent = paths();
  for (const std::string &path : recent) {
    QAction *item = menu->addAction(imageTitle(path, recent));
    item->setToolTip(displayText(path));
    connect(item, &QAction::triggered, this, [this, path] { open_(path); });
  }
  menu->addSeparator();
  QAction *clearItem = menu->addAction(QStringLiteral("Clear"));
  clearItem->setEnabled(!recent.empty());
  connect(clearItem, &QAction::triggered, this, &RecentImages::clear);
}

} // namespace tessary
