#include "cli/CaseFolding.h"

#include <cstdint>

namespace tessary::cli {
namespace {

// Of a character that takes two bytes in UTF-8, as all of these do in both cases.
std::uint32_t smallLetter(std::uint32_t codePoint) {
  const auto isIn = [&](std::uint32_t first, std::uint32_t last) {
    return codePoint >= first && codePoint <= last;
  };
  const bool hasEvenCapitals = isIn(0x100, 0x12F) || isIn(0x132, 0x137) || isIn(0x14A, 0x177) ||
                               isIn(0x460, 0x481) || isIn(0x48A, 0x4BF) || isIn(0x4D0, 0x52F);
  if (hasEvenCapitals) return codePoint | 1U;
  if (isIn(0x139, 0x148) || isIn(0x179, 0x17E)) return codePoint % 2 == 1 ? codePoint + 1 : codePoint;
  if (codePoint == 0x178) return 0xFF;
  if (isIn(0xC0, 0xDE) && codePoint != 0xD7) return codePoint + 0x20;
  if (isIn(0x391, 0x3AB) && codePoint != 0x3A2) return codePoint + 0x20;
  if (isIn(0x410, 0x42F)) return codePoint + 0x20;
  if (isIn(0x400, 0x40F)) return codePoint + 0x50;
  return codePoint;
}

} // namespace

std::string foldedCase(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<std::uint8_t>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<std::uint8_t>(text[i + 1]) : std::uint8_t{0};
    if (byte >= 'A' && byte <= 'Z') {
      folded += static_cast<char>(byte - 'A' + 'a');
    } else if (byte >= 0xC2 && byte <= 0xDF && (next & 0xC0U) == 0x80) {
      const std::uint32_t small = smallLetter(((byte & 0x1FU) << 6U) | (next & 0x3FU));
      folded += static_cast<char>(0xC0U | (small >> 6U));
      folded += static_cast<char>(0x80U | (small & 0x3FU));
      ++i;
    } else {
      folded += text[i];
    }
  }
  return folded;
}

} // namespace tessary::cli
