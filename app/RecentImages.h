#pragma once

#include <QObject>
#include <functional>
#include <string>
#include <vector>

class QMenu;

namespace tessary {

/// The images that were opened last, in the platform's settings, and the menu that opens one of them again.
class RecentImages final : public QObject {
  Q_OBJECT

public:
  static constexpr std::size_t kMost = 10;

  /// `open` is given the path that the user chooses.
  RecentImages(std::function<void(const std::string &path)> open, QObject *parent = nullptr);

  /// From the newest to the oldest.
  static std::vector<std::string> paths();
  static void add(const std::string &path);
  static void clear();

  /// Fills the menu each time that it is about to be shown. The menu is not owned.
  void fill(QMenu *menu);

private:
  void list(QMenu *menu);

  const std::function<void(const std::string &)> open_;
};

} // namespace tessary
