// Runs a fuzz target over the files named, and over each of them with some bytes changed.

#include "tests/support/HostFiles.h"

#include <cstdint>
#include <cstdio>
#include <random>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char **argv) {
  std::mt19937 random(1);
  int inputs = 0;
  for (int i = 1; i < argc; ++i) {
    tessary::test::Bytes bytes = tessary::test::readBytes(argv[i]);
    for (int variant = 0; variant < 12; ++variant, ++inputs) {
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      for (int change = 0; change < 4 && !bytes.empty(); ++change) {
        bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
      }
    }
  }
  std::printf("%d inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}
