#pragma once

#include "filesystem/EMU3Filesystem.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace tessary {

/// Lets tests call the primitives of a filesystem. Each function forwards to the member of its name; none
/// takes a lock, so nothing else may use the filesystem meanwhile.
struct EMU3FilesystemInternals {
  // Volume and mapping
  /// The block's bytes; none when it lies outside the image.
  static std::optional<format::Block> blockPtr(const EMU3Filesystem &filesystem, std::uint64_t block) {
    format::Block bytes{};
    const auto view = filesystem._blockPtr(block);
    if (!view || !view.read(0, bytes.data(), bytes.size())) return std::nullopt;
    return bytes;
  }
  /// Whether the block has a writable view.
  static bool mutableBlockPtr(const EMU3Filesystem &filesystem, std::uint64_t block) {
    return filesystem._mutableBlockPtr(block);
  }
  static std::uint16_t fatEntry(const EMU3Filesystem &filesystem, std::uint64_t index) {
    return filesystem._fatEntry(index);
  }
  static void setFatEntry(EMU3Filesystem &filesystem, std::uint64_t index, std::uint16_t value) {
    filesystem._setFatEntry(index, value);
  }
  static EMU3Error errorCode(std::int64_t code, std::string message) {
    return EMU3Filesystem::_errorCode(code, std::move(message));
  }
  static void setUsedBlocks(EMU3Filesystem &filesystem, std::uint64_t blocks) {
    filesystem.usedBlocks_ = blocks;
  }
  static void setFreeBlocks(EMU3Filesystem &filesystem, std::uint64_t blocks) {
    filesystem.freeBlocks_ = blocks;
  }

  // Tree reading
  static void parseDirectory(const EMU3Filesystem &filesystem, const EMU3DirectoryPtr &directory) {
    filesystem._parseDirectory(directory);
  }
  /// Of a field of 16 bytes.
  static std::optional<std::string> parseName(const std::uint8_t *field) {
    return EMU3Filesystem::_parseName(field);
  }

  // Space allocation and directory entries
  static std::optional<std::uint16_t> allocFileSlot(const EMU3Filesystem &filesystem,
                                                    const EMU3DirectoryPtr &root) {
    return filesystem._allocFileSlot(root);
  }
  static void scanMaxSlotIndex(const EMU3Filesystem &filesystem, const EMU3DirectoryPtr &directory,
                               std::uint16_t *max) {
    filesystem._scanMaxSlotIndex(directory, max);
  }
  static void markSlotUsed(EMU3Filesystem &filesystem, std::uint16_t slot, std::uint16_t blocksUsed) {
    filesystem._markSlotUsed(slot, blocksUsed);
  }
  static void freeSlot(EMU3Filesystem &filesystem, std::uint16_t slot, std::uint16_t blocksUsed) {
    filesystem._freeSlot(slot, blocksUsed);
  }
  static bool writeData(EMU3Filesystem &filesystem, const ByteBuffer &data, std::uint64_t slotStartBlock) {
    return filesystem._writeData(data, slotStartBlock);
  }
  static bool findFreeDentry(const EMU3Filesystem &filesystem, const EMU3DirectoryPtr &directory,
                             std::int64_t *outBlock, std::int64_t *outOffset) {
    return filesystem._findFreeDentry(directory, outBlock, outOffset);
  }
  static format::Dentry dentryForFile(const EMU3Filesystem &filesystem, const std::string &name,
                                      std::uint16_t slot, std::uint64_t length, std::uint8_t entryId) {
    return filesystem._dentryForFile(name, slot, length, entryId);
  }
  static void writeDentry(EMU3Filesystem &filesystem, const format::Dentry &dentry, std::int64_t block,
                          std::int64_t offset) {
    filesystem._writeDentry(dentry, block, offset);
  }
  static std::uint8_t nextEntryId(const EMU3DirectoryPtr &directory) {
    return EMU3Filesystem::_nextEntryId(directory);
  }
  static void collectDirectoryBlocks(const EMU3Filesystem &filesystem, const EMU3DirectoryPtr &directory,
                                     std::set<std::int64_t> *into) {
    filesystem._collectDirectoryBlocks(directory, into);
  }
  static std::uint64_t findFreeDirectoryBlock(const EMU3Filesystem &filesystem) {
    return filesystem._findFreeDirectoryBlock();
  }
};

} // namespace tessary
