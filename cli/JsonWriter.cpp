#include "cli/JsonWriter.h"

#include "tessary/Text.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace tessary::cli {
namespace {

// A code point beyond 16 bits takes two escapes.
std::string jsonEscape(std::uint32_t codePoint) {
  std::array<char, 16> text{};
  if (codePoint <= 0xFFFF) {
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(codePoint));
  } else {
    const auto beyond = static_cast<unsigned>(codePoint - 0x10000);
    std::snprintf(text.data(), text.size(), "\\u%04x\\u%04x", 0xD800 + (beyond >> 10),
                  0xDC00 + (beyond & 0x3FF));
  }
  return text.data();
}

// JSON allows characters in a text that do not print. They are escaped here: a reader that splits at every
// kind of line break would cut the object there, and a terminal would act on them.
std::string dumped(const nlohmann::json &scalar) {
  const std::string json = scalar.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  return scalar.is_string() ? withoutUnprintable(json, jsonEscape) : json;
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
      .member("message", error.messageWithReason())
      .endObject();
}

} // namespace tessary::cli
