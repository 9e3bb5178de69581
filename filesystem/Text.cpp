#include "tessary/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace tessary {
namespace {

struct Character {
  std::size_t length = 1; ///< bytes
  std::uint32_t codePoint = 0;
  bool valid = false;
};

// The character at the beginning of `text`, which is not empty. An invalid byte stands alone.
Character nextCharacter(std::string_view text) {
  const auto byteAt = [&](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
  const std::uint8_t lead = byteAt(0);
  if (lead < 0x80) return {1, lead, true};
  std::size_t length = 0;
  std::uint32_t smallest = 0;
  if ((lead & 0xE0) == 0xC0) {
    length = 2, smallest = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, smallest = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, smallest = 0x10000;
  } else {
    return {};
  }
  if (text.size() < length) return {};
  std::uint32_t codePoint = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteAt(i) & 0xC0) != 0x80) return {};
    codePoint = (codePoint << 6) | (byteAt(i) & 0x3FU);
  }
  const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  if (codePoint < smallest || codePoint > 0x10FFFF || surrogate) return {};
  return {length, codePoint, true};
}

// Most names are: looked at by itself, opening a volume takes a tenth less.
bool isAscii(std::string_view text) {
  constexpr std::uint64_t highestBits = 0x8080808080808080;
  std::uint64_t all = 0;
  const auto lookAtEight = [&](std::size_t first) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, text.data() + first, sizeof eight);
    all |= eight;
  };
  for (std::size_t first = 0; first + 8 < text.size(); first += 8)
    lookAtEight(first);
  if (text.size() >= 8) lookAtEight(text.size() - 8);
  for (std::size_t i = 0; text.size() < 8 && i < text.size(); ++i)
    all |= static_cast<unsigned char>(text[i]);
  return (all & highestBits) == 0;
}

std::size_t utf16Units(const Character &character) {
  return character.codePoint > 0xFFFF ? 2 : 1;
}

/// Code points from the first to the last.
struct CodePoints {
  std::uint32_t first;
  std::uint32_t last;
};

// What a reader does not see, or sees in other characters alone: control characters, separators that some
// terminals and views treat as line breaks, marks of direction, joiners, fillers, tags, and what is no
// character. In ascending order.
constexpr std::array kUnprintable{
    CodePoints{0x00, 0x1F},       CodePoints{0x7F, 0x9F},       CodePoints{0xAD, 0xAD},
    CodePoints{0x34F, 0x34F},     CodePoints{0x61C, 0x61C},     CodePoints{0x115F, 0x1160},
    CodePoints{0x17B4, 0x17B5},   CodePoints{0x180B, 0x180F},   CodePoints{0x200B, 0x200F},
    CodePoints{0x2028, 0x202E},   CodePoints{0x2060, 0x206F},   CodePoints{0x3164, 0x3164},
    CodePoints{0xE000, 0xF8FF},   CodePoints{0xFDD0, 0xFDEF},   CodePoints{0xFE00, 0xFE0F},
    CodePoints{0xFEFF, 0xFEFF},   CodePoints{0xFFA0, 0xFFA0},   CodePoints{0xFFF0, 0xFFFB},
    CodePoints{0xFFFE, 0xFFFF},   CodePoints{0x1BCA0, 0x1BCA3}, CodePoints{0x1D173, 0x1D17A},
    CodePoints{0xE0000, 0x10FFFF}};

bool isUnprintable(std::uint32_t codePoint) {
  const auto *range =
      std::lower_bound(kUnprintable.begin(), kUnprintable.end(), codePoint,
                       [](const CodePoints &each, std::uint32_t wanted) { return each.last < wanted; });
  return range != kUnprintable.end() && codePoint >= range->first;
}

std::string formatted(const char *format, unsigned value) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

std::string escapeFor(std::uint32_t codePoint) {
  switch (codePoint) {
  case '\n':
    return "\\n";
  case '\r':
    return "\\r";
  case '\t':
    return "\\t";
  default:
    if (codePoint > 0xFFFF) return formatted("\\U%08x", codePoint);
    return formatted(codePoint < 0x80 ? "\\x%02x" : "\\u%04x", codePoint);
  }
}

} // namespace

bool isValidUtf8(std::string_view text) {
  if (isAscii(text)) return true;
  while (!text.empty()) {
    const Character character = nextCharacter(text);
    if (!character.valid) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  while (!text.empty()) {
    const Character character = nextCharacter(text);
    units += utf16Units(character);
    text.remove_prefix(character.length);
  }
  return units;
}

std::string_view prefixOfUtf16Units(std::string_view text, std::size_t units) {
  std::size_t taken = 0;
  std::size_t bytes = 0;
  while (bytes < text.size()) {
    const Character character = nextCharacter(text.substr(bytes));
    taken += utf16Units(character);
    if (taken > units) break;
    bytes += character.length;
  }
  return text.substr(0, bytes);
}

std::string_view prefixOfWholeCharacters(std::string_view text, std::size_t bytes) {
  std::size_t end = 0;
  while (end < text.size()) {
    const std::size_t length = nextCharacter(text.substr(end)).length;
    if (end + length > bytes) break;
    end += length;
  }
  return text.substr(0, end);
}

std::string withoutUnprintable(std::string_view text, std::string (*escape)(std::uint32_t codePoint)) {
  const auto isPlain = [](char character) { return character >= 0x20 && character < 0x7F; };
  if (std::all_of(text.begin(), text.end(), isPlain)) return std::string(text); // as nearly always
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const Character character = nextCharacter(text);
    if (!character.valid) {
      shown += formatted("\\x%02x", static_cast<std::uint8_t>(text.front()));
    } else if (isUnprintable(character.codePoint)) {
      shown += escape(character.codePoint);
    } else {
      shown += text.substr(0, character.length);
    }
    text.remove_prefix(character.length);
  }
  return shown;
}

std::string escapedForDisplay(std::string_view text) {
  return withoutUnprintable(text, escapeFor);
}

std::string escapedNameForDisplay(std::string_view name) {
  if (name.find('\\') == std::string_view::npos) return escapedForDisplay(name);
  std::string doubled;
  doubled.reserve(name.size());
  for (const char character : name)
    doubled.append(character == '\\' ? 2 : 1, character);
  return escapedForDisplay(doubled);
}

std::string withInvalidBytesAsCodes(std::string text) {
  if (isAscii(text)) return text;
  std::string shown;
  for (std::string_view left = text; !left.empty();) {
    const Character character = nextCharacter(left);
    if (character.valid)
      shown += left.substr(0, character.length);
    else
      shown += formatted("%%%02X", static_cast<std::uint8_t>(left.front()));
    left.remove_prefix(character.length);
  }
  return shown;
}

std::string paddedField(const std::uint8_t *field, std::size_t size) {
  while (size > 0 && (field[size - 1] == ' ' || field[size - 1] == 0))
    --size;
  const std::string_view text(reinterpret_cast<const char *>(field), size);
  return std::string(text.substr(0, text.find('\0')));
}

std::string lastPathComponent(const std::string &path) {
  const std::size_t end = path.find_last_not_of('/');
  if (end == std::string::npos) return {};
  const std::size_t slash = path.rfind('/', end);
  const std::size_t begin = slash == std::string::npos ? 0 : slash + 1;
  return path.substr(begin, end + 1 - begin);
}

std::string withoutExtension(const std::string &fileName) {
  const std::size_t dot = fileName.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == fileName.size()) return fileName;
  return fileName.substr(0, dot);
}

} // namespace tessary
