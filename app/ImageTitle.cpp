#include "app/ImageTitle.h"

#include "app/DisplayText.h"
#include "tessary/Text.h"

#include <algorithm>
#include <filesystem>

namespace tessary {

QString imageTitle(const std::string &path, const std::vector<std::string> &paths) {
  const auto hasItsName = [name = lastPathComponent(path)](const std::string &other) {
    return lastPathComponent(other) == name;
  };
  const bool isAlone = std::count_if(paths.begin(), paths.end(), hasItsName) == 1;
  const QString name = displayText(lastPathComponent(path));
  const QString folder = displayText(std::filesystem::path(path).parent_path().string());
  QString shown = isAlone ? name : QStringLiteral("%1 — %2").arg(name, folder);
  return shown.replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace tessary
