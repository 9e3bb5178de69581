#include "cli/ShellWords.h"

#include <cstddef>
#include <utility>

namespace tessary::cli {
namespace {

class Splitter final {
public:
  explicit Splitter(std::string_view line) : line_(line) {}

  // False with `problem` set when the line is not complete.
  bool split() {
    if (line_.find('\0') != std::string_view::npos) return fail("the line holds a NUL character");
    while (at_ < line_.size()) {
      if (!takeNext(line_[at_++])) return false;
    }
    endWord();
    return true;
  }

  std::vector<std::string> words;
  std::string problem;

private:
  bool takeNext(char character) {
    switch (character) {
    case ' ':
    case '\t':
      endWord();
      return true;
    case '\'':
      return takeSingleQuoted();
    case '"':
      return takeDoubleQuoted();
    case '\\':
      if (at_ == line_.size()) return fail("nothing stands behind the last backslash");
      append(line_[at_++]);
      return true;
    default:
      append(character);
      return true;
    }
  }

  bool takeSingleQuoted() {
    const std::size_t end = line_.find('\'', at_);
    if (end == std::string_view::npos) return fail("a single quote is not closed");
    inWord_ = true;
    word_ += line_.substr(at_, end - at_);
    at_ = end + 1;
    return true;
  }

  bool takeDoubleQuoted() {
    inWord_ = true;
    while (at_ < line_.size()) {
      const char character = line_[at_++];
      if (character == '"') return true;
      const bool escapes = character == '\\' && at_ < line_.size() &&
                           std::string_view("\"\\$`").find(line_[at_]) != std::string_view::npos;
      word_ += escapes ? line_[at_++] : character;
    }
    return fail("a double quote is not closed");
  }

  void append(char character) {
    inWord_ = true;
    word_ += character;
  }

  void endWord() {
    if (inWord_) words.push_back(std::exchange(word_, {}));
    inWord_ = false;
  }

  bool fail(const char *what) {
    problem = what;
    return false;
  }

  std::string_view line_;
  std::size_t at_ = 0;
  std::string word_;
  bool inWord_ = false; ///< also for an empty quoted word
};

} // namespace

std::optional<std::vector<std::string>> shellWords(std::string_view line, std::string *problem) {
  Splitter splitter(line);
  if (splitter.split()) return std::move(splitter.words);
  *problem = splitter.problem;
  return std::nullopt;
}

} // namespace tessary::cli
