#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Files of the host as this process has them mapped into its memory.
namespace tessary::test {

/// The addresses where the mappings of the file begin, lowest first.
std::vector<std::uintptr_t> mappingsOf(const std::string &path);

/// From here on the page at `offset` of the file's one mapping cannot be read or written, as where a medium
/// is damaged: a page of an empty file takes its place. Throws std::system_error.
void makeUnreadable(const std::string &path, std::uint64_t offset);

} // namespace tessary::test
