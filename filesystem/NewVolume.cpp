#include "tessary/NewVolume.h"

#include "filesystem/ImageMapping.h"
#include "filesystem/MountedImage.h"
#include "filesystem/NewHostFile.h"
#include "filesystem/VolumeGeometry.h"
#include "tessary/EMU3Filesystem.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

namespace tessary {

using namespace format;

namespace {

/// Block of the first part behind the header: the one where the table begins by default.
constexpr std::uint64_t kFirstPart = kDefaultFatStartBlock;
/// How many blocks the directory area has, the root's among them.
constexpr std::uint64_t kFewestDirectoryBlocks = 16;
constexpr std::uint64_t kMostDirectoryBlocks = 4096;
constexpr std::uint64_t kBlocksForADirectoryBlock = 512;
constexpr std::uint64_t kSmallestSlot = 64;
/// Half of the slots that an entry can number, so that an image has room to be made larger later.
constexpr std::uint64_t kMostSlots = 32767;

std::uint64_t dividedUp(std::uint64_t value, std::uint64_t by) {
  return (value + by - 1) / by;
}

std::uint64_t slotSizeFor(std::uint64_t blocks) {
  std::uint64_t size = kSmallestSlot;
  while (blocks / size > kMostSlots)
    size *= 2;
  return size;
}

// A folder's entry holds no block number above 32767. Where a long table would push root and folders beyond
// that, they come first.
VolumeGeometry geometryFor(std::uint64_t blocks) {
  const std::uint64_t table = dividedUp(blocks, kFatEntriesPerBlock);
  const std::uint64_t directory =
      std::clamp(blocks / kBlocksForADirectoryBlock, kFewestDirectoryBlocks, kMostDirectoryBlocks);
  const bool tableComesFirst = kFirstPart + table + directory - 1 <= kLastFolderBlock;
  VolumeGeometry geometry;
  geometry.totalBlocks = blocks;
  geometry.fatStartBlock = tableComesFirst ? kFirstPart : kFirstPart + directory;
  geometry.rootDirBlock = tableComesFirst ? kFirstPart + table : kFirstPart;
  geometry.dataAreaBlock = kFirstPart + table + directory;
  geometry.slotSizeBlocks = slotSizeFor(blocks);
  return geometry;
}

Block headerOf(const VolumeGeometry &geometry) {
  Block header{};
  std::copy(kSignature.begin(), kSignature.end(), header.begin());
  const auto put = [&](std::size_t offset, std::uint64_t value) {
    writeLE32(header.data() + offset, static_cast<std::uint32_t>(value));
  };
  put(kHeaderRootDirBlock, geometry.rootDirBlock);
  put(kHeaderDataAreaBlock, geometry.dataAreaBlock);
  put(kHeaderFatStartBlock, geometry.fatStartBlock);
  put(kHeaderSlotSize, geometry.slotSizeBlocks / 2);
  return header;
}

// Whether all parts of a volume lie inside the image, and none over another.
bool isSound(const VolumeGeometry &geometry) {
  const std::uint64_t tableEnd = geometry.tableEndBlock();
  const bool rootIsOutsideTable =
      geometry.rootDirBlock < geometry.fatStartBlock || geometry.rootDirBlock >= tableEnd;
  return geometry.fatStartBlock >= 1 && geometry.rootDirBlock >= 1 && rootIsOutsideTable &&
         geometry.rootDirBlock < geometry.dataAreaBlock && tableEnd <= geometry.dataAreaBlock &&
         geometry.dataAreaBlock < geometry.totalBlocks;
}

EMU3Error shortTable(const VolumeGeometry &geometry) {
  EMU3Error error{kEngineErrorDomain, kErrorNotAnImage, "The allocation table is too short for the volume"};
  error.reason = "It describes " + std::to_string(geometry.describedBlocks()) + " of " +
                 std::to_string(geometry.totalBlocks) + " blocks";
  return error;
}

// Marks of the first `marked` blocks.
std::vector<std::uint8_t> marksOf(std::uint64_t marked) {
  std::vector<std::uint8_t> marks(dividedUp(marked, kFatEntriesPerBlock) * kBlockSize);
  for (std::uint64_t block = 0; block < marked; ++block)
    writeLE16(marks.data() + block * 2, kFatUsed);
  return marks;
}

bool writeAt(NewHostFile &file, std::uint64_t block, std::span<const std::uint8_t> bytes, EMU3Error *error) {
  if (::lseek(file.descriptor(), static_cast<off_t>(block * kBlockSize), SEEK_SET) < 0)
    return fail(error, hostError(errno, file.path()));
  return file.write(bytes, error);
}

// The file that a new image replaces. As long as this lives, no program of ours begins to change it: the
// changes would go to a file that has no name any more.
class ReplacedFile final {
public:
  ReplacedFile() = default;
  ~ReplacedFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  ReplacedFile(const ReplacedFile &) = delete;
  ReplacedFile &operator=(const ReplacedFile &) = delete;

  bool hold(const std::string &path, EMU3Error *error) {
    if (MountedImage::isMounted(path))
      return fail(error, {kHostErrorDomain, EBUSY, path + ": This is a mounted image"});
    fd_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd_ < 0) return errno == ENOENT || fail(error, hostError(errno, path));
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
      return fail(error, {kHostErrorDomain, EBUSY, path + ": Another program has it open"});
    return true;
  }

private:
  int fd_ = -1;
};

} // namespace

std::optional<std::uint64_t> NewVolume::sizeFromText(std::string_view text) {
  std::uint64_t count = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (problem != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  while (text.starts_with(' '))
    text.remove_prefix(1);
  if (text.empty()) return count;
  constexpr std::string_view units = "KMGkmg";
  const std::size_t unit = units.find(text.front());
  const std::string_view rest = text.substr(1);
  if (unit == std::string_view::npos || (!rest.empty() && rest != "B" && rest != "iB")) return std::nullopt;
  const std::size_t shift = 10 * (unit % 3 + 1);
  if (count > UINT64_MAX >> shift) return std::nullopt;
  return count << shift;
}

std::optional<NewVolume> NewVolume::ofSize(std::uint64_t bytes, EMU3Error *error) {
  if (bytes < kSmallest || bytes > kLargest || bytes % kBlockSize != 0) {
    fail(error, {kEngineErrorDomain, kErrorBadArgument,
                 "A volume has from 64 KiB to 32 GiB, in whole blocks of 512 bytes"});
    return std::nullopt;
  }
  const VolumeGeometry geometry = geometryFor(bytes / kBlockSize);
  NewVolume volume;
  volume.header_ = headerOf(geometry);
  volume.imageSize_ = bytes;
  volume.fatStartBlock_ = geometry.fatStartBlock;
  volume.dataAreaBlock_ = geometry.dataAreaBlock;
  return volume;
}

std::optional<NewVolume> NewVolume::like(const EMU3Filesystem &model, EMU3Error *error) {
  VolumeGeometry geometry;
  geometry.totalBlocks = model.totalBlocks();
  geometry.rootDirBlock = model.rootDirBlock();
  geometry.dataAreaBlock = model.dataAreaBlock();
  geometry.fatStartBlock = model.fatStartBlock();
  geometry.slotSizeBlocks = model.slotSizeBlocks();
  if (geometry.describedBlocks() < geometry.totalBlocks) {
    fail(error, shortTable(geometry));
    return std::nullopt;
  }
  if (!isSound(geometry)) {
    fail(error,
         {kEngineErrorDomain, kErrorNotAnImage, "The header puts parts of the volume over one another"});
    return std::nullopt;
  }
  NewVolume volume;
  volume.header_ = model.header();
  volume.imageSize_ = model.imageSize();
  volume.fatStartBlock_ = geometry.fatStartBlock;
  volume.dataAreaBlock_ = geometry.dataAreaBlock;
  return volume;
}

bool NewVolume::create(const std::string &path, Earlier earlier, EMU3Error *error) const {
  const bool replaces = earlier == Earlier::replaced;
  ReplacedFile replaced;
  if (replaces && !replaced.hold(path, error)) return false;
  NewHostFile file;
  if (!file.create(path, replaces ? NewHostFile::Earlier::replaced : NewHostFile::Earlier::refused, error))
    return false;
  if (::ftruncate(file.descriptor(), static_cast<off_t>(imageSize_)) != 0)
    return fail(error, hostError(errno, path));
  return writeAt(file, 0, header_, error) && writeAt(file, fatStartBlock_, marksOf(dataAreaBlock_), error) &&
         file.flush(error) && file.publish(error) && flushFolderOf(path, error);
}

bool NewVolume::canCreate(const std::string &path, EMU3Error *error) const {
  return NewHostFile().create(path, NewHostFile::Earlier::refused, error);
}

} // namespace tessary
