#include "filesystem/HostFileName.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace tessary {
namespace {

constexpr char kEscape = '%';

int hexDigit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  return -1;
}

// Whether an escape stands at `place`: '%' and two hexadecimal digits.
bool isEscapeAt(const std::string &text, std::size_t place) {
  return text[place] == kEscape && place + 2 < text.size() && hexDigit(text[place + 1]) >= 0 &&
         hexDigit(text[place + 2]) >= 0;
}

bool isSeparator(char character) {
#ifdef __APPLE__
  if (character == ':') return true; // the file manager's own separator
#endif
  return character == '/';
}

// Number of bytes at `place` that must not stand in a host file name: a path separator or a control
// character (C1 ones take two bytes).
std::size_t forbiddenBytesAt(const std::string &name, std::size_t place) {
  const auto byte = static_cast<std::uint8_t>(name[place]);
  if (byte < 0x20 || byte == 0x7F || isSeparator(name[place])) return 1;
  if (byte == 0xC2 && place + 1 < name.size()) {
    const auto next = static_cast<std::uint8_t>(name[place + 1]);
    if (next >= 0x80 && next < 0xA0) return 2;
  }
  return 0;
}

void appendEscaped(std::string &to, char byte) {
  std::array<char, 4> text{};
  std::snprintf(text.data(), text.size(), "%%%02X", static_cast<unsigned>(static_cast<std::uint8_t>(byte)));
  to += text.data();
}

} // namespace

std::string hostFileName(const std::string &name) {
  const bool isRelativeFolder = name == "." || name == "..";
  std::string hostName;
  for (std::size_t i = 0; i < name.size();) {
    std::size_t escaped = forbiddenBytesAt(name, i);
    if (escaped == 0 && (isRelativeFolder || isEscapeAt(name, i))) escaped = 1;
    if (escaped == 0) {
      hostName += name[i++];
      continue;
    }
    for (const std::size_t end = i + escaped; i < end; ++i)
      appendEscaped(hostName, name[i]);
  }
  return hostName;
}

std::string nameFromHostFileName(const std::string &hostName) {
  std::string name;
  for (std::size_t i = 0; i < hostName.size(); ++i) {
    if (!isEscapeAt(hostName, i)) {
      name += hostName[i];
      continue;
    }
    name += static_cast<char>(hexDigit(hostName[i + 1]) * 16 + hexDigit(hostName[i + 2]));
    i += 2;
  }
  return hostFileName(name) == hostName ? name : hostName; // the rule makes no other name
}

} // namespace tessary
