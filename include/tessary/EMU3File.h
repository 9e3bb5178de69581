#pragma once

#include "tessary/ByteBuffer.h"
#include "tessary/EntryPlace.h"
#include "tessary/Mutex.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tessary {

class EMU3Directory;
using EMU3DirectoryPtr = std::shared_ptr<EMU3Directory>;

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

/// The fields of a file's directory entry beside its name, and what follows from them.
struct EMU3FileEntry {
  std::uint8_t rawType = 0;               ///< type byte as stored; 0 marks a deleted entry
  std::uint8_t entryId = 0;               ///< id byte as stored
  std::uint16_t startCluster = 0;         ///< slot of the contents, from 1; 0 reads as slot 1
  std::uint16_t clusterCount = 0;         ///< as stored; plays no part in reading
  std::uint16_t blocksInLastCluster = 0;  ///< number of 512-byte blocks of contents
  std::uint16_t bytesInLastBlock = 0;     ///< bytes used in the last of them
  std::int64_t fileType = kFileTypePlain; ///< EMU3FileType
  std::uint64_t fileSize = 0;             ///< bytes
  std::int64_t dentryBlock = 0;           ///< directory block that holds the entry
  std::int64_t dentryOffset = 0;          ///< index of the entry in that block, 0–15
};

/// All fields of the entry.
struct EMU3FileFields : EMU3FileEntry {
  std::string name; ///< UTF-8
};

/// One file entry of the tree. Plain values, which only the engine changes: a file that gets another entry is
/// another object.
///
/// Every accessor may be called from any thread; what can change comes as a copy, taken under the file's own
/// lock.
class EMU3File final {
public:
  EMU3File() = default;
  /// A file with these fields, in no folder, nothing cached and nothing analysed.
  explicit EMU3File(const EMU3FileFields &fields) : entry_(fields), name_(fields.name) {}
  explicit EMU3File(EMU3FileFields &&fields) : entry_(fields), name_(std::move(fields.name)) {}

  [[nodiscard]] EMU3FileFields fields() const { return {entry_, name()}; }
  /// What never changes: for walks over many files.
  [[nodiscard]] const EMU3FileEntry &entry() const { return entry_; }

  [[nodiscard]] std::uint8_t rawType() const { return entry_.rawType; }
  [[nodiscard]] std::uint8_t entryId() const { return entry_.entryId; }
  [[nodiscard]] std::uint16_t startCluster() const { return entry_.startCluster; }
  [[nodiscard]] std::uint16_t clusterCount() const { return entry_.clusterCount; }
  [[nodiscard]] std::uint16_t blocksInLastCluster() const { return entry_.blocksInLastCluster; }
  [[nodiscard]] std::uint16_t bytesInLastBlock() const { return entry_.bytesInLastBlock; }
  [[nodiscard]] std::string name() const;
  [[nodiscard]] std::int64_t fileType() const { return entry_.fileType; }
  [[nodiscard]] std::uint64_t fileSize() const { return entry_.fileSize; }
  [[nodiscard]] std::int64_t dentryBlock() const { return entry_.dentryBlock; }
  [[nodiscard]] std::int64_t dentryOffset() const { return entry_.dentryOffset; }
  /// The two above as one.
  [[nodiscard]] EntryPlace place() const { return {entry_.dentryBlock, entry_.dentryOffset}; }

  /// The folder whose list holds the file; null before it is in one, and once it has left it.
  [[nodiscard]] EMU3DirectoryPtr folder() const;

  /// The contents once read, null until then.
  [[nodiscard]] ByteBufferPtr cachedData() const;

  [[nodiscard]] BankDetails bankDetails() const;
  [[nodiscard]] std::optional<std::string> bankName() const { return bankDetails().bankName; }
  [[nodiscard]] std::int64_t bankFormat() const { return bankDetails().bankFormat; }
  [[nodiscard]] std::uint64_t presetCount() const { return bankDetails().presetCount; }
  [[nodiscard]] std::uint64_t sampleCount() const { return bankDetails().sampleCount; }

  /// True exactly when `rawType` is 0.
  [[nodiscard]] bool isDeleted() const { return rawType() == 0; }
  /// "1023 B", "1.0 KB", "1.0 MB": bytes up to 1023, KB below 1 MiB, else MB, one decimal.
  [[nodiscard]] std::string fileSizeString() const;
  /// "Bank", "System" or "File".
  [[nodiscard]] std::string fileTypeString() const;
  /// "<EMU3File: NAME (TYPE) SIZE>".
  [[nodiscard]] std::string description() const;

private:
  friend class TreeEditor;

  const EMU3FileEntry entry_{};
  mutable Mutex mutex_;
  std::string name_ TESSARY_GUARDED_BY(mutex_);
  std::weak_ptr<EMU3Directory> folder_ TESSARY_GUARDED_BY(mutex_);
  ByteBufferPtr cachedData_ TESSARY_GUARDED_BY(mutex_);
  BankDetails bankDetails_ TESSARY_GUARDED_BY(mutex_);
};

using EMU3FilePtr = std::shared_ptr<EMU3File>;

/// The kind of file a type byte stands for: 0x80 system, 0x81 and 0x83 bank, anything else plain.
[[nodiscard]] std::int64_t fileTypeForRawType(std::uint8_t rawType);
/// "Bank", "System" or "File" for an EMU3FileType.
[[nodiscard]] std::string fileTypeStringFor(std::int64_t fileType);
/// The text of a size in bytes; see EMU3File::fileSizeString.
[[nodiscard]] std::string fileSizeStringFor(std::uint64_t fileSize);

} // namespace tessary
