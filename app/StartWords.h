#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tessary {

/// What the program answers to `--help` or `--version` among its words (the first is its own path) instead of
/// opening a window; none when neither is there. Needs no display.
std::optional<std::string> answerWithoutWindow(const std::vector<std::string> &words);

} // namespace tessary
