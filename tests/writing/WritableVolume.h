#pragma once

#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/MountedVolume.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

/// What the tests of changes share: a volume together with the bytes that its image should hold. A test
/// makes a change, makes the same change to `expected` by hand, and compares the whole image.
namespace tessary::test {

/// "Bare" and "Guarded", for suites that hold either way.
std::string rulesName(const testing::TestParamInfo<MountRules> &info);

// Errors as their descriptions read.
inline constexpr const char *kReadOnlyError = "Error Domain=com.tessary.error Code=3 \"Image is read-only\"";
inline constexpr const char *kDataWriteError = "Error Domain=com.tessary.error Code=3 \"Data write failed\"";
inline constexpr const char *kBlockWriteError =
    "Error Domain=com.tessary.error Code=3 \"Block write failed\"";
inline constexpr const char *kWavWriteError =
    "Error Domain=com.tessary.error Code=3 \"Failed to write sample file\"";
inline constexpr const char *kNoSpaceError =
    "Error Domain=com.tessary.error Code=4 \"Not enough free space on image\"";
inline constexpr const char *kNoSlotError =
    "Error Domain=com.tessary.error Code=4 \"Image is full (no free slots)\"";
inline constexpr const char *kTooLargeError =
    "Error Domain=com.tessary.error Code=4 \"File is too large for the volume\"";
inline constexpr const char *kNoFolderBlockError =
    "Error Domain=com.tessary.error Code=4 \"No free directory block available\"";
inline constexpr const char *kNoEntryError =
    "Error Domain=com.tessary.error Code=5 \"Dentry block not found\"";
inline constexpr const char *kNameError =
    "Error Domain=com.tessary.error Code=6 \"Name must be 1–15 characters\"";
inline constexpr const char *kIncompleteError =
    "Error Domain=com.tessary.error Code=2 \"File contents are incomplete\"";
inline constexpr const char *kIntoItselfError =
    "Error Domain=com.tessary.error Code=6 \"A folder cannot be moved into itself\"";
inline constexpr const char *kFolderFullError =
    "Error Domain=com.tessary.error Code=7 \"Destination directory is full\"";
inline constexpr const char *kParentFullError =
    "Error Domain=com.tessary.error Code=7 \"Parent directory is full\"";

/// 512 blocks: the table in blocks 2 and 3, the root in 4, the directory area up to 15, the data area from
/// 16 on, 62 slots of 8 blocks.
VolumeLayout smallLayout();
/// 256 blocks with the table in the last one, so that the counters are those of 256 entries: the root in
/// block 2, the data area from 16 on, 29 slots of 8 blocks.
VolumeLayout smallTableLayout();
/// An image of `smallTableLayout` whose table leaves exactly `freeBlocks` entries free, the highest ones.
ImageBuilder volumeWithFreeBlocks(std::uint64_t freeBlocks);
/// An image of `smallLayout` with a file in the last slot that there is; only its entry is laid out.
ImageBuilder volumeWithSlot65535(const VolumeLayout &layout = smallLayout());
/// Fills the folder's remaining entries up to `count` with files of one byte that share the first slot.
void fillFolder(FolderBuilder folder, std::size_t count = 16);

class WritableVolume : public MountedVolume {
public:
  explicit WritableVolume(ImageBuilder image, MountRules rules = MountRules::bare);

  /// What the image should hold. Begins as what was mounted.
  ImageBuilder expected;

  /// Whether the image holds exactly `expected`; otherwise names the blocks and bytes that differ.
  testing::AssertionResult imageIsAsExpected() const;

  /// A host file outside the image, removed with it.
  std::string hostFile(std::string_view name, std::span<const std::uint8_t> contents) const;
  /// A fresh parse of what the image holds now; see `readAnew`.
  EMU3FilesystemPtr openedAnew() const { return readAnew(imagePath()); }
};

/// Whether the host file holds exactly the bytes of `expected`.
testing::AssertionResult holdsExactly(const std::string &path, const ImageBuilder &expected);

// The changes as the format says them, made to the bytes of an image.

/// Entry of a file that this system wrote. `storedName` is what the entry holds of the name, at most 15
/// bytes.
RawEntry newFileEntry(std::string_view storedName, std::uint16_t slot, std::uint8_t entryId,
                      std::uint64_t length);
RawEntry newFolderEntry(std::string_view storedName, std::uint16_t block);
/// Stores contents from `firstBlock` on, the last block filled up with zeros; one block at least.
void putData(ImageBuilder &image, std::uint64_t firstBlock, std::span<const std::uint8_t> contents);
void putMarks(ImageBuilder &image, std::uint64_t firstBlock, std::uint64_t count, std::uint16_t mark);
/// Data, marks and entry of a new file.
void putNewFile(ImageBuilder &image, EntryPlace place, std::string_view storedName, std::uint16_t slot,
                std::uint8_t entryId, std::span<const std::uint8_t> contents);
/// Clears what a deletion clears of an entry: the name and the type byte.
void clearFileEntry(ImageBuilder &image, EntryPlace place);
void clearBlock(ImageBuilder &image, std::uint64_t block);
/// Replaces the 16 bytes of an entry's name.
void putName(ImageBuilder &image, EntryPlace place, std::string_view sixteenBytes);

EntryPlace placeOf(const EMU3File &file);
EntryPlace placeOf(const EMU3Directory &folder);

/// Puts another file in the place that this one has in its folder's list: one that is said to have its entry
/// in this block, as no tree that was read does. Returns it.
EMU3FilePtr withDentryBlock(const EMU3FilePtr &file, std::int64_t block);

/// How many blocks of room a file of `blocks` takes in slots of 8: guarded, whole slots.
std::uint64_t roomOf(MountRules rules, std::uint64_t blocks);

/// The counters of the volume, to compare before and after.
struct Counters {
  std::uint64_t used = 0;
  std::uint64_t free = 0;
  bool operator==(const Counters &) const = default;
};
Counters countersOf(const EMU3Filesystem &filesystem);
void PrintTo(const Counters &counters, std::ostream *out);

} // namespace tessary::test
