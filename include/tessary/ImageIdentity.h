#pragma once

#include <cstdint>
#include <string>

namespace tessary {

/// What an image file is known by once it is no longer mounted, and may meanwhile have been renamed, linked,
/// replaced or taken to another disk.
struct ImageIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0; ///< bytes
  std::int64_t born = 0;  ///< when the file was made, nanoseconds since 1970; 0 where the host does not tell
  std::string path{};     ///< absolute, that led to it

  /// Of the open file that the path led to. Asks the host, which may take as long as a slow medium does.
  [[nodiscard]] static ImageIdentity of(int descriptor, std::string path);

  /// Whether both were, as far as can be known, one file. Its contents may have changed in between.
  ///
  /// Device and inode decide, whatever the paths. They are not enough: the inode of a deleted file goes to
  /// the next one, so size and time of birth must be the same too. And they are not always needed: some
  /// filesystems, FAT above all, number their files anew each time, and a card that is put in again is
  /// another device. So a file at the same path that was born at the same moment is the same as well; where
  /// the host tells no birth, it is not.
  [[nodiscard]] bool isSameImage(const ImageIdentity &other) const;
};

} // namespace tessary
