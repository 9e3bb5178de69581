#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessary::cli {

/// The words that one command takes: declared once, for reading them and for the help text, then read.
///
/// Words are handed on exactly as they were given. What the parser would do to them (lists in brackets,
/// octal numbers, …) is kept from happening here.
class CommandWords final {
public:
  using Word = CLI::Option;

  /// `usage` is what follows "Usage: " in the help.
  CommandWords(const std::string &description, const std::string &usage, const std::string &details);

  // Declaring. The words belong to this object.
  Word *required(const std::string &name, const std::string &description);
  Word *optional(const std::string &name, const std::string &description);
  /// At least `minimum` words, the last in the line.
  Word *several(const std::string &name, std::size_t minimum, const std::string &description);
  Word *flag(const std::string &names, const std::string &description);
  /// An option with a value; `valueName` stands for it in the help.
  Word *option(const std::string &names, const std::string &valueName, const std::string &description);
  /// Names of all options that take a value, dashes included.
  std::vector<std::string> namesOfOptionsWithValue() const;
  /// Whether an option of this name was added; dashes included.
  bool hasOption(const std::string &name) const { return app_.get_option_no_throw(name) != nullptr; }

  /// False when the words ask for the help. Throws WrongWords.
  bool read(std::span<const std::string> words);
  std::string help() const { return app_.help(); }

  // Reading, after `read`.
  static bool isGiven(const Word *word) { return word->count() > 0; }
  static std::string text(const Word *word);
  static std::optional<std::string> textIfGiven(const Word *word);
  static std::vector<std::string> texts(const Word *word);

private:
  CLI::App app_;
};

/// A count in decimal digits. Throws WrongWords, naming the word it was given for.
std::size_t countFrom(const std::string &name, const std::string &text);

} // namespace tessary::cli
