#pragma once

#include <ostream>
#include <string>

/// What the shells' completions ask the program for: names inside an image. Nothing is printed where the
/// image cannot be read, since whoever presses the key wants no message.
namespace tessary::cli {

/// The addresses that begin with `word`, one a line: of files as they are, of folders with a "/" behind them.
/// What would not stand on a line as it is has its place as address.
void printCompletions(const std::string &image, const std::string &word, std::ostream &out);

/// The same for bash. `typedImage` and `typed` are words as they stand on its command line; nothing in them
/// is expanded. Addresses are written so that they go on from `typed`: inside its open quotes, or with what
/// means something to the shell escaped. Bash replaces a word only behind its last ":", "@" or "="; `kept` is
/// what stands before that, and is left out.
void printCompletionsForBash(const std::string &typedImage, const std::string &typed, const std::string &kept,
                             std::ostream &out);

} // namespace tessary::cli
