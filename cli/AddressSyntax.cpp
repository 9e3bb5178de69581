#include "cli/AddressSyntax.h"

#include <charconv>
#include <system_error>

namespace tessary::cli {
namespace {

constexpr char kSeparator = '/';
constexpr char kEscape = '\\';

bool takeNumber(std::string_view &text, std::int64_t *number) {
  if (text.empty() || text.front() < '0' || text.front() > '9') return false;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), *number);
  if (problem != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

// Takes "@BLOCK:INDEX" off the front, up to the separator or the end behind it.
std::optional<EntryPlace> takePlace(std::string_view &text) {
  EntryPlace place;
  text.remove_prefix(1);
  if (!takeNumber(text, &place.block) || !text.starts_with(':')) return std::nullopt;
  text.remove_prefix(1);
  if (!takeNumber(text, &place.index)) return std::nullopt;
  if (!text.empty() && text.front() != kSeparator) return std::nullopt;
  return place;
}

// Splits what stands behind the place. False when an escape has nothing behind it.
bool splitParts(std::size_t from, Address *address) {
  const std::string &word = address->word;
  std::size_t partAt = from;
  const auto endPart = [&](std::size_t end) {
    if (end == partAt) return;
    address->parts.push_back(word.substr(partAt, end - partAt));
    address->lastPartAt = partAt;
  };
  for (std::size_t i = from; i < word.size(); ++i) {
    address->endsInSlash = word[i] == kSeparator;
    if (word[i] == kEscape && ++i == word.size()) return false;
    if (!address->endsInSlash) continue;
    endPart(i);
    partAt = i + 1;
  }
  endPart(word.size());
  return true;
}

bool endsInSeparator(const std::string &address) {
  if (!address.ends_with(kSeparator)) return false;
  std::size_t escapes = 0;
  while (escapes + 1 < address.size() && address[address.size() - 2 - escapes] == kEscape)
    ++escapes;
  return escapes % 2 == 0;
}

} // namespace

std::optional<Address> parseAddress(const std::string &word) {
  Address address;
  address.word = word;
  std::string_view text = word;
  if (text.starts_with('@')) {
    address.start = takePlace(text);
    if (!address.start) return std::nullopt;
  } else if (!text.starts_with(kSeparator)) {
    return std::nullopt;
  }
  if (!splitParts(word.size() - text.size(), &address)) return std::nullopt;
  return address;
}

std::string escapedName(const std::string &name) {
  std::string part;
  for (const char character : name) {
    if (std::string_view("/\\*?").find(character) != std::string_view::npos) part += kEscape;
    part += character;
  }
  return part;
}

std::string unescapedName(std::string_view part) {
  std::string name;
  for (std::size_t i = 0; i < part.size(); ++i) {
    if (part[i] == kEscape && i + 1 < part.size()) ++i;
    name += part[i];
  }
  return name;
}

std::string placeAddress(EntryPlace place) {
  return "@" + std::to_string(place.block) + ":" + std::to_string(place.index);
}

std::string pathAddress(const std::string &parent, const std::string &name) {
  return parent + (endsInSeparator(parent) ? "" : "/") + escapedName(name);
}

} // namespace tessary::cli
