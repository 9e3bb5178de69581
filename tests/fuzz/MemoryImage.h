#pragma once

#include "tessary/EMU3Filesystem.h"

#include <cstdint>
#include <span>
#include <string>

namespace tessary::fuzz {

/// An image file in memory, opened by its path like any other.
class MemoryImage {
public:
  explicit MemoryImage(std::span<const std::uint8_t> bytes);
  ~MemoryImage();
  MemoryImage(const MemoryImage &) = delete;
  MemoryImage &operator=(const MemoryImage &) = delete;

  const std::string &path() const { return path_; }

private:
  int fd_;
  std::string path_;
};

/// A small sound volume with one bank of these contents, "BANK", in its root.
struct BankVolume {
  explicit BankVolume(std::span<const std::uint8_t> contents);
  MemoryImage image;
  EMU3FilesystemPtr volume;
  EMU3FilePtr bank;
};

/// Ends the program, for a promise that an input has broken.
void require(bool holds, const char *promise);

} // namespace tessary::fuzz
