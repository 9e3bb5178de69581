#pragma once

#include "tessary/BankEntry.h"
#include "tessary/ByteBuffer.h"
#include "tessary/CheckWatcher.h"
#include "tessary/EMU3Directory.h"
#include "tessary/EMU3Error.h"
#include "tessary/EMU3File.h"
#include "tessary/ImageIdentity.h"
#include "tessary/MountRules.h"
#include "tessary/ReadOnlyReason.h"
#include "tessary/SerialQueue.h"
#include "tessary/StoredTree.h"
#include "tessary/VolumeFindings.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessary {

class EMU3Filesystem;
struct BackupWatcher;
class FileContents;
class ItemsOperation;
class Volume;
class VolumeChange;
struct VolumeAt;
using EMU3FilesystemPtr = std::shared_ptr<EMU3Filesystem>;

/// One mounted image and every operation on it.
///
/// The image is mapped whole, and changes go straight into the mapping. Guarded, a change has succeeded only
/// when it is on the medium: it waits for that between its steps, so that a power cut at any moment loses
/// nothing, and when the medium fails it fails with code 3 and the image is read-only from then on. Bare,
/// what is written is flushed without waiting.
///
/// Changes of an image come one after another, in the order in which they were asked for. Reading and the
/// facts wait for no change's medium, and may be asked for from any thread.
///
/// Guarded filesystems of one image share its tree, so none reads or writes what another has given to
/// something else. A bare one reads a tree of its own. While a process has an image mounted by one set of
/// rules, mounting it by the other fails with code 2. An image is claimed for changes, so that no other
/// program changes it meanwhile; reading needs no claim and never fails for one.
///
/// Operations return false or an empty result when they fail and fill `error` when one is given. Errors
/// of the engine have the domain "com.tessary.error"; those of host files the domain "posix". Guarded, an
/// operation on a file or folder that has left the tree changes nothing and fails with code 5.
class EMU3Filesystem final {
public:
  static constexpr std::uint64_t kBlockSize = 512; ///< bytes

  /// Opens, maps and reads the image at a path of the host. Null with code 1 or 2. Where it is to be claimed
  /// when it is mounted and another program has it, it is mounted all the same, read-only.
  [[nodiscard]] static EMU3FilesystemPtr initWithURL(const std::string &imageURL, MountRules rules,
                                                     ImageClaim claim, EMU3Error *error = nullptr);
  /// The same, claimed at its first change.
  [[nodiscard]] static EMU3FilesystemPtr initWithURL(const std::string &imageURL, MountRules rules,
                                                     EMU3Error *error = nullptr);
  /// By the bare rules, claimed when it is mounted.
  [[nodiscard]] static EMU3FilesystemPtr initWithURL(const std::string &imageURL, EMU3Error *error = nullptr);
  ~EMU3Filesystem();
  EMU3Filesystem(const EMU3Filesystem &) = delete;
  EMU3Filesystem &operator=(const EMU3Filesystem &) = delete;

  /// Reads header, table and tree again over the same mapping. A fresh tree replaces `rootDirectory`;
  /// folders and files of the old one are no longer part of the volume. On failure nothing changes.
  bool reload(EMU3Error *error = nullptr);

  /// Claims the image for changes until its last filesystem of this process ends; each change does so by
  /// itself. False with code 3 when it is read-only, above all since another program has it; it may be asked
  /// again. After an earlier refusal the tree is read anew: what other programs have not changed stays the
  /// objects it is, the rest has left the tree.
  bool claimForChanges(EMU3Error *error = nullptr);

  // Facts of the volume. Blocks are 512 bytes, block numbers count from the start of the image.
  [[nodiscard]] MountRules rules() const;
  /// Whether it was mounted with `ImageClaim::never`: changes stay in this object, and no host file is
  /// written; operations end as they would otherwise.
  [[nodiscard]] bool isTrial() const;
  [[nodiscard]] const std::string &imageURL() const { return imageURL_; }
  /// Whether both have one image file mounted, whatever the paths that led to it. Guarded, they share its
  /// tree then.
  [[nodiscard]] bool isOfSameImage(const EMU3Filesystem &other) const;
  /// What to know the image by when it is no longer mounted; as it was when it was mounted.
  [[nodiscard]] const ImageIdentity &identity() const { return identity_; }
  [[nodiscard]] std::uint64_t imageSize() const; ///< bytes
  /// Whether changes are refused, and why. Another program's claim may have ended since: `claimForChanges`.
  [[nodiscard]] bool isReadOnly() const;
  [[nodiscard]] ReadOnlyReason readOnlyReason() const;
  [[nodiscard]] std::uint64_t totalBlocks() const;
  /// Guarded, the blocks of the slots that are not taken; bare, table entries that are free, never counted
  /// below 0.
  [[nodiscard]] std::uint64_t freeBlocks() const;
  /// How many blocks the largest file may have for which there is room; guarded, 65,535 at most.
  [[nodiscard]] std::uint64_t largestFreeBlocks() const;
  /// Guarded, all other blocks of the image; bare, table entries in use.
  [[nodiscard]] std::uint64_t usedBlocks() const;
  /// How many entries of the table the scan at opening looked at: up to 262,144, whatever the table's length.
  [[nodiscard]] std::uint64_t totalClusters() const;
  [[nodiscard]] std::string volumeLabel() const;
  [[nodiscard]] std::uint64_t rootDirBlock() const;
  [[nodiscard]] std::uint64_t dataAreaBlock() const;
  [[nodiscard]] std::uint64_t slotSizeBlocks() const;
  [[nodiscard]] std::uint64_t fatStartBlock() const;
  /// How many blocks, from block 0 on, the table has entries for. Those from that number on cannot be marked.
  [[nodiscard]] std::uint64_t describedBlocks() const;
  /// Block 0 as it stands on the image.
  [[nodiscard]] std::array<std::uint8_t, kBlockSize> header() const;
  /// Root of the tree.
  [[nodiscard]] EMU3DirectoryPtr rootDirectory() const;
  /// The serial queue, "com.tessary.io", on which a user interface runs work on this image.
  [[nodiscard]] SerialQueue &ioQueue() { return *ioQueue_; }

  // Reading
  /// The file's contents, cached in the file. What lies outside the image or cannot be read is missing at
  /// their end.
  ByteBufferPtr dataForFile(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// The contents as they are passed on, not kept. Guarded, code 2 where they are not whole.
  ByteBufferPtr contentsOfFile(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// Writes a file's bytes, unchanged, as the host file; works on a read-only image. Guarded, never writes
  /// over a mounted image.
  bool exportFile(const EMU3FilePtr &file, const std::string &toURL, EMU3Error *error = nullptr);

  // Banks
  /// Reads a bank's format, name and counts into the file. True at once for a file that is no bank; false
  /// without an error when the contents have fewer than 12 bytes. What it read is not kept.
  bool populateBankMetadata(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// The same, forgetting first what an earlier reading left.
  bool refreshBankMetadata(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// The type strings of the samples in an Emulator IV bank's table of contents. Empty for other banks;
  /// empty with code 6 for a file that is no bank.
  std::vector<std::string> samplesFromBankFile(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// The same samples with what they are called; bare, that is their types.
  std::vector<BankSample> namedSamplesFromBankFile(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// The entries that `contentsOfBankFile` gives, without their chunks: reads the table of contents alone.
  std::vector<BankEntry> listingOfBankFile(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// The entries of an Emulator IV bank's table of contents that are not deleted; none for other banks, none
  /// with code 6 for a file that is no bank.
  std::vector<BankEntry> contentsOfBankFile(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// `length` bytes of a file's contents from `offset` on, fewer where the contents end: for work that goes
  /// through long contents piece by piece. Null, with code 5, when the file has left the tree.
  ByteBufferPtr pieceOfFile(const EMU3FilePtr &file, std::uint64_t offset, std::uint64_t length,
                            EMU3Error *error = nullptr);
  /// Writes sample `index` (from 0) as a WAV file: mono, 16 bits, 44100 Hz. Codes 6, 2, 3, else those of
  /// `contentsOfFile`; a file that is no bank has no samples.
  bool exportSampleAtIndex(std::uint64_t index, const EMU3FilePtr &fromBankFile, const std::string &toURL,
                           EMU3Error *error = nullptr);
  /// The same WAV file as bytes, with a header that tells `rate` frames a second. Null when it fails.
  ByteBufferPtr wavOfSample(std::uint64_t index, const EMU3FilePtr &fromBankFile, std::uint32_t rate,
                            EMU3Error *error = nullptr);

  // Changes of files. All changes fail with code 3, "Image is read-only", first.
  bool deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory, EMU3Error *error = nullptr);
  bool copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error = nullptr);
  bool moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                const EMU3DirectoryPtr &toDirectory, EMU3Error *error = nullptr);
  /// Stores a host file's bytes under its name without extension, cut to 15 UTF-16 code units.
  bool importFileAtURL(const std::string &url, const EMU3DirectoryPtr &toDirectory,
                       EMU3Error *error = nullptr);
  /// The entry of a file as it stands on the image: what `restoreFileAtURL` needs once the file is deleted.
  [[nodiscard]] std::optional<EntryBytes> entryOfFile(const EMU3FilePtr &file, EMU3Error *error = nullptr);
  /// The same of a folder that is not the root: what `ItemsOperation::restoreName` needs.
  [[nodiscard]] std::optional<EntryBytes> entryOfDirectory(const EMU3DirectoryPtr &directory,
                                                           EMU3Error *error = nullptr);
  /// A folder that is not the root, and behind it what is in it: each folder before its members, all of one
  /// moment. Empty with the error.
  [[nodiscard]] std::vector<TreeEntry> entriesOfTree(const EMU3DirectoryPtr &directory,
                                                     EMU3Error *error = nullptr);
  /// Brings a deleted file back from a host file with its contents and from the entry that it had: its whole
  /// name, and guarded its kind too. The new file; null when it fails.
  EMU3FilePtr restoreFileAtURL(const std::string &url, const EntryBytes &entry,
                               const EMU3DirectoryPtr &toDirectory, EMU3Error *error = nullptr);
  bool renameFile(const EMU3FilePtr &file, const std::string &newName, const EMU3DirectoryPtr &inDirectory,
                  EMU3Error *error = nullptr);

  /// For work on many files and folders: together they are as safe as one by one, and wait for the medium
  /// less often.
  [[nodiscard]] std::unique_ptr<ItemsOperation> manyItems();

  // Changes of folders
  /// The new folder comes to `made`. On a damaged volume whose folders share blocks it can have left the tree
  /// already, for an object of another folder.
  bool createDirectoryNamed(const std::string &name, const EMU3DirectoryPtr &inDirectory,
                            EMU3Error *error = nullptr, EMU3DirectoryPtr *made = nullptr);
  /// Bare, renames the folder in the tree alone; the image keeps the old name.
  bool renameDirectory(const EMU3DirectoryPtr &directory, const std::string &newName,
                       EMU3Error *error = nullptr);
  /// Moves a folder with everything in it. Nothing changes when it is in `toDirectory`; code 6 when that is
  /// the folder itself or lies below it.
  bool moveDirectory(const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &toDirectory,
                     EMU3Error *error = nullptr);
  /// Deletes a folder with everything in it.
  bool deleteDirectory(const EMU3DirectoryPtr &directory, const EMU3DirectoryPtr &fromParent,
                       EMU3Error *error = nullptr);

  /// Copies the image to a host file that is not there yet; the copy is compared with the image and on the
  /// medium before it has its name. Claims the image, so that nothing changes it meanwhile: code 3 when
  /// another program has it open for changes. Works on a read-only image. Other errors are the host's,
  /// ECANCELED when the watcher stopped it; a backup that fails leaves nothing behind.
  bool backUpTo(const std::string &target, const BackupWatcher &watcher, EMU3Error *error = nullptr);

  // Damage
  /// Looks the whole volume over and changes nothing.
  [[nodiscard]] std::vector<VolumeFinding> check();
  /// The same, watched. None where the watcher stopped it.
  [[nodiscard]] std::optional<std::vector<VolumeFinding>> check(const CheckWatcher &watcher);
  /// Folders that no entry leads to any more, by their directory block. One inside another is part of that
  /// one.
  [[nodiscard]] std::vector<LostFolder> lostFolders();
  /// Writes an entry for one of `lostFolders`, into a place of the folder that is really free; guarded, a
  /// full folder grows. Codes 3, 5 (the block holds no lost folder), 6 and 7.
  bool recoverFolder(std::uint64_t block, const std::string &name, const EMU3DirectoryPtr &inDirectory,
                     EMU3Error *error = nullptr, EMU3DirectoryPtr *made = nullptr);

private:
  EMU3Filesystem(std::string imageURL, std::shared_ptr<Volume> volume);
  [[nodiscard]] std::vector<BankEntry> readBankEntries(const EMU3FilePtr &file,
                                                       std::vector<BankEntry> (*read)(const FileContents &),
                                                       EMU3Error *error);
  /// Analyses a bank, beginning with these details; those of a file that is no bank become these.
  bool analyse(const EMU3FilePtr &file, BankDetails details, EMU3Error *error);
  void giveBackPagesAfter(const EMU3File &analysed);
  /// One change by itself.
  bool perform(VolumeChange &change, EMU3Error *error, EMU3DirectoryPtr *made = nullptr);

  friend class ItemsOperation; // takes items from another volume
  [[nodiscard]] VolumeAt at() const;

  const std::string imageURL_;
  const std::string imagePath_; ///< `imageURL_` as an absolute path
  const std::unique_ptr<SerialQueue> ioQueue_;
  const std::shared_ptr<Volume> volume_;
  const ImageIdentity identity_;
  std::atomic<const EMU3Directory *> detailsFolder_ = nullptr; ///< of the bank analysed last; only compared
  std::atomic<unsigned> detailsRead_ = 0;                      ///< banks, since pages were given back
};

} // namespace tessary
