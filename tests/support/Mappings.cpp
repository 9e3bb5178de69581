#include "tests/support/Mappings.h"

#include <fstream>

namespace tessary::test {

std::vector<std::uintptr_t> mappingsOf(const std::string &path) {
  std::vector<std::uintptr_t> found;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.ends_with(" " + path)) found.push_back(std::stoull(line, nullptr, 16));
  }
  return found;
}

} // namespace tessary::test
