// Addresses, quoting and batch lines of the command line. Only commands that write nothing to the host are
// run: an input must not be able to name a file of the machine it runs on.

#include "cli/AddressSyntax.h"
#include "cli/NamePattern.h"
#include "cli/ShellWords.h"
#include "cli/TessaryCli.h"
#include "tests/fuzz/MemoryImage.h"
#include "tests/support/ImageBuilder.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using namespace tessary;

const fuzz::MemoryImage &image() {
  static const fuzz::MemoryImage made = [] {
    test::ImageBuilder builder({.sizeBytes = 256 * test::kKiB, .slotSizeBlocks = 4, .directoryBlocks = 8});
    test::FolderBuilder drums = builder.root().addFolder("Drums");
    drums.addFile("KICK", test::patternBytes(700));
    drums.addFile("a/b\\c*");
    builder.root().addFile("LINE\nBREAK");
    return fuzz::MemoryImage(builder.build());
  }();
  return made;
}

bool isHarmless(const std::vector<std::string> &words) {
  static const std::vector<std::string> reading{"info",  "ls", "stat", "cat", "samples", "mkdir",
                                                "rmdir", "rm", "cp",   "mv",  "rename"};
  return !words.empty() && std::find(reading.begin(), reading.end(), words.front()) != reading.end();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  std::istringstream lines(
      std::string(reinterpret_cast<const char *>(data), std::min<std::size_t>(size, 2000)));
  std::string accepted;
  for (std::string line; std::getline(lines, line);) {
    std::string problem;
    const auto words = cli::shellWords(line, &problem);
    fuzz::require(words.has_value() == problem.empty(), "quoting fails with its problem, and only then");
    if (!words) continue;
    for (const std::string &word : *words) {
      if (const auto address = cli::parseAddress(word)) {
        for (const std::string &part : address->parts) {
          const std::string name = cli::unescapedName(part);
          fuzz::require(cli::unescapedName(cli::escapedName(name)) == name, "an escaped name reads back");
        }
      }
    }
    if (isHarmless(*words)) accepted += line + "\n";
  }
  std::istringstream in(accepted);
  std::ostringstream out;
  std::ostringstream err;
  const std::vector<std::string> args{"batch", image().path(), "--json"};
  const int status = runTessaryCli(args, in, out, err);
  fuzz::require(status >= 0 && status <= 2, "the exit status is one of the contract's");
  return 0;
}
