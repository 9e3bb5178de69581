#pragma once

#include "filesystem/ByteBuffer.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tessary {

class EMU3Directory;

/// Kinds of file, as `EMU3File::fileType` holds them.
enum EMU3FileType : std::int64_t { kFileTypePlain = 0, kFileTypeBank = 1, kFileTypeSystem = 2 };

/// What the bank analysis found in a file. The four values change together.
struct BankDetails {
  std::optional<std::string> bankName; ///< absent until analysed, and where a header's name does not decode
  std::int64_t bankFormat = 0; ///< 0 unknown, 1 Emulator III, 2 Emulator 3X, 3 ESI-32 v3, 4 Emulator IV
  std::uint64_t presetCount = 0;
  std::uint64_t sampleCount = 0;

  bool operator==(const BankDetails &) const = default;
};

/// The fields of a file's directory entry and what follows from them, as one consistent copy.
struct EMU3FileFields {
  std::uint8_t rawType = 0;               ///< type byte as stored; 0 marks a deleted entry
  std::uint8_t entryId = 0;               ///< id byte as stored
  std::uint16_t startCluster = 0;         ///< slot of the contents, from 1; 0 reads as slot 1
  std::uint16_t clusterCount = 0;         ///< as stored; plays no part in reading
  std::uint16_t blocksInLastCluster = 0;  ///< number of 512-byte blocks of contents
  std::uint16_t bytesInLastBlock = 0;     ///< bytes used in the last of them
  std::string name;                       ///< UTF-8
  std::int64_t fileType = kFileTypePlain; ///< EMU3FileType
  std::uint64_t fileSize = 0;             ///< bytes
  std::int64_t dentryBlock = 0;           ///< directory block that holds the entry
  std::int64_t dentryOffset = 0;          ///< index of the entry in that block, 0–15
};

/// One file entry of the tree. Plain values: changing one never touches the image.
///
/// Every accessor may be called from any thread; each returns a copy taken under the file's own lock.
class EMU3File final {
public:
  EMU3File() = default;
  /// A file with these fields, nothing cached and nothing analysed.
  explicit EMU3File(EMU3FileFields fields) : fields_(std::move(fields)) {}

  /// All entry fields in one consistent copy.
  EMU3FileFields fields() const;
  /// Calls `look` with the fields, under the file's lock: for walks over many files, which need no copy.
  /// `look` must be short and call nothing that takes a lock.
  template <typename Look> void lookAtFields(const Look &look) const {
    const std::lock_guard lock(mutex_);
    look(fields_);
  }
  void setFields(EMU3FileFields fields);

  std::uint8_t rawType() const { return get(&EMU3FileFields::rawType); }
  void setRawType(std::uint8_t value) { set(&EMU3FileFields::rawType, value); }
  std::uint8_t entryId() const { return get(&EMU3FileFields::entryId); }
  void setEntryId(std::uint8_t value) { set(&EMU3FileFields::entryId, value); }
  std::uint16_t startCluster() const { return get(&EMU3FileFields::startCluster); }
  void setStartCluster(std::uint16_t value) { set(&EMU3FileFields::startCluster, value); }
  std::uint16_t clusterCount() const { return get(&EMU3FileFields::clusterCount); }
  void setClusterCount(std::uint16_t value) { set(&EMU3FileFields::clusterCount, value); }
  std::uint16_t blocksInLastCluster() const { return get(&EMU3FileFields::blocksInLastCluster); }
  void setBlocksInLastCluster(std::uint16_t value) { set(&EMU3FileFields::blocksInLastCluster, value); }
  std::uint16_t bytesInLastBlock() const { return get(&EMU3FileFields::bytesInLastBlock); }
  void setBytesInLastBlock(std::uint16_t value) { set(&EMU3FileFields::bytesInLastBlock, value); }
  std::string name() const { return get(&EMU3FileFields::name); }
  void setName(std::string value) { set(&EMU3FileFields::name, std::move(value)); }
  std::int64_t fileType() const { return get(&EMU3FileFields::fileType); }
  void setFileType(std::int64_t value) { set(&EMU3FileFields::fileType, value); }
  std::uint64_t fileSize() const { return get(&EMU3FileFields::fileSize); }
  void setFileSize(std::uint64_t value) { set(&EMU3FileFields::fileSize, value); }
  std::int64_t dentryBlock() const { return get(&EMU3FileFields::dentryBlock); }
  void setDentryBlock(std::int64_t value) { set(&EMU3FileFields::dentryBlock, value); }
  std::int64_t dentryOffset() const { return get(&EMU3FileFields::dentryOffset); }
  void setDentryOffset(std::int64_t value) { set(&EMU3FileFields::dentryOffset, value); }

  /// The contents once read, null until then.
  ByteBufferPtr cachedData() const;
  void setCachedData(ByteBufferPtr data);
  /// Stores `data` when nothing is cached yet; returns what is cached then.
  ByteBufferPtr cacheDataIfUnset(ByteBufferPtr data);

  BankDetails bankDetails() const;
  void setBankDetails(BankDetails details);
  std::optional<std::string> bankName() const { return bankDetails().bankName; }
  void setBankName(std::optional<std::string> value);
  std::int64_t bankFormat() const { return bankDetails().bankFormat; }
  void setBankFormat(std::int64_t value);
  std::uint64_t presetCount() const { return bankDetails().presetCount; }
  void setPresetCount(std::uint64_t value);
  std::uint64_t sampleCount() const { return bankDetails().sampleCount; }
  void setSampleCount(std::uint64_t value);

  /// True exactly when `rawType` is 0.
  bool isDeleted() const { return rawType() == 0; }
  /// "1023 B", "1.0 KB", "1.0 MB": bytes up to 1023, KB below 1 MiB, else MB, one decimal.
  std::string fileSizeString() const;
  /// "Bank", "System" or "File".
  std::string fileTypeString() const;
  /// "<EMU3File: NAME (TYPE) SIZE>".
  std::string description() const;

private:
  template <typename T> T get(T EMU3FileFields::*field) const {
    const std::lock_guard lock(mutex_);
    return fields_.*field;
  }
  template <typename T> void set(T EMU3FileFields::*field, T value) {
    const std::lock_guard lock(mutex_);
    fields_.*field = std::move(value);
  }

  mutable std::mutex mutex_;
  EMU3FileFields fields_;
  ByteBufferPtr cachedData_;
  BankDetails bankDetails_;
};

using EMU3FilePtr = std::shared_ptr<EMU3File>;

/// The kind of file a type byte stands for: 0x80 system, 0x81 and 0x83 bank, anything else plain.
std::int64_t fileTypeForRawType(std::uint8_t rawType);
/// "Bank", "System" or "File" for an EMU3FileType.
std::string fileTypeStringFor(std::int64_t fileType);
/// The text of a size in bytes; see EMU3File::fileSizeString.
std::string fileSizeStringFor(std::uint64_t fileSize);

} // namespace tessary
