#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessary::cli {

/// Splits a line into words, quoted as in a shell: blanks part words; "\" takes the next character as it
/// is; between single quotes everything is itself; between double quotes "\" escapes `"`, "\", "$" and "`"
/// alone. Nothing is expanded. None, with the problem in words, when a quote or an escape is not complete or
/// the line holds a NUL, which no word can.
std::optional<std::vector<std::string>> shellWords(std::string_view line, std::string *problem);

} // namespace tessary::cli
