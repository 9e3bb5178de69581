#pragma once

#include "tests/support/ImageBuilder.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Plain files of the host, for tests. Every failure throws std::system_error naming the file.
namespace tessary::test {

Bytes readBytes(const std::string &path);
/// `length` bytes from `offset` on; fewer at the end of the file.
Bytes readBytes(const std::string &path, std::uint64_t offset, std::size_t length);
std::string readText(const std::string &path);
void writeBytes(const std::string &path, std::span<const std::uint8_t> bytes);
void writeText(const std::string &path, std::string_view text);
/// Overwrites bytes inside an existing file.
void patchBytes(const std::string &path, std::uint64_t offset, std::span<const std::uint8_t> bytes);
/// Copies a file and leaves its holes holes. Replaces what stands at `to`.
void copySparse(const std::string &from, const std::string &to);
/// Names in a folder, sorted, without "." and "..".
std::vector<std::string> namesIn(const std::string &folder);

} // namespace tessary::test
