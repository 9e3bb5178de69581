#pragma once

#include <string_view>

namespace tessary::cli {

/// Whether an unescaped "*" or "?" stands in the text. "\" escapes the next character.
bool isPattern(std::string_view text);

/// Whether `name` matches the pattern: "*" stands for any text, "?" for one character, "\" escapes the next.
bool matchesPattern(std::string_view pattern, std::string_view name);

} // namespace tessary::cli
