#pragma once

#include <cstdint>

namespace tessary::test {

/// How much a long test does: the number in the environment variable, or this one where none is set.
std::uint32_t askedNumber(const char *variable, std::uint32_t otherwise);

} // namespace tessary::test
