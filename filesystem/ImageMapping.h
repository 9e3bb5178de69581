#pragma once

#include "filesystem/DiskFormat.h"
#include "tessary/EMU3Error.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace tessary {

/// One image file mapped into memory, whole and shared. Every read and write of image bytes in the
/// system goes through here, so this is the one place that checks bounds, survives the file being cut
/// short underneath (SIGBUS) and brings what was written to the medium: each run of blocks without waiting,
/// or by barriers that are waited for.
///
/// Block numbers may be anything, also values near 2^64: a block outside the image is never touched.
/// Members may be called from several threads; what keeps readers and a writer of the same bytes
/// apart is the caller's operation lock.
class ImageMapping final {
public:
  /// Where what is written goes.
  enum class Writes {
    toTheFile,
    privately, ///< into this mapping alone: the file stays as it is
  };

  /// Opens for reading and writing, or for reading alone when that is refused. Null with code 2,
  /// "Cannot open file: PATH" or "mmap failed". Only regular files are opened; a FIFO is never waited for.
  static std::unique_ptr<ImageMapping> open(const std::string &path, Writes writes, EMU3Error *error);
  static std::unique_ptr<ImageMapping> open(const std::string &path, EMU3Error *error) {
    return open(path, Writes::toTheFile, error);
  }
  ~ImageMapping();
  ImageMapping(const ImageMapping &) = delete;
  ImageMapping &operator=(const ImageMapping &) = delete;

  /// Bytes, as the file status said when it was opened.
  std::uint64_t size() const { return size_; }
  bool isReadOnly() const { return readOnly_; }
  /// Gives up writing: from now on the mapping can only be read.
  void makeReadOnly();
  /// From now on what is written waits for the next barrier, instead of being flushed by itself.
  void flushAtBarriers() { flushesAtBarriers_ = true; }
  /// Brings to the medium all that was written since the last barrier, and waits for it: what is written
  /// afterwards reaches the medium later. False when the medium did not take it; then nobody knows what of it
  /// is there. True at once when nothing was written. Called by one thread at a time, while no other writes.
  [[nodiscard]] bool barrier();
  /// Has the host begin to bring these blocks to the medium, so that the barrier finds much of it done. Not
  /// waited for, and nothing is said of the order.
  void startFlush(std::uint64_t first, std::uint64_t blocks);
  /// Device and inode of the image file.
  std::uint64_t device() const { return device_; }
  std::uint64_t inode() const { return inode_; }
  /// Whether this path of the host still leads to the file that is mapped.
  [[nodiscard]] bool isFileAt(const std::string &path) const;
  /// Owned by the mapping.
  int descriptor() const { return fd_; }

  /// Whether the whole block lies inside the image.
  bool containsBlock(std::uint64_t block) const { return block < size_ / format::kBlockSize; }

  /// Whether the image file still has its first `end` bytes.
  bool reaches(std::uint64_t end) const;

  /// Copies `length` bytes at `offset` of the block (offset + length ≤ 512). False when the block lies
  /// outside the image or cannot be read any more.
  bool read(std::uint64_t block, std::uint64_t offset, std::uint8_t *to, std::uint64_t length) const {
    return readBytes(block, offset, to, length) == length;
  }
  /// Copies `length` bytes from `offset` of block `first` on, across blocks. Returns how many bytes could
  /// be read: it ends at the last whole block of the image, or at the first block that cannot be read.
  std::uint64_t readBytes(std::uint64_t first, std::uint64_t offset, std::uint8_t *to,
                          std::uint64_t length) const;
  /// The same, for going once through much of the image: the bytes are read from the file, not through the
  /// mapping, so that none of its pages become part of this process.
  std::uint64_t readPassing(std::uint64_t first, std::uint64_t offset, std::uint8_t *to,
                            std::uint64_t length) const;
  /// Gives back the memory of the pages that were read through the mapping. Nothing of the image changes; any
  /// page is there again when it is read.
  void letGoOfPages() const;
  /// The first block from `block` on that may hold anything but zeros: behind the hole of a sparse file,
  /// where the host tells holes. At most `end`.
  std::uint64_t behindHole(std::uint64_t block, std::uint64_t end) const;
  /// How many blocks of the image its file has at this moment: fewer than when it was opened where it was cut
  /// short since.
  std::uint64_t blocksStillThere() const;
  /// Counts the non-zero 16-bit values of the blocks from `first` up to `end`, stopping before a block
  /// that is outside the image or cannot be read. Returns how many blocks were scanned.
  std::uint64_t countNonZeroWords(std::uint64_t first, std::uint64_t end, std::uint64_t *nonZero) const;

  /// Writes `length` bytes at `offset` of the block and flushes the block. False when the block lies
  /// outside the image or cannot be written; see `writeFaults` to tell the two apart.
  bool write(std::uint64_t block, std::uint64_t offset, const std::uint8_t *from, std::uint64_t length);
  /// Sets the whole block to zero and flushes it.
  bool clearBlock(std::uint64_t block);
  /// Writes the data into consecutive blocks from `first` on, the last one filled up with zeros (no data:
  /// one block of zeros), and flushes them. False at the first block that lies outside the image or cannot be
  /// written; the blocks before it stay written.
  bool writeData(std::uint64_t first, const std::uint8_t *data, std::uint64_t length);
  /// Replaces a directory entry so that whoever looks at the image at any moment, the next start after a
  /// kill included, finds the place empty or the entry whole: the first byte, which says that an entry is
  /// there, is cleared first and written last. Flushes the block.
  bool writeDentry(std::uint64_t block, std::size_t index, const format::Dentry &dentry);
  /// Replaces the 16 bytes of an entry's name in one store. Flushes the block.
  bool writeDentryName(std::uint64_t block, std::size_t index, const std::uint8_t *name);
  /// Clears the name, first byte first, and the type byte of an entry. Flushes the block.
  bool clearDentry(std::uint64_t block, std::size_t index);
  /// Sets all 32 bytes of an entry to zero, first byte first. Flushes the block.
  bool zeroDentry(std::uint64_t block, std::size_t index);

  /// How many writes have failed since opening because the file under the mapping was gone, not because
  /// the block lies outside the image.
  std::uint64_t writeFaults() const { return writeFaults_; }

private:
  ImageMapping() = default;
  std::uint8_t *address(std::uint64_t block) const { return bytes_ + block * format::kBlockSize; }
  [[nodiscard]] bool writeRun(std::uint64_t first, const std::uint8_t *from, std::uint64_t blocks,
                              bool isAllThere);
  [[nodiscard]] std::uint64_t writePassing(std::uint64_t begin, const std::uint8_t *from,
                                           std::uint64_t length);
  void flushBlocks(std::uint64_t first, std::uint64_t count);
  bool storeDentry(std::uint64_t block, std::size_t index,
                   void (*store)(std::uint8_t *, const std::uint8_t *), const std::uint8_t *from);

  std::uint8_t *bytes_ = nullptr;
  std::uint64_t size_ = 0;
  std::uint64_t device_ = 0;
  std::uint64_t inode_ = 0;
  int fd_ = -1;
  bool readOnly_ = false;
  bool isPrivate_ = false;
  bool flushesAtBarriers_ = false;
  bool writesPassing_ = false; ///< whether the file may be written without the mapping
  /// Bytes from the first to behind the last that wait for a barrier; none where they are equal.
  std::uint64_t unflushedBegin_ = 0;
  std::uint64_t unflushedEnd_ = 0;
  std::atomic<std::uint64_t> writeFaults_ = 0;
};

} // namespace tessary
