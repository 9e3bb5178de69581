#include "tests/compare/Sequence.h"

#include "tests/compare/RandomCommands.h"
#include "tests/compare/RandomImage.h"
#include "tests/writing/Random.h"

#include <cstddef>

namespace tessary::compare {
namespace {

constexpr const char *kPlainCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./:@";

Bytes randomHostContents(test::Random &random) {
  if (random.chance(45)) return randomBank(random);
  const std::size_t length = random.chance(40)
                                 ? random.pick(std::vector<std::size_t>{0, 1, 511, 512, 513, 1024, 4096})
                                 : random.below(6000);
  return test::patternBytes(length, static_cast<std::uint32_t>(random.below(100000)));
}

std::vector<HostFile> randomHostFiles(test::Random &random) {
  std::vector<HostFile> files;
  for (const std::string &name : hostFileNames())
    files.push_back({name, randomHostContents(random)});
  return files;
}

std::string quoted(const std::string &word) {
  if (!word.empty() && word.find_first_not_of(kPlainCharacters) == std::string::npos) return word;
  std::string text = "'";
  for (const char character : word) {
    if (character == '\'')
      text += "'\\''";
    else
      text += character;
  }
  return text + "'";
}

} // namespace

Sequence randomSequence(std::uint32_t seed) {
  test::Random random(seed);
  Sequence sequence;
  sequence.seed = seed;
  sequence.rules = seed % 2 == 0 ? MountRules::guarded : MountRules::bare;
  sequence.isBatch = !random.chance(10); // single runs take longer and have no tree in memory to go wrong
  const test::ImageBuilder image = randomImage(random);
  sequence.image = image.build();
  sequence.hostFiles = randomHostFiles(random);
  const std::size_t count = sequence.isBatch ? random.between(10, 40) : random.between(8, 16);
  sequence.commands = randomCommands(random, image, sequence.rules, sequence.isBatch, count);
  return sequence;
}

std::string lineOf(const Command &command) {
  std::string line;
  for (const std::string &word : command)
    line += (line.empty() ? "" : " ") + quoted(word);
  return line;
}

} // namespace tessary::compare
