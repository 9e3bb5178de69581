#include "tests/support/AskedNumber.h"

#include <cstdlib>

namespace tessary::test {

std::uint32_t askedNumber(const char *variable, std::uint32_t otherwise) {
  const char *const asked = std::getenv(variable);
  return asked ? static_cast<std::uint32_t>(std::strtoul(asked, nullptr, 10)) : otherwise;
}

} // namespace tessary::test
