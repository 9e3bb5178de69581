#pragma once

#include <ostream>
#include <string>

/// What the shells' completions ask the program for: names inside an image. Nothing is printed where the
/// image cannot be read, since whoever presses the key wants no message.
namespace tessary::cli {

/// The addresses that begin with `word`, one a line: of files as they are, of folders with a "/" behind them.
/// What would not stand on a line as it is has its place as address.
void printCompletions(const std::string &image, const std::string &word, std::ostream &out);

/// The same for words as they were typed in bash, and written as the second goes on there: between the quotes
/// that are open, or with what means something to the shell escaped. Nothing in them is expanded. `kept` is
/// how the typed word begins as far as bash leaves it alone, up to the last ":", "@" or "=": that is left
/// out.
void printCompletionsForBash(const std::string &typedImage, const std::string &typed, const std::string &kept,
                             std::ostream &out);

} // namespace tessary::cli
