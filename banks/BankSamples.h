#pragma once

#include "filesystem/FileContents.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The samples of an Emulator IV bank. Functions over a file's contents.
namespace tessary {

/// The type strings of the samples in the bank's table of contents, in its order; empty for other banks.
[[nodiscard]] std::vector<std::string> listedSamples(const FileContents &contents);

/// A piece of a bank.
struct BankRange {
  std::uint64_t offset = 0; ///< bytes from the bank's start
  std::uint64_t size = 0;   ///< bytes
};

/// The audio that is exported for a listed sample of this type: everything behind the header of the first
/// chunk of the type, up to the bank's end. None when the bank has no such chunk.
[[nodiscard]] std::optional<BankRange> audioOfSampleType(const FileContents &contents,
                                                         const std::string &type);

} // namespace tessary
