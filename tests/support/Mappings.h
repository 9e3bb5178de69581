#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Files of the host as this process has them mapped into its memory.
namespace tessary::test {

/// The addresses where the mappings of the file begin, lowest first.
std::vector<std::uintptr_t> mappingsOf(const std::string &path);

} // namespace tessary::test
