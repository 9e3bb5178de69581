#pragma once

#include "filesystem/FileContents.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The samples of an Emulator IV bank. Functions over a file's contents.
namespace tessary {

/// A sample as a bank's table of contents lists it.
struct BankSample {
  std::string type; ///< the entry's four type bytes, up to the first zero byte; samples may share one
  std::string name; ///< the type where the entry has no name, or one that is no text
};

/// A piece of a bank.
struct BankRange {
  std::uint64_t offset = 0; ///< bytes from the bank's start
  std::uint64_t size = 0;   ///< bytes
};

/// The samples in the bank's table of contents, in its order; none for other banks.
[[nodiscard]] std::vector<BankSample> listedSamples(const FileContents &contents);

/// Everything behind the header of the first chunk of this type, up to the bank's end. None when the bank has
/// no such chunk.
[[nodiscard]] std::optional<BankRange> audioBehindFirstChunk(const FileContents &contents,
                                                             const std::string &type);

/// The data of the chunk that is the sample's own, as far as the contents go, in whole frames of two bytes:
/// of the chunks of its type the one with as many before it as samples of the type are listed before it. None
/// when the bank has fewer.
[[nodiscard]] std::optional<BankRange>
audioOfOwnChunk(const FileContents &contents, const std::vector<BankSample> &samples, std::size_t index);

} // namespace tessary
