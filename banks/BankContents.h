#pragma once

#include "banks/BankFormat.h"
#include "filesystem/FileContents.h"
#include "tessary/BankEntry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What an Emulator IV bank's table of contents lists. Functions over a file's contents.
namespace tessary {

/// The entries of an Emulator IV bank, in their order, without those that are deleted and without their
/// chunks; none for other banks. Reads the table of contents alone.
[[nodiscard]] std::vector<BankEntry> bankListing(const FileContents &contents);
/// The same with their chunks. Goes once through the table and once through the chunks.
[[nodiscard]] std::vector<BankEntry> bankContents(const FileContents &contents);

/// What an entry of this type counts as in a bank's details. None for the type of a deleted entry.
[[nodiscard]] std::optional<BankEntryKind> kindOfBankEntry(const bank::TypeBytes &type);
/// Whether samples of that type are listed, so that they can be written as WAV: in banks whose form type is
/// exactly "E4B0".
[[nodiscard]] bool isListedSample(const bank::TypeBytes &type);
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
