#include "app/StartWords.h"

#include <cstddef>

namespace tessary {

std::optional<std::string> answerWithoutWindow(const std::vector<std::string> &words) {
  for (std::size_t i = 1; i < words.size(); ++i) {
    if (words[i] == "--version") return "tessary " TESSARY_VERSION "\n";
    if (words[i] == "--help" || words[i] == "-h")
      return "Browse and edit the disk image of an E-MU sampler in a window.\n"
             "\n"
             "Usage: tessary [IMAGE...]\n"
             "       tessary --help | --version\n"
             "\n"
             "See also: man tessary, and tessary-cli for work without a window\n";
  }
  return std::nullopt;
}

} // namespace tessary
