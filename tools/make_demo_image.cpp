// Writes the demo image: make-demo-image OUT.hda [--big|--banks112]

#include "tests/support/SampleVolumes.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

using Volume = tessary::test::ImageBuilder (*)();

constexpr const char *kUsage = "Usage: make-demo-image OUT.hda [--big|--banks112]\n"
                               "  Writes a disk image of 64 MiB with folders and banks to try things on.\n"
                               "  --big       1 GiB with 40 folders of up to 112 files\n"
                               "  --banks112  256 MiB with one folder of 112 banks of 2 MiB\n";

struct Arguments {
  std::string path;
  Volume volume = nullptr;
  bool asksForHelp = false;
};

/// False when the words are wrong.
bool parse(const std::vector<std::string> &words, Arguments *arguments) {
  const std::map<std::string, Volume> options{{"--big", tessary::test::bigVolume},
                                              {"--banks112", tessary::test::banks112Volume}};
  for (const std::string &word : words) {
    const auto option = options.find(word);
    if (word == "--help") {
      arguments->asksForHelp = true;
    } else if (option != options.end() && arguments->volume == nullptr) {
      arguments->volume = option->second;
    } else if (!word.empty() && word.front() != '-' && arguments->path.empty()) {
      arguments->path = word;
    } else {
      return false;
    }
  }
  if (arguments->volume == nullptr) arguments->volume = tessary::test::demoVolume;
  return arguments->asksForHelp || !arguments->path.empty();
}

} // namespace

int main(int argc, char **argv) {
  Arguments arguments;
  if (!parse({argv + 1, argv + argc}, &arguments)) {
    std::cerr << kUsage;
    return 2;
  }
  if (arguments.asksForHelp) {
    std::cout << kUsage;
    return EXIT_SUCCESS;
  }
  try {
    arguments.volume().writeTo(arguments.path);
  } catch (const std::exception &failure) {
    std::cerr << "make-demo-image: " << failure.what() << '\n';
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
