#pragma once

#include "app/Alert.h"
#include "tessary/EMU3Error.h"

#include <QString>
#include <cstddef>
#include <string>
#include <vector>

namespace tessary {

/// One of many items that could not be done, and why. Both texts are plain and as they are shown.
struct ItemFailure {
  QString item;
  QString reason;

  /// `item` as it is called on the image or on the host.
  static ItemFailure of(const std::string &item, const EMU3Error &error);
};

/// "Import Failed (2 of 5)": what such an alert is called, where so many of all could not be done.
QString failuresTitle(const QString &command, std::size_t failed, std::size_t all);

/// An alert that lists each item that failed with its reason. "Copy" puts the list on the clipboard.
class FailuresAlert final : public Alert {
  Q_OBJECT

public:
  FailuresAlert(const QString &message, const std::vector<ItemFailure> &failures, QWidget *parent);
};

} // namespace tessary
