#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tessary::format {

/// Every number of the volume's own structures is little-endian. See docs/disk-format.md.
inline constexpr std::uint64_t kBlockSize = 512;

// Header, block 0.
inline constexpr std::array<std::uint8_t, 4> kSignature{'E', 'M', 'U', '3'};
inline constexpr std::size_t kHeaderRootDirBlock = 8;
inline constexpr std::size_t kHeaderDataAreaBlock = 32;
inline constexpr std::size_t kHeaderFatStartBlock = 40;
inline constexpr std::size_t kHeaderSlotSize = 44; ///< in units of two blocks

// What a header field that holds 0 stands for.
inline constexpr std::uint64_t kDefaultRootDirBlock = 6;
inline constexpr std::uint64_t kDefaultDataAreaBlock = 175;
inline constexpr std::uint64_t kDefaultFatStartBlock = 2;
inline constexpr std::uint64_t kDefaultSlotSizeBlocks = 4096;

// Allocation table: one 16-bit entry for each block of the image.
inline constexpr std::uint64_t kFatEntriesPerBlock = kBlockSize / 2;
inline constexpr std::uint64_t kMaxScannedFatBlocks = 1024;
inline constexpr std::uint16_t kFatUsed = 0x8000;
inline constexpr std::uint16_t kFatFree = 0;

// Directory entries.
inline constexpr std::size_t kDentrySize = 32;
inline constexpr std::size_t kDentriesPerBlock = kBlockSize / kDentrySize;
inline constexpr std::size_t kNameSize = 16;
inline constexpr std::size_t kMaxNameBytes = 15; ///< of a name that this system writes
inline constexpr std::size_t kDentryEntryId = 17;
inline constexpr std::size_t kDentryStartCluster = 18;
inline constexpr std::size_t kDentryClusterCount = 20;
inline constexpr std::size_t kDentryBlocksInLastCluster = 22;
inline constexpr std::size_t kDentryBytesInLastBlock = 24;
inline constexpr std::size_t kDentryRawType = 26;
inline constexpr std::size_t kDentryFormatMark = 28;
inline constexpr std::array<std::uint8_t, 4> kFormatMark{'E', '4', 'B', '0'};
inline constexpr std::size_t kDentryFolderBlocks = 18; ///< seven signed 16-bit block numbers
inline constexpr std::size_t kFolderBlockCount = 7;
inline constexpr std::uint64_t kLastFolderBlock = 0x7FFF; ///< the highest number such a place can hold

inline constexpr std::uint8_t kRawTypeDeleted = 0;
inline constexpr std::uint8_t kRawTypeSystem = 0x80;
inline constexpr std::uint8_t kRawTypeBank = 0x81;
inline constexpr std::uint8_t kRawTypePlain = 0x82;
inline constexpr std::uint8_t kRawTypeOtherBank = 0x83;
inline constexpr std::uint8_t kFolderId = 0x40;
inline constexpr std::uint8_t kOtherFolderId = 0x80;
inline constexpr std::uint8_t kRootEntryId = 1;

/// The most blocks a file's entry can count.
inline constexpr std::uint64_t kMaxFileBlocks = 0xFFFF;

using Dentry = std::array<std::uint8_t, kDentrySize>;
using NameField = std::array<std::uint8_t, kNameSize>;
using Block = std::array<std::uint8_t, kBlockSize>;

inline std::uint16_t readLE16(const std::uint8_t *bytes) {
  return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}
inline std::uint32_t readLE32(const std::uint8_t *bytes) {
  return static_cast<std::uint32_t>(readLE16(bytes)) |
         (static_cast<std::uint32_t>(readLE16(bytes + 2)) << 16);
}
inline void writeLE16(std::uint8_t *bytes, std::uint16_t value) {
  bytes[0] = static_cast<std::uint8_t>(value & 0xFF);
  bytes[1] = static_cast<std::uint8_t>(value >> 8);
}
inline void writeLE32(std::uint8_t *bytes, std::uint32_t value) {
  writeLE16(bytes, static_cast<std::uint16_t>(value & 0xFFFF));
  writeLE16(bytes + 2, static_cast<std::uint16_t>(value >> 16));
}

} // namespace tessary::format
