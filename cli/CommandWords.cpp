#include "cli/CommandWords.h"

#include "cli/CliError.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <system_error>

namespace tessary::cli {
namespace {

// The parser reads a word in brackets as a list of values. With a mark in front, one that no word can hold,
// it is a word like others; the mark is taken off again when the word is read.
constexpr char kMark = '\0';

std::string marked(const std::string &word) {
  return word.starts_with('[') ? kMark + word : word;
}

std::string unmarked(const std::string &word) {
  return word.starts_with(kMark) ? word.substr(1) : word;
}

std::string withoutMarks(std::string message) {
  std::erase(message, kMark);
  return message;
}

// Shows the usage line as it is written down with the command rather than one put together from the words.
class HelpFormatter final : public CLI::Formatter {
public:
  explicit HelpFormatter(std::string usage) : usage_(std::move(usage)) {
    column_width(24);
    label("Positionals", "Words");
    label("REQUIRED", "");
  }
  std::string make_usage(const CLI::App *, std::string) const override { return "\nUsage: " + usage_ + "\n"; }
  std::string make_option_opts(const CLI::Option *option) const override {
    return option->get_option_text().empty() ? "" : " " + option->get_option_text();
  }

private:
  std::string usage_;
};

} // namespace

CommandWords::CommandWords(const std::string &description, const std::string &usage,
                           const std::string &details)
    : app_(description) {
  app_.formatter(std::make_shared<HelpFormatter>(usage));
  app_.footer(details);
  app_.set_help_flag("-h,--help", "Show this help and exit");
}

CommandWords::Word *CommandWords::required(const std::string &name, const std::string &description) {
  return optional(name, description)->required();
}

CommandWords::Word *CommandWords::optional(const std::string &name, const std::string &description) {
  Word *word = app_.add_option(name);
  return word->description(description);
}

CommandWords::Word *CommandWords::several(const std::string &name, std::size_t minimum,
                                          const std::string &description) {
  return required(name, description)
      ->expected(static_cast<int>(minimum), CLI::detail::expected_max_vector_size)
      ->allow_extra_args();
}

CommandWords::Word *CommandWords::flag(const std::string &names, const std::string &description) {
  return app_.add_flag(names)->description(description)->disable_flag_override();
}

CommandWords::Word *CommandWords::option(const std::string &names, const std::string &valueName,
                                         const std::string &description) {
  return app_.add_option(names)->description(description)->option_text(valueName);
}

std::vector<std::string> CommandWords::namesOfOptionsWithValue() const {
  std::vector<std::string> names;
  for (const Word *word : app_.get_options([](const Word *each) { return each->nonpositional(); })) {
    if (word->get_items_expected_max() == 0) continue;
    for (const std::string &name : word->get_snames())
      names.push_back("-" + name);
    for (const std::string &name : word->get_lnames())
      names.push_back("--" + name);
  }
  return names;
}

bool CommandWords::read(std::span<const std::string> words) {
  std::vector<std::string> reversed; // the parser takes words from the end
  std::transform(words.rbegin(), words.rend(), std::back_inserter(reversed), marked);
  try {
    app_.parse(std::move(reversed));
    return true;
  } catch (const CLI::CallForHelp &) {
    return false;
  } catch (const CLI::ParseError &error) {
    throw WrongWords{withoutMarks(error.what())};
  }
}

std::string CommandWords::text(const Word *word) {
  return unmarked(word->results().front());
}

std::optional<std::string> CommandWords::textIfGiven(const Word *word) {
  if (!isGiven(word)) return std::nullopt;
  return text(word);
}

std::vector<std::string> CommandWords::texts(const Word *word) {
  std::vector<std::string> all;
  std::transform(word->results().begin(), word->results().end(), std::back_inserter(all), unmarked);
  return all;
}

std::size_t countFrom(const std::string &name, const std::string &text) {
  std::size_t count = 0;
  const char *end = text.data() + text.size();
  const auto [stopped, problem] = std::from_chars(text.data(), end, count);
  if (text.empty() || problem != std::errc() || stopped != end) {
    throw WrongWords{name + ": not a number from 0 on: " + text};
  }
  return count;
}

} // namespace tessary::cli
