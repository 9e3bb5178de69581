#pragma once

#include "filesystem/ByteBuffer.h"
#include "filesystem/DiskFormat.h"
#include "filesystem/EMU3Directory.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/EMU3File.h"
#include "filesystem/FileContents.h"
#include "filesystem/ImageMapping.h"
#include "filesystem/SerialQueue.h"
#include "filesystem/SharedVolume.h"
#include "filesystem/VolumeFindings.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace tessary {

class EMU3Filesystem;
using EMU3FilesystemPtr = std::shared_ptr<EMU3Filesystem>;

/// One mounted image and every operation on it.
///
/// The image is mapped whole; changes go straight into the mapping and are flushed block by block. Each
/// public operation is atomic with regard to the others of the same image, under a fair lock that is
/// never held across work on host files. Facts and the tree's lists may be read from any thread without
/// that lock.
///
/// Operations return false or an empty result when they fail and fill `error` when one is given. Errors
/// of the engine have the domain "com.tessary.error"; those of host files the domain "posix".
class EMU3Filesystem final {
public:
  /// Opens, maps and reads the image at a path of the host. Null with code 1 or 2.
  static EMU3FilesystemPtr initWithURL(const std::string &imageURL, EMU3Error *error = nullptr);
  ~EMU3Filesystem();
  EMU3Filesystem(const EMU3Filesystem &) = delete;
  EMU3Filesystem &operator=(const EMU3Filesystem &) = delete;

  /// Reads header, table and tree again over the same mapping. A fresh tree replaces `rootDirectory`;
  /// folders and files of the old one are no longer part of the volume. On failure nothing changes.
  bool reload(EMU3Error *error = nullptr);

  /// The guarded volume: refuse or avoid what the bare rules would destroy (see docs/what-may-surprise.md).
  /// Off at first; set right after mounting.
  bool isGuarded() const { return guarded_; }
  void setGuarded(bool guarded) { guarded_ = guarded; }

  // Facts of the volume. Blocks are 512 bytes, block numbers count from the start of the image.
  const std::string &imageURL() const { return imageURL_; }
  std::uint64_t imageSize() const { return mapping_->size(); } ///< bytes
  /// True when the image could be opened for reading alone, or another process has it open for changes.
  bool isReadOnly() const { return mapping_->isReadOnly(); }
  std::uint64_t totalBlocks() const { return totalBlocks_; }
  std::uint64_t usedBlocks() const { return usedBlocks_; }       ///< table entries in use
  std::uint64_t freeBlocks() const { return freeBlocks_; }       ///< never counted below 0
  std::uint64_t totalClusters() const { return totalClusters_; } ///< blocks the scanned table describes
  std::string volumeLabel() const;
  std::uint64_t rootDirBlock() const { return rootDirBlock_; }
  std::uint64_t dataAreaBlock() const { return dataAreaBlock_; }
  std::uint64_t slotSizeBlocks() const { return slotSizeBlocks_; }
  std::uint64_t fatStartBlock() const { return fatStartBlock_; }
  /// Root of the tree.
  EMU3DirectoryPtr rootDirectory() const;
  /// How many entries from the table's start on lie inside the table: it ends where the root block or the
  /// data area, whichever comes first above it, begins. Blocks from that number on cannot be marked.
  std::uint64_t describedBlocks() const;
  /// The serial queue, "com.tessary.io", on which a user interface runs work on this image.
  SerialQueue &ioQueue() { return *ioQueue_; }

  /// The file's contents, cached in the file. Never null and never fails: contents that run off the end
  /// of the image come short.
  ByteBufferPtr dataForFile(const EMU3FilePtr &file, EMU3Error *error = nullptr);

  /// Reads a bank's format, name and counts into the file. True at once for a file that is no bank; false
  /// without an error when the contents have fewer than 12 bytes. What it read is not kept.
  bool populateBankMetadata(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// The type strings of the samples in an Emulator IV bank's table of contents. Empty for other banks;
  /// empty with code 6 for a file that is no bank.
  std::vector<std::string> samplesFromBankFile(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// Writes sample `index` (from 0) as a WAV file: mono, 16 bits, 44100 Hz. Codes 6, 2, 3.
  bool exportSampleAtIndex(std::uint64_t index, const EMU3FilePtr &fromBankFile, const std::string &toURL,
                           EMU3Error *error = nullptr);

  // Changes. All fail with code 3, "Image is read-only", first.
  bool deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory, EMU3Error *error = nullptr);
  bool copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error = nullptr);
  bool moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                const EMU3DirectoryPtr &toDirectory, EMU3Error *error = nullptr);
  /// Stores a host file's bytes under its name without extension, cut to 15 UTF-16 code units.
  bool importFileAtURL(const std::string &url, const EMU3DirectoryPtr &toDirectory,
                       EMU3Error *error = nullptr);
  /// Imports the backup of a deleted file under its exact name: nothing is cut from it, and a name that
  /// fills all 16 bytes of an entry is stored whole, as only the sampler itself writes one.
  bool restoreFileAtURL(const std::string &url, const std::string &name, const EMU3DirectoryPtr &toDirectory,
                        EMU3Error *error = nullptr);
  /// Writes a file's bytes, unchanged, as the host file; works on a read-only image.
  bool exportFile(const EMU3FilePtr &file, const std::string &toURL, EMU3Error *error = nullptr);
  bool renameFile(const EMU3FilePtr &file, const std::string &newName, const EMU3DirectoryPtr &inDirectory,
                  EMU3Error *error = nullptr);
  bool createDirectoryNamed(const std::string &name, const EMU3DirectoryPtr &inDirectory,
                            EMU3Error *error = nullptr);
  /// Deletes a folder with everything in it.
  bool deleteDirectory(const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &fromParent,
                       EMU3Error *error = nullptr);

  /// Looks the whole volume over and changes nothing (VolumeCheck.cpp).
  std::vector<VolumeFinding> check();
  /// Folders that no entry leads to any more, by their directory block (FolderRecovery.cpp).
  std::vector<LostFolder> lostFolders();
  /// Writes an entry for one of `lostFolders`, into a place of the folder that is really free. Codes 3, 5
  /// (the block holds no lost folder), 6 and 7.
  bool recoverFolder(std::uint64_t block, const std::string &name, const EMU3DirectoryPtr &inDirectory,
                     EMU3Error *error = nullptr);
  /// Whether `recoverFolder` would write the entry; false with the error it would give. Changes nothing.
  bool canRecoverFolder(std::uint64_t block, const std::string &name, const EMU3DirectoryPtr &inDirectory,
                        EMU3Error *error = nullptr);

private:
  friend struct EMU3FilesystemInternals; // tests of the primitives
  friend class VolumeCheck;

  /// Read view of one 512-byte block: empty when the block lies outside the image.
  class BlockView {
  public:
    BlockView(const ImageMapping &mapping, std::uint64_t block) : mapping_(&mapping), block_(block) {}
    explicit operator bool() const { return mapping_->containsBlock(block_); }
    bool read(std::size_t offset, std::uint8_t *to, std::size_t length) const {
      return mapping_->read(block_, offset, to, length);
    }

  private:
    const ImageMapping *mapping_;
    std::uint64_t block_;
  };
  /// Holds the operation lock for one change. When another filesystem of the same image has changed it
  /// since, the tree is first brought in line with the image.
  class Change {
  public:
    explicit Change(EMU3Filesystem &filesystem);
    ~Change();
    Change(const Change &) = delete;
    Change &operator=(const Change &) = delete;

  private:
    EMU3Filesystem &filesystem_;
  };

  /// What a new file is made of.
  struct NewFile {
    std::string name;
    std::int64_t fileType = kFileTypeBank;
    std::uint64_t size = 0; ///< bytes
    ByteBufferPtr data;     ///< `size` bytes; null as long as only the guards are asked
    bool wholeName = false; ///< store a name of 16 bytes without cutting it
  };

  /// Where it goes.
  struct NewPlace {
    std::int64_t dentryBlock = 0;
    std::int64_t dentryOffset = 0;
    std::uint16_t slot = 0;
    std::uint8_t entryId = 0;
  };

  EMU3Filesystem() = default;

  // Volume and mapping (EMU3Filesystem.cpp)
  bool _mapImageWithError(EMU3Error *error);
  bool _parseFilesystemWithError(EMU3Error *error);
  static EMU3Error _errorCode(std::int64_t code, std::string message);
  BlockView _blockPtr(std::uint64_t block) const { return {*mapping_, block}; }
  /// Same bounds rule as `_blockPtr`; it does not look at the read-only state.
  bool _mutableBlockPtr(std::uint64_t block) const { return mapping_->containsBlock(block); }
  std::uint16_t _fatEntry(std::uint64_t index) const;
  void _setFatEntry(std::uint64_t index, std::uint16_t value);
  void _scanAllocationTable();
  /// First block behind the table, above which guard 2 writes no mark.
  std::uint64_t _fatEndBlock() const;
  void _storeRoot(EMU3DirectoryPtr root);
  EMU3DirectoryPtr _freshRoot() const;

  // Two filesystems of one image (TreeReconciliation.cpp)
  void _reconcileTree();

  // Tree reading (EMU3TreeReading.cpp)
  void _parseDirectory(const EMU3DirectoryPtr &directory) const;
  static std::optional<std::string> _parseName(const std::uint8_t *field);
  std::uint64_t _slotStartBlock(std::uint16_t slot) const;
  /// Contents of a file as far as they lie inside the image; the caller holds the operation lock.
  FileContents _contentsOfFile(const EMU3FilePtr &file) const;
  /// The cached contents, or what `_contentsOfFile` gives, read whole and not kept.
  ByteBufferPtr _bytesOfFile(const EMU3FilePtr &file) const;

  // Space allocation and directory entries (EMU3Allocation.cpp)
  /// The slot for a new file; none when the guarded rule finds no slot number left.
  std::optional<std::uint16_t> _allocFileSlot(const EMU3DirectoryPtr &root) const;
  void _scanMaxSlotIndex(const EMU3DirectoryPtr &directory, std::uint16_t *max) const;
  std::uint64_t _highestReachedSlot(const EMU3DirectoryPtr &root) const;
  void _markSlotUsed(std::uint16_t slot, std::uint16_t blocksUsed);
  void _freeSlot(std::uint16_t slot, std::uint16_t blocksUsed);
  bool _writeData(const ByteBuffer &data, std::uint64_t toSlotStartBlock);
  void _setMarks(std::uint16_t slot, std::uint16_t blocks, std::uint16_t value);
  bool _findFreeDentry(const EMU3DirectoryPtr &directory, std::int64_t *outBlock,
                       std::int64_t *outOffset) const;
  bool _isLiveFolderEntry(std::int64_t block, std::int64_t offset) const;
  format::Dentry _dentryForFile(const std::string &name, std::uint16_t fileIndex, std::uint64_t length,
                                std::uint8_t entryId) const;
  void _writeDentry(const format::Dentry &dentry, std::int64_t blockIdx, std::int64_t offset);
  /// The part of a name that its entry holds: 15 bytes, guarded cut at a whole character.
  std::string_view _entryName(const std::string &name) const;
  static std::uint8_t _nextEntryId(const EMU3DirectoryPtr &directory);

  // Guards (EMU3Allocation.cpp)
  bool _isInTree(const EMU3DirectoryPtr &directory) const;
  bool _holdsFile(const EMU3DirectoryPtr &directory, const EMU3FilePtr &file) const;
  bool _isAnywhereInTree(const EMU3FilePtr &file) const;
  /// Guarded: whether the contents are still this file's; false with code 5 otherwise. One that has left the
  /// tree no longer owns the slot that they would be read from.
  bool _mayReadContents(const EMU3FilePtr &file, EMU3Error *error) const;
  /// What the entry of a new file of this name reads back as; none for a name of spaces alone.
  std::optional<std::string> _nameReadBack(const std::string &name) const;

  // Unlocked bodies of the public changes (EMU3FileOperations.cpp, EMU3FolderOperations.cpp)
  bool _deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory, EMU3Error *error);
  /// What `_deleteFile` does to a file of which it is known that the folder holds it.
  bool _removeFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory, EMU3Error *error);
  bool _copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error);
  bool _importFile(const std::string &url, const std::string &name, bool wholeName,
                   const EMU3DirectoryPtr &toDirectory, EMU3Error *error);
  bool _storeFile(const NewFile &file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error);
  bool _guardsAllow(const NewFile &file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error) const;
  std::optional<NewPlace> _findPlace(const NewFile &file, const EMU3DirectoryPtr &inDirectory,
                                     EMU3Error *error) const;
  bool _writeFile(const NewFile &file, const NewPlace &place, EMU3Error *error);
  format::Dentry _dentryForNewFile(const NewFile &file, const NewPlace &place) const;
  bool _moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                 const EMU3DirectoryPtr &toDirectory, EMU3Error *error);
  bool _renameFile(const EMU3FilePtr &file, const std::string &newName, const EMU3DirectoryPtr &inDirectory,
                   EMU3Error *error);
  bool _createDirectory(const std::string &name, const EMU3DirectoryPtr &inDirectory, EMU3Error *error);
  bool _deleteDirectory(const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &fromParent,
                        EMU3Error *error);
  void _removeEmptiedDirectory(const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &parent);
  void _collectDirectoryBlocks(const EMU3DirectoryPtr &directory, std::set<std::int64_t> *into) const;
  static format::Dentry _dentryForFolder(std::string_view storedName, std::uint64_t block);
  std::uint64_t _findFreeDirectoryBlock() const;
  bool _canHoldFolder(std::uint64_t block) const;
  std::vector<LostFolder> _lostFolders() const;
  /// Directory block and index for the entry of a lost folder; none, with the error, where it is refused.
  std::optional<std::pair<std::uint64_t, std::size_t>>
  _placeForLostFolder(std::uint64_t block, const std::string &name, const EMU3DirectoryPtr &inDirectory,
                      EMU3Error *error) const;

  std::string imageURL_;
  std::unique_ptr<ImageMapping> mapping_;
  std::unique_ptr<SerialQueue> ioQueue_;
  std::shared_ptr<SharedVolume> shared_;
  std::uint64_t seenChanges_ = 0; ///< shared_->changeCount as this tree knows it; under the lock

  std::atomic<bool> guarded_ = false;
  std::atomic<std::uint64_t> totalBlocks_ = 0;
  std::atomic<std::uint64_t> usedBlocks_ = 0;
  std::atomic<std::uint64_t> freeBlocks_ = 0;
  std::atomic<std::uint64_t> totalClusters_ = 0;
  std::atomic<std::uint64_t> rootDirBlock_ = 0;
  std::atomic<std::uint64_t> dataAreaBlock_ = 0;
  std::atomic<std::uint64_t> slotSizeBlocks_ = 0;
  std::atomic<std::uint64_t> fatStartBlock_ = 0;
  std::atomic<std::uint64_t> firstScannedBlock_ = 0;

  mutable std::mutex treeMutex_; ///< guards the two below
  EMU3DirectoryPtr rootDirectory_;
  std::string volumeLabel_;
};

/// Display name of a bank format code; null for 0 and any other value.
const char *bankFormatName(std::int64_t bankFormat);

} // namespace tessary
