#pragma once

#include "filesystem/FileContents.h"
#include "tessary/BankEntry.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace tessary::bank {

/// Numbers of IFF banks are big-endian. See docs/bank-format.md.
inline constexpr std::uint64_t kMinHeaderSize = 12; ///< "FORM", container size, form type
inline constexpr std::uint64_t kFormTypeOffset = 8;
inline constexpr std::uint64_t kFirstChunkOffset = 12;
inline constexpr std::uint64_t kTocSizeOffset = 16;
inline constexpr std::uint64_t kTocEntriesOffset = 20;
inline constexpr std::uint64_t kTocEntrySize = 32;
inline constexpr std::size_t kTocEntryNameOffset = 14;
inline constexpr std::size_t kBankNameSize = 16;
inline constexpr std::uint64_t kChunkHeaderSize = 8;

inline constexpr std::uint64_t kLegacyHeaderSize = 108;
inline constexpr std::size_t kLegacyFormatSize = 15;
inline constexpr std::size_t kLegacyNameOffset = 16;
inline constexpr std::size_t kLegacyCountsOffset = 32;

/// What `BankDetails::bankFormat` holds.
enum BankFormatCode : std::int64_t {
  kUnknown = 0,
  kEmulatorThree = 1,
  kEmulator3X = 2,
  kEsi32 = 3,
  kEmulatorFour = 4
};

using TypeBytes = BankTypeBytes;
using TocEntry = std::array<std::uint8_t, kTocEntrySize>;

inline std::uint32_t readBE32(const std::uint8_t *bytes) {
  return (static_cast<std::uint32_t>(bytes[0]) << 24) | (static_cast<std::uint32_t>(bytes[1]) << 16) |
         (static_cast<std::uint32_t>(bytes[2]) << 8) | bytes[3];
}

inline TypeBytes typeOf(const TocEntry &entry) {
  return {entry[0], entry[1], entry[2], entry[3]};
}

inline bool beginsWith(const std::uint8_t *bytes, std::string_view text) {
  return std::equal(text.begin(), text.end(), bytes, [](char character, std::uint8_t byte) {
    return static_cast<std::uint8_t>(character) == byte;
  });
}
inline bool beginsWith(const TypeBytes &type, std::string_view text) {
  return beginsWith(type.data(), text);
}

/// The table of contents of an IFF bank, as far as it lies inside the contents.
struct TocRange {
  std::uint32_t size = 0;       ///< bytes, as stored
  std::uint64_t end = 0;        ///< offset behind the last byte looked at
  std::uint64_t entryCount = 0; ///< whole entries below `end`
};

/// The range for a stored size in contents of `length` bytes (at least 20). The sum of size and offset
/// is one of 32 bits and wraps.
inline TocRange tocRange(std::uint32_t size, std::uint64_t length) {
  TocRange range;
  range.size = size;
  range.end = std::min<std::uint64_t>(length, size + static_cast<std::uint32_t>(kTocEntriesOffset));
  if (range.end >= kTocEntriesOffset + kTocEntrySize) {
    range.entryCount = (range.end - kTocEntriesOffset) / kTocEntrySize;
  }
  return range;
}

/// Calls `visit` for each entry of the range in order, with its index; stops where the contents cannot be
/// read any more.
template <typename Visit>
void forEachTocEntry(const FileContents &contents, const TocRange &range, const Visit &visit) {
  constexpr std::uint64_t entriesAtOnce = 128;
  std::array<TocEntry, entriesAtOnce> entries;
  for (std::uint64_t first = 0; first < range.entryCount; first += entriesAtOnce) {
    const std::uint64_t wanted = std::min(entriesAtOnce, range.entryCount - first);
    const std::uint64_t got =
        contents.read(kTocEntriesOffset + first * kTocEntrySize, entries[0].data(), wanted * kTocEntrySize) /
        kTocEntrySize;
    for (std::uint64_t i = 0; i < got; ++i)
      visit(first + i, entries[i]);
    if (got < wanted) return;
  }
}

} // namespace tessary::bank
