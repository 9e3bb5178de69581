#pragma once

#include "tessary/EMU3Error.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessary {

class EMU3Filesystem;

/// An empty volume in a new image file: header, a table that describes every block, an empty root, room for
/// folders' blocks, and slots. Made by rule, or with the header and the size of another image.
///
///     const std::optional<NewVolume> volume = NewVolume::ofSize(512ULL << 20, &error);
///     if (volume && volume->create("new.hda", &error)) …
///
/// A value; any thread.
class NewVolume final {
public:
  static constexpr std::uint64_t kSmallest = 64ULL << 10; ///< bytes
  static constexpr std::uint64_t kLargest = 32ULL << 30;  ///< bytes

  /// What a file that has the name already means.
  enum class Earlier {
    refused,
    replaced, ///< unless it is an image that somebody has open
  };

  /// The number of bytes that a text like "512M", "2 GB" or "65536" means; K, M and G are KiB, MiB and GiB.
  /// None where it is no such text, or the number is too large to count. `ofSize` tells whether a volume can
  /// have it.
  [[nodiscard]] static std::optional<std::uint64_t> sizeFromText(std::string_view text);

  /// `bytes` is a multiple of 512 from `kSmallest` to `kLargest`. None with code 6 where it is not.
  [[nodiscard]] static std::optional<NewVolume> ofSize(std::uint64_t bytes, EMU3Error *error = nullptr);
  /// With header and size of a mounted image. None with code 1 where a volume like that would not be sound:
  /// its table is too short for it, which the error's reason tells, or its parts lie over one another.
  [[nodiscard]] static std::optional<NewVolume> like(const EMU3Filesystem &model, EMU3Error *error = nullptr);

  [[nodiscard]] std::uint64_t imageSize() const { return imageSize_; } ///< bytes

  /// Makes the image file: it is on the medium before it has its name. Blocks that hold nothing take no room
  /// on the host where it can leave them out. False with the host's error; then nothing is left behind, and
  /// an earlier file is as it was.
  [[nodiscard]] bool create(const std::string &path, Earlier earlier, EMU3Error *error = nullptr) const;
  /// The same where no file may have the name yet.
  [[nodiscard]] bool create(const std::string &path, EMU3Error *error = nullptr) const {
    return create(path, Earlier::refused, error);
  }
  /// Whether the file could be made where none is, as far as can be told without writing.
  [[nodiscard]] bool canCreate(const std::string &path, EMU3Error *error = nullptr) const;

private:
  NewVolume() = default;

  std::array<std::uint8_t, 512> header_{}; ///< block 0
  std::uint64_t imageSize_ = 0;
  std::uint64_t fatStartBlock_ = 0;
  std::uint64_t dataAreaBlock_ = 0; ///< blocks below it are marked as used
};

} // namespace tessary
