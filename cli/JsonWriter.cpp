#include "cli/JsonWriter.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace tessary::cli {
namespace {

void appendEscape(std::string &to, unsigned codePoint) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "\\u%04x", codePoint);
  to += text.data();
}

// JSON itself allows DEL, C1 and the Unicode line ends inside a text. A reader that splits at lines of any
// kind would cut the object there, and a terminal would act on them.
std::string withoutLineEnds(const std::string &json) {
  std::string text;
  text.reserve(json.size());
  const auto byteAt = [&](std::size_t i) {
    return i < json.size() ? static_cast<std::uint8_t>(json[i]) : 0U;
  };
  for (std::size_t i = 0; i < json.size(); ++i) {
    if (byteAt(i) == 0x7F) {
      appendEscape(text, 0x7F);
    } else if (byteAt(i) == 0xC2 && byteAt(i + 1) < 0xA0) {
      appendEscape(text, byteAt(i + 1));
      i += 1;
    } else if (byteAt(i) == 0xE2 && byteAt(i + 1) == 0x80 &&
               (byteAt(i + 2) == 0xA8 || byteAt(i + 2) == 0xA9)) {
      appendEscape(text, 0x2000 + (byteAt(i + 2) & 0x3F));
      i += 2;
    } else {
      text += json[i];
    }
  }
  return text;
}

std::string dumped(const nlohmann::json &scalar) {
  const std::string json = scalar.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  return scalar.is_string() ? withoutLineEnds(json) : json;
}

} // namespace

void JsonWriter::separate() {
  if (needsComma_) out_ << ',';
}

JsonWriter &JsonWriter::open(char bracket) {
  separate();
  out_ << bracket;
  needsComma_ = false;
  return *this;
}

JsonWriter &JsonWriter::close(char bracket) {
  out_ << bracket;
  needsComma_ = true;
  return *this;
}

JsonWriter &JsonWriter::key(std::string_view name) {
  separate();
  out_ << '"' << name << "\":";
  needsComma_ = false;
  return *this;
}

JsonWriter &JsonWriter::value(const nlohmann::json &scalar) {
  separate();
  out_ << dumped(scalar);
  needsComma_ = true;
  return *this;
}

void writeError(JsonWriter &writer, const EMU3Error &error) {
  writer.beginObject()
      .member("domain", error.domain)
      .member("code", error.code)
      .member("message", error.message)
      .endObject();
}

} // namespace tessary::cli
