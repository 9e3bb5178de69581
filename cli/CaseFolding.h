#pragma once

#include <string>
#include <string_view>

namespace tessary::cli {

/// The text with capital letters as small ones: Latin, Greek and Cyrillic, whatever the host's language is.
/// What is no UTF-8 stays as it is.
[[nodiscard]] std::string foldedCase(std::string_view text);

} // namespace tessary::cli
