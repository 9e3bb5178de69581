#include "tests/fuzz/MemoryImage.h"

#include "tests/support/ImageBuilder.h"

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace tessary::fuzz {
namespace {

test::Bytes imageWithBank(std::span<const std::uint8_t> contents) {
  test::ImageBuilder image({.sizeBytes = 512 * test::kKiB, .slotSizeBlocks = 64, .directoryBlocks = 8});
  image.root().addFile("BANK", contents);
  return image.build();
}

} // namespace

MemoryImage::MemoryImage(std::span<const std::uint8_t> bytes)
    : fd_(::memfd_create("image", MFD_CLOEXEC)), path_("/proc/self/fd/" + std::to_string(fd_)) {
  require(fd_ >= 0 && ::write(fd_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()),
          "the host keeps a file in memory");
}

MemoryImage::~MemoryImage() {
  ::close(fd_);
}

BankVolume::BankVolume(std::span<const std::uint8_t> contents)
    : image(imageWithBank(contents.first(std::min<std::size_t>(contents.size(), 60000)))),
      volume(EMU3Filesystem::initWithURL(image.path())), bank(volume->rootDirectory()->files().front()) {}

void require(bool holds, const char *promise) {
  if (holds) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

} // namespace tessary::fuzz
