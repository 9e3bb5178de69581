#include "cli/Completion.h"

#include "cli/AddressSyntax.h"
#include "cli/Addresses.h"
#include "cli/CliError.h"
#include "cli/MountedImages.h"
#include "cli/ShellWords.h"
#include "tessary/Text.h"

#include <optional>
#include <string_view>
#include <vector>

namespace tessary::cli {
namespace {

// Where the last part of the address begins: behind the last "/" that no "\" escapes.
std::size_t lastPartOf(const std::string &word) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] == '\\')
      ++i;
    else if (word[i] == '/')
      begin = i + 1;
  }
  return begin;
}

std::string onOneLine(const std::string &address, EntryPlace place) {
  return escapedForDisplay(address) == address ? address : placeAddress(place);
}

// A "\" at the end of the word, an escape of which the rest is still to come, stands for itself.
std::vector<std::string> addressesFrom(const std::string &image, const std::string &word) {
  if (word.empty()) return {"/"};
  const std::size_t part = lastPartOf(word);
  const std::string folderWord = word.substr(0, part);
  const std::string begun = unescapedName(std::string_view(word).substr(part));
  std::vector<std::string> addresses;
  try {
    const EMU3FilesystemPtr volume = mountImage(image, MountRules::guarded, ImageClaim::atFirstChange);
    const FolderItem folder = resolveFolder(*volume, folderWord);
    for (const FileItem &item : filesIn(folder.directory, folderWord)) {
      if (item.file->name().starts_with(begun))
        addresses.push_back(onOneLine(item.address, item.file->place()));
    }
    for (const FolderItem &item : foldersIn(folder.directory, folderWord, Beside::folders)) {
      if (item.directory->name().starts_with(begun))
        addresses.push_back(onOneLine(item.address, item.directory->place()) + "/");
    }
  } catch (const CommandFailure &) { // nothing to offer
  }
  return addresses;
}

// A word as it was typed, and the quote that is open at its end; to read the word, that is closed.
struct TypedWord {
  char quote = 0;
  std::string text;
};

std::optional<TypedWord> typedWord(const std::string &typed) {
  for (const char quote : {'\0', '\'', '"'}) {
    std::string problem;
    const auto words = shellWords(quote == 0 ? typed : typed + quote, &problem);
    if (words && words->size() <= 1) return TypedWord{quote, words->empty() ? "" : words->front()};
  }
  return std::nullopt;
}

std::string quotedForBash(const std::string &text, char quote) {
  std::string quoted;
  for (const char character : text) {
    if (quote == '\'') {
      quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
      continue;
    }
    const std::string_view special = quote == '"' ? "\"\\$`!" : " \t\"'\\$`!*?[]{}()<>|&;#~^=:";
    if (special.find(character) != std::string_view::npos) quoted += '\\';
    quoted += character;
  }
  // Behind the one name that fits, bash closes the quotes, unless it takes the last character for that.
  if (quote != 0 && text.ends_with(quote)) quoted += quote;
  return quoted;
}

} // namespace

void printCompletions(const std::string &image, const std::string &word, std::ostream &out) {
  for (const std::string &address : addressesFrom(image, word))
    out << address << '\n';
}

void printCompletionsForBash(const std::string &typedImage, const std::string &typed, const std::string &kept,
                             std::ostream &out) {
  const std::optional<TypedWord> image = typedWord(typedImage);
  const std::optional<TypedWord> word = typedWord(typed);
  const std::optional<TypedWord> beginning = typedWord(kept);
  if (!image || !word || !beginning) return;
  for (const std::string &address : addressesFrom(image->text, word->text)) {
    if (!address.starts_with(beginning->text)) continue;
    out << quotedForBash(address.substr(beginning->text.size()), word->quote) << '\n';
  }
}

} // namespace tessary::cli
