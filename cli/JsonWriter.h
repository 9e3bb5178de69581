#pragma once

#include "tessary/EMU3Error.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <string_view>

namespace tessary::cli {

/// Writes JSON piece by piece, as compact text on one line. Nesting costs no stack and nothing is held in
/// memory, so a tree of any depth can be written. The caller opens and closes objects and arrays in pairs.
class JsonWriter final {
public:
  explicit JsonWriter(std::ostream &out) : out_(out) {}

  JsonWriter &beginObject() { return open('{'); }
  JsonWriter &endObject() { return close('}'); }
  JsonWriter &beginArray() { return open('['); }
  JsonWriter &endArray() { return close(']'); }
  /// The name of the member whose value comes next.
  JsonWriter &key(std::string_view name);
  /// A number, a boolean, null or a text. Bytes of a text that are not UTF-8 become U+FFFD.
  JsonWriter &value(const nlohmann::json &scalar);
  JsonWriter &member(std::string_view name, const nlohmann::json &scalar) { return key(name).value(scalar); }
  void endLine() { out_ << '\n'; }

private:
  JsonWriter &open(char bracket);
  JsonWriter &close(char bracket);
  void separate();

  std::ostream &out_;
  bool needsComma_ = false;
};

/// {"domain", "code", "message"}
void writeError(JsonWriter &writer, const EMU3Error &error);

} // namespace tessary::cli
