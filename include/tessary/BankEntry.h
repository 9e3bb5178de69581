#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

/// What is in a bank, as values. `EMU3Filesystem` reads them.
namespace tessary {

/// Display name of a bank format code (`BankDetails::bankFormat`); null for 0 and any other value.
[[nodiscard]] const char *bankFormatName(std::int64_t bankFormat);

/// The four bytes by which a bank tells what an entry of its table of contents, or a chunk, is.
using BankTypeBytes = std::array<std::uint8_t, 4>;

/// A type as text: up to its first zero byte, what is no text as codes.
[[nodiscard]] std::string bankTypeText(const BankTypeBytes &type);

/// A piece of a bank.
struct BankRange {
  std::uint64_t offset = 0; ///< bytes from the bank's start
  std::uint64_t size = 0;   ///< bytes

  bool operator==(const BankRange &) const = default;
};

/// One chunk of a bank.
struct BankChunk {
  std::uint64_t size = 0; ///< of its data, in bytes, as its header says
  BankRange data;         ///< the part of them that lies in the contents

  bool operator==(const BankChunk &) const = default;
};

/// The audio in the chunk of a sample: its data, cut to whole frames of two bytes.
[[nodiscard]] BankRange audioIn(const BankChunk &chunk);

enum class BankEntryKind { preset, sample, other };

/// One entry of an Emulator IV bank's table of contents.
struct BankEntry {
  std::uint64_t index = 0; ///< its place in the table, counted from 0
  BankEntryKind kind = BankEntryKind::other;
  BankTypeBytes type{};
  /// UTF-8, without the padding at its end. Where the entry has no name, or one that is no text, its type.
  std::string name;
  /// Its chunk: where the table has k entries of its type before this one, the (k + 1)-th chunk of the type.
  /// None when the bank has fewer.
  std::optional<BankChunk> chunk;
  /// Its number among the bank's samples that can be written as WAV; none for what is not among them.
  std::optional<std::uint64_t> sample;

  bool operator==(const BankEntry &) const = default;
};

/// A sample as a bank's table of contents lists it.
struct BankSample {
  std::string type; ///< the entry's four type bytes, up to the first zero byte; samples may share one
  std::string name; ///< as `BankEntry::name`

  bool operator==(const BankSample &) const = default;
};

} // namespace tessary
