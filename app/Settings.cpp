#include "app/Settings.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <filesystem>
#include <system_error>

namespace tessary {
namespace {

const QString kOffered = QStringLiteral("Backup/Offered");
const QString kNotFor = QStringLiteral("Backup/NotOfferedFor");

/// A path may hold any bytes, a setting only text.
QString identityOf(const std::string &imagePath, std::uint64_t imageSize) {
  std::error_code unresolved;
  const std::filesystem::path resolved = std::filesystem::canonical(imagePath, unresolved);
  const std::string path = unresolved ? imagePath : resolved.string();
  return QStringLiteral("%1:%2").arg(
      QString::number(imageSize),
      QString::fromLatin1(QByteArray::fromStdString(path).toPercentEncoding("/ ")));
}

} // namespace

std::unique_ptr<QSettings> openSettings() {
  return std::make_unique<QSettings>(QStringLiteral("Tessary"), QStringLiteral("Tessary"));
}

bool BackupOffers::areMade() {
  return openSettings()->value(kOffered, true).toBool();
}

void BackupOffers::setMade(bool made) {
  openSettings()->setValue(kOffered, made);
}

bool BackupOffers::isMadeFor(const std::string &imagePath, std::uint64_t imageSize) {
  return areMade() &&
         !openSettings()->value(kNotFor).toStringList().contains(identityOf(imagePath, imageSize));
}

void BackupOffers::endFor(const std::string &imagePath, std::uint64_t imageSize) {
  const auto settings = openSettings();
  QStringList images = settings->value(kNotFor).toStringList();
  const QString identity = identityOf(imagePath, imageSize);
  if (images.contains(identity)) return;
  settings->setValue(kNotFor, images << identity);
}

} // namespace tessary
