#include "cli/ListOrder.h"

#include "cli/FileFacts.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <string_view>
#include <utility>

namespace tessary::cli {
namespace {

constexpr std::array<std::pair<std::string_view, ListOrder::Key>, 5> kWords{{
    {"none", ListOrder::Key::none},
    {"name", ListOrder::Key::name},
    {"type", ListOrder::Key::type},
    {"format", ListOrder::Key::format},
    {"size", ListOrder::Key::size},
}};

/// What an entry is compared by: the text first, then the number.
using Rank = std::pair<std::string, std::uint64_t>;

// Capital and small letters of the alphabet are the same; of names that differ in them alone the capital
// comes first.
Rank rankOfName(const std::string &name) {
  std::string folded = name;
  std::transform(folded.begin(), folded.end(), folded.begin(),
                 [](unsigned char each) { return static_cast<char>(std::tolower(each)); });
  return {folded + '\0' + name, 0};
}

Rank rankOf(const EMU3FilePtr &file, ListOrder::Key key) {
  switch (key) {
  case ListOrder::Key::name:
    return rankOfName(file->name());
  case ListOrder::Key::type:
    return {file->fileTypeString(), 0};
  case ListOrder::Key::format:
    return {formatCell(file->bankDetails()), 0};
  case ListOrder::Key::size:
    return {{}, file->fileSize()};
  case ListOrder::Key::none:
    break;
  }
  return {};
}

Rank rankOf(const FolderItem &item, ListOrder::Key key) {
  return key == ListOrder::Key::name ? rankOfName(item.directory->name()) : Rank();
}

template <typename Item> std::vector<Item> sortedByKey(std::vector<Item> items, ListOrder::Key key) {
  std::vector<std::pair<Rank, Item>> ranked;
  ranked.reserve(items.size());
  for (Item &item : items) {
    Rank rank = rankOf(item, key);
    ranked.emplace_back(std::move(rank), std::move(item));
  }
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const auto &left, const auto &right) { return left.first < right.first; });
  std::transform(ranked.begin(), ranked.end(), items.begin(),
                 [](auto &each) { return std::move(each.second); });
  return items;
}

template <typename Item>
std::vector<Item> sortedBy(std::vector<Item> items, ListOrder::Key key, bool isReversed) {
  if (key != ListOrder::Key::none) items = sortedByKey(std::move(items), key);
  if (isReversed) std::reverse(items.begin(), items.end());
  return items;
}

} // namespace

std::optional<ListOrder::Key> ListOrder::keyFrom(const std::string &word) {
  const auto *found =
      std::find_if(kWords.begin(), kWords.end(), [&](const auto &each) { return each.first == word; });
  if (found == kWords.end()) return std::nullopt;
  return found->second;
}

std::vector<EMU3FilePtr> ListOrder::sorted(std::vector<EMU3FilePtr> files) const {
  return sortedBy(std::move(files), key_, isReversed_);
}

std::vector<FolderItem> ListOrder::sorted(std::vector<FolderItem> folders) const {
  return sortedBy(std::move(folders), key_, isReversed_);
}

} // namespace tessary::cli
