#pragma once

#include "banks/BankFormat.h"
#include "filesystem/FileContents.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What an Emulator IV bank's table of contents lists. Functions over a file's contents.
namespace tessary {

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

enum class BankEntryKind { preset, sample, other };

/// One entry of the table of contents.
struct BankEntry {
  std::uint64_t index = 0; ///< its place in the table, counted from 0
  BankEntryKind kind = BankEntryKind::other;
  bank::TypeBytes type{};
  std::string name; ///< see `nameOfBankEntry`
  /// The chunk that stands for it: of those of its type the one with as many before it as the table has
  /// entries of the type before this one. None when the bank has fewer.
  std::optional<BankChunk> chunk;
  /// Its number among the bank's `listedSamples`; none for what is not among them.
  std::optional<std::uint64_t> sample;

  bool operator==(const BankEntry &) const = default;
};

/// The entries of an Emulator IV bank, in their order, without those that are deleted and without their
/// chunks; none for other banks. Reads the table of contents alone.
[[nodiscard]] std::vector<BankEntry> bankListing(const FileContents &contents);
/// The same with their chunks. Goes once through the table and once through the chunks.
[[nodiscard]] std::vector<BankEntry> bankContents(const FileContents &contents);

/// What the type alone counts as in a bank's details. None for that of a deleted entry.
[[nodiscard]] std::optional<BankEntryKind> kindOfBankEntry(const bank::TypeBytes &type);
/// Whether samples of that type are listed, so that they can be written as WAV: in banks whose form type is
/// exactly "E4B0".
[[nodiscard]] bool isListedSample(const bank::TypeBytes &type);
/// The audio of a listed sample that the chunk is of: its data in whole frames of two bytes.
[[nodiscard]] BankRange audioIn(const BankChunk &chunk);
/// A type as text: up to its first zero byte, what is no text as codes.
[[nodiscard]] std::string bankTypeText(const bank::TypeBytes &type);
/// The name field of an entry without the padding at its end; the entry's type where that leaves nothing but
/// spaces, or no text.
[[nodiscard]] std::string nameOfBankEntry(const bank::TocEntry &entry);

/// Gives entries of a table of contents, one after the other, the chunks that stand for them. It is told of
/// all entries first and then goes through the bank's chunks once.
class ChunkPairing final {
public:
  /// The next entry has this type.
  void add(const bank::TypeBytes &type);
  /// The chunks of all entries added, in their order.
  [[nodiscard]] std::vector<std::optional<BankChunk>> chunksOf(const FileContents &contents) const;

private:
  std::vector<bank::TypeBytes> types_;
};

} // namespace tessary
