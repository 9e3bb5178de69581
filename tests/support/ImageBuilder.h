#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Builds disk images for tests and demonstrations. Knows the on-disk format by itself and shares no code
/// with the engine, so a mistake in one does not hide the same mistake in the other.
///
///     ImageBuilder image({.sizeBytes = 8 * kMiB});
///     auto drums = image.root().addFolder("Drums", {.blockCount = 2});
///     drums.addFile("KICK", IffBank().preset("Kick").sample("Kick C1", audio).build());
///     image.writeTo(folder.path("disk.hda"));
///
/// A mistake in the use of the builder (a full folder, contents outside the image) throws std::logic_error;
/// a failure of the host throws std::system_error. Banks: BankBuilder.h. Ready-made volumes: SampleVolumes.h.
namespace tessary::test {

using Bytes = std::vector<std::uint8_t>;
/// One directory entry as stored.
using RawEntry = std::array<std::uint8_t, 32>;

inline constexpr std::uint64_t kBlockBytes = 512;
inline constexpr std::uint64_t kKiB = 1024;
inline constexpr std::uint64_t kMiB = 1024 * kKiB;
inline constexpr std::uint64_t kGiB = 1024 * kMiB;

/// The bytes of a text.
Bytes bytesOf(std::string_view text);
/// `length` bytes that differ from block to block and from one seed to another; the same on every run.
Bytes patternBytes(std::size_t length, std::uint32_t seed = 0);

/// Where the parts of the volume lie. What is left unset makes a sound volume: a table with an entry for
/// every block of the image, the root right behind it, the directory area, the data area.
struct VolumeLayout {
  std::uint64_t sizeBytes = 4 * kMiB;
  /// Geometry as the header holds it. A 0 is stored as 0 and laid out by the format's default.
  std::uint32_t fatStartBlock = 2;
  std::optional<std::uint32_t> rootDirBlock{};
  std::optional<std::uint32_t> dataAreaBlock{};
  /// In 512-byte blocks, even; the header holds half of it. 0 stands for the default of 4096.
  std::uint32_t slotSizeBlocks = 64;
  /// Blocks from the root block to the data area when `dataAreaBlock` is unset.
  std::uint32_t directoryBlocks = 128;
  /// Marks what is laid out as used in the table: every block below the data area and each file's blocks,
  /// as far as the table reaches. Without it the table holds what setFatEntry puts there.
  bool marksBlocks = true;

  /// All four header fields 0: root block 6, data area 175, slots of 2 MiB, a table of four blocks.
  static VolumeLayout zeroHeader(std::uint64_t sizeBytes);
};

/// A directory entry's place: its block and its index (0–15) in it.
struct EntryPlace {
  std::uint64_t block = 0;
  std::size_t index = 0;
  bool operator==(const EntryPlace &) const = default;
};

struct FileOptions {
  std::uint8_t type = 0x81;
  std::optional<std::uint8_t> entryId{}; ///< unset: number of files added to the folder before
  std::optional<std::uint16_t> slot{};   ///< unset: the next one above all slots laid out
  /// Size of the file in bytes when it is larger than the contents; the rest reads as zeros and takes no
  /// memory. Unset: the contents' size.
  std::optional<std::uint64_t> sizeBytes{};
  bool e4b0Mark = false;              ///< "E4B0" at offset 28 of the entry
  std::optional<std::size_t> entry{}; ///< n-th entry of the folder (16 a block); unset: the next free one
  char namePadding = ' ';
  /// Fields as stored, in place of those that follow from the size.
  std::optional<std::uint16_t> clusterCount{};
  std::optional<std::uint16_t> blocksInLastCluster{};
  std::optional<std::uint16_t> bytesInLastBlock{};
  std::uint8_t byte16 = 0;
  std::uint8_t byte27 = 0;
  /// False lays out the entry alone: nothing is stored in the data area and nothing is marked.
  bool storesContents = true;
};

/// What addFile laid out.
struct PlacedFile {
  EntryPlace entry;
  std::uint16_t slot = 0;
  std::uint8_t entryId = 0;
  std::uint64_t firstBlock = 0; ///< of the contents
  std::uint64_t blockCount = 0; ///< that the contents take
};

struct FolderOptions {
  /// 1–7 blocks, the next free ones of the directory area that do not make the entry read as a file.
  std::size_t blockCount = 1;
  /// The entry's up to seven block numbers as stored, in place of `blockCount`. Entries are laid out in
  /// those of 1 or more; numbers may repeat others' and lie anywhere.
  std::vector<std::int16_t> blockList{};
  std::uint8_t entryId = 0x40;
  std::optional<std::size_t> entry{}; ///< as in FileOptions
  char namePadding = ' ';
  std::uint8_t byte16 = 0;
};

class ImageBuilder;

/// A folder of the image under construction. A light handle, valid as long as its image.
class FolderBuilder {
public:
  /// Names are raw bytes, at most 16.
  FolderBuilder addFolder(std::string_view name, const FolderOptions &options = {});
  PlacedFile addFile(std::string_view name, std::span<const std::uint8_t> contents = {},
                     const FileOptions &options = {});
  /// Stores the 32 bytes as they are, at the n-th entry of the folder or the next free one.
  EntryPlace addRaw(const RawEntry &entry, std::optional<std::size_t> at = {});
  /// An entry as a deletion leaves it: no name, type 0, the other fields still there.
  EntryPlace addDeletedFile(const FileOptions &options = {});

  /// Block numbers that hold the folder's entries, in order.
  const std::vector<std::uint64_t> &blocks() const;
  /// The folder's own entry; {0, 0} for the root.
  EntryPlace place() const;

private:
  friend class ImageBuilder;
  struct State;
  struct Volume;
  FolderBuilder(Volume *volume, std::size_t index) : volume_(volume), index_(index) {}
  EntryPlace take(std::optional<std::size_t> entry);

  Volume *volume_;
  std::size_t index_;
};

/// One image under construction. Bytes never written take no memory, so an image of 1 GiB is as cheap as
/// what it holds.
class ImageBuilder {
public:
  explicit ImageBuilder(const VolumeLayout &layout = {});
  ~ImageBuilder();
  ImageBuilder(ImageBuilder &&) noexcept;
  ImageBuilder &operator=(ImageBuilder &&) noexcept;

  // Geometry by which the image is laid out, defaults applied.
  std::uint64_t sizeBytes() const;
  std::uint64_t totalBlocks() const;
  std::uint64_t fatStartBlock() const;
  std::uint64_t rootDirBlock() const;
  std::uint64_t dataAreaBlock() const;
  std::uint64_t slotSizeBlocks() const;
  /// First block of a slot; slots count from 1, and 0 is read as 1.
  std::uint64_t slotBlock(std::uint16_t slot) const;
  /// Number of table entries before the first of the root block and the data area that lies above the
  /// table's start.
  std::uint64_t tableEntries() const;

  FolderBuilder root();

  // Raw access. Offsets count from the start of the image.
  ImageBuilder &poke(std::uint64_t offset, std::span<const std::uint8_t> bytes);
  ImageBuilder &poke(std::uint64_t offset, std::initializer_list<std::uint8_t> bytes);
  ImageBuilder &poke(std::uint64_t offset, std::string_view text);
  ImageBuilder &poke16(std::uint64_t offset, std::uint16_t littleEndian);
  ImageBuilder &poke32(std::uint64_t offset, std::uint32_t littleEndian);
  ImageBuilder &pokeBlock(std::uint64_t block, std::size_t offset, std::span<const std::uint8_t> bytes);
  ImageBuilder &pokeEntry(EntryPlace place, const RawEntry &entry);
  Bytes peek(std::uint64_t offset, std::size_t length) const;
  RawEntry entryAt(EntryPlace place) const;
  /// Table entry of a block, by absolute block number.
  std::uint16_t fatEntry(std::uint64_t block) const;
  ImageBuilder &setFatEntry(std::uint64_t block, std::uint16_t value);

  /// Cuts the image short or lengthens it, to any number of bytes, whatever was laid out; also to one that
  /// is no multiple of 512.
  ImageBuilder &resize(std::uint64_t sizeBytes);

  /// The whole image in memory.
  Bytes build() const;
  /// Writes the image as a sparse host file, replacing what stands there.
  void writeTo(const std::string &path) const;

private:
  std::unique_ptr<FolderBuilder::Volume> volume_;
};

/// 32 bytes of a file entry by its fields, for addRaw and for comparing.
RawEntry rawFileEntry(std::string_view name, std::uint8_t type, std::uint8_t entryId, std::uint16_t slot,
                      std::uint16_t clusterCount, std::uint16_t blocks, std::uint16_t bytesInLastBlock);
/// 32 bytes of a folder entry; up to seven block numbers.
RawEntry rawFolderEntry(std::string_view name, std::uint8_t entryId, std::span<const std::int16_t> blocks);

} // namespace tessary::test
