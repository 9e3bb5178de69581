#include "banks/DetectionLog.h"

#include "tessary/SystemLog.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace tessary {
namespace {

template <typename... Args> std::string formatted(const char *format, Args... args) {
  std::array<char, 256> text{};
  std::snprintf(text.data(), text.size(), format, args...);
  return text.data();
}

} // namespace

void DetectionLog::write(const char *tag, const std::string &text) const {
  systemLog(std::string("[") + tag + "] " + fileName_ + " " + text);
}

std::string number(std::uint64_t value) {
  return std::to_string(value);
}

std::string hexWord(std::uint32_t value) {
  return formatted("0x%08x", value);
}

std::string counts(std::uint64_t presets, std::uint64_t samples) {
  return "Presets: " + number(presets) + ", Samples: " + number(samples);
}

std::string shownText(const std::uint8_t *bytes, std::size_t size) {
  std::string text(reinterpret_cast<const char *>(bytes), size);
  text.resize(std::strlen(text.c_str()));
  return text;
}

std::string withReplacement(const std::uint8_t *bytes, std::size_t size, char replacement) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i)
    text += bytes[i] >= 0x20 && bytes[i] <= 0x7E ? static_cast<char>(bytes[i]) : replacement;
  return text;
}

std::string typeAndSize(const std::uint8_t *type, std::uint32_t size) {
  return formatted("(hex: %02x %02x %02x %02x) size=%u", type[0], type[1], type[2], type[3], size);
}

} // namespace tessary
