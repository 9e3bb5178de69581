#include "cli/NamePattern.h"

#include <cstddef>
#include <vector>

namespace tessary::cli {
namespace {

/// One step of a pattern.
struct Step {
  enum Kind { oneOf, anyCharacter, anyText } kind;
  std::string_view character; ///< for oneOf
};

// Takes one UTF-8 character off the front.
std::string_view takeCharacter(std::string_view &text) {
  std::size_t length = 1;
  const auto continues = [&](std::size_t i) { return (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80; };
  while (length < text.size() && continues(length))
    ++length;
  const std::string_view character = text.substr(0, length);
  text.remove_prefix(length);
  return character;
}

std::vector<Step> stepsOf(std::string_view pattern) {
  std::vector<Step> steps;
  while (!pattern.empty()) {
    const bool isEscape = pattern.front() == '\\' && pattern.size() > 1;
    if (isEscape) pattern.remove_prefix(1);
    const std::string_view character = takeCharacter(pattern);
    if (!isEscape && character == "*")
      steps.push_back({Step::anyText, {}});
    else if (!isEscape && character == "?")
      steps.push_back({Step::anyCharacter, {}});
    else
      steps.push_back({Step::oneOf, character});
  }
  return steps;
}

std::vector<std::string_view> charactersOf(std::string_view text) {
  std::vector<std::string_view> characters;
  while (!text.empty())
    characters.push_back(takeCharacter(text));
  return characters;
}

bool takes(const Step &step, std::string_view character) {
  return step.kind == Step::anyCharacter || (step.kind == Step::oneOf && step.character == character);
}

} // namespace

bool isPattern(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\')
      ++i;
    else if (text[i] == '*' || text[i] == '?')
      return true;
  }
  return false;
}

// Where a character does not fit, the last "*" takes one character more and the rest is tried again; an
// earlier "*" need not be tried, so the time is bounded by pattern times name.
bool matchesPattern(std::string_view pattern, std::string_view name) {
  const std::vector<Step> steps = stepsOf(pattern);
  const std::vector<std::string_view> characters = charactersOf(name);
  std::size_t step = 0;
  std::size_t at = 0;
  std::size_t behindAnyText = 0; // the step behind the last "*"; 0 when there was none
  std::size_t anyTextEnd = 0;    // where that "*" ends so far
  while (at < characters.size()) {
    if (step < steps.size() && steps[step].kind == Step::anyText) {
      behindAnyText = ++step;
      anyTextEnd = at;
    } else if (step < steps.size() && takes(steps[step], characters[at])) {
      ++step;
      ++at;
    } else if (behindAnyText != 0) {
      step = behindAnyText;
      at = ++anyTextEnd;
    } else {
      return false;
    }
  }
  while (step < steps.size() && steps[step].kind == Step::anyText)
    ++step;
  return step == steps.size();
}

} // namespace tessary::cli
