// Writes the seeds of a fuzz target. Usage: make_fuzz_seeds TARGET FOLDER.

#include "tests/support/BankBuilder.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"

#include <map>
#include <string>

namespace {

using namespace tessary::test;

constexpr VolumeLayout kSmall{.sizeBytes = 64 * kKiB, .slotSizeBlocks = 8, .directoryBlocks = 6};

std::map<std::string, Bytes> bankSeeds();

std::map<std::string, Bytes> volumeSeeds() {
  std::map<std::string, Bytes> seeds;
  ImageBuilder sound(kSmall);
  sound.root().addFolder("Drums").addFile("KICK", bankSeeds().at("iff"));
  sound.root().addFile("SYSTEM", patternBytes(100), {.type = 0x80});
  seeds["sound"] = sound.build();
  ImageBuilder cycle(kSmall);
  cycle.root().addFolder("Loop", {.blockList = {static_cast<std::int16_t>(cycle.rootDirBlock())}});
  seeds["cycle"] = cycle.build();
  ImageBuilder lost(kSmall);
  FolderBuilder folder = lost.root().addFolder("Lost");
  folder.addFile("PAD", bankSeeds().at("legacy"));
  lost.pokeEntry(folder.place(), RawEntry{});
  seeds["lost"] = lost.build();
  seeds["zeros"] = ImageBuilder(VolumeLayout::zeroHeader(128 * kKiB)).build();
  return seeds;
}

std::map<std::string, Bytes> bankSeeds() {
  const Bytes audio = patternBytes(101);
  return {{"iff", IffBank().preset("Kick").sample("Kick C1", audio).build()},
          {"legacy", LegacyBank().build()},
          {"empty", bytesOf("FORM....E4B0TOC1")}};
}

std::map<std::string, Bytes> operationSeeds() {
  std::map<std::string, Bytes> seeds;
  for (std::uint32_t seed = 1; seed <= 8; ++seed)
    seeds["program" + std::to_string(seed)] = patternBytes(200, seed);
  return seeds;
}

std::map<std::string, Bytes> wordSeeds() {
  return {
      {"ls", bytesOf("ls / -R\nstat /Drums/KICK\ninfo\n")},
      {"quotes", bytesOf("stat '/Drums/a\\/b\\\\c\\*'\nls \"/Drums\"\n# note\n")},
      {"places", bytesOf("stat @7:3\nls @6:0/KICK --csv\nrm /Drums/K*\n")},
      {"changes", bytesOf("mkdir /New\ncp /Drums/KICK /New\nmv /New/* /\nrename /KICK X\nrmdir /New -R\n")}};
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  const std::string target = argv[1];
  const auto seeds = target == "volume_fuzz"                             ? volumeSeeds()
                     : target == "operations_fuzz"                       ? operationSeeds()
                     : target == "words_fuzz"                            ? wordSeeds()
                     : target == "bank_fuzz" || target == "samples_fuzz" ? bankSeeds()
                                                                         : std::map<std::string, Bytes>{};
  for (const auto &[name, bytes] : seeds)
    writeBytes(std::string(argv[2]) + "/" + name, bytes);
  return seeds.empty() ? 1 : 0;
}
