#pragma once

#include "cli/Addresses.h"

#include <optional>
#include <string>
#include <vector>

namespace tessary::cli {

/// The order in which `ls` shows the entries of a folder. Files stand before folders whatever it is.
class ListOrder final {
public:
  enum class Key { none, name, type, format, size };

  ListOrder() = default;
  /// The word for a key, as the option takes it. None where it is no such word.
  [[nodiscard]] static std::optional<Key> keyFrom(const std::string &word);

  ListOrder(Key key, bool isReversed) : key_(key), isReversed_(isReversed) {}

  /// Entries that are equal by the key keep the folder's own order. Folders have no type, format or size of
  /// their own: only `name` moves them.
  [[nodiscard]] std::vector<EMU3FilePtr> sorted(std::vector<EMU3FilePtr> files) const;
  [[nodiscard]] std::vector<FolderItem> sorted(std::vector<FolderItem> folders) const;

private:
  Key key_ = Key::none;
  bool isReversed_ = false;
};

} // namespace tessary::cli
