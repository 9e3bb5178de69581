#pragma once

#include <cstdint>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessary::bench {

/// A plain mapping of an image, for the copies that the engine is compared with.
class PlainMapping {
public:
  enum class For { reading, writing };

  explicit PlainMapping(const std::string &path, For what = For::reading) {
    const int fd = ::open(path.c_str(), what == For::reading ? O_RDONLY : O_RDWR);
    struct stat status {};
    if (fd < 0 || ::fstat(fd, &status) != 0) throw std::runtime_error("cannot open " + path);
    size_ = static_cast<std::size_t>(status.st_size);
    const int protection = what == For::reading ? PROT_READ : PROT_READ | PROT_WRITE;
    void *const bytes = ::mmap(nullptr, size_, protection, MAP_SHARED, fd, 0);
    ::close(fd);
    if (bytes == MAP_FAILED) throw std::runtime_error("cannot map " + path);
    bytes_ = static_cast<std::uint8_t *>(bytes);
  }
  ~PlainMapping() { ::munmap(bytes_, size_); }
  PlainMapping(const PlainMapping &) = delete;
  PlainMapping &operator=(const PlainMapping &) = delete;
  const std::uint8_t *block(std::uint64_t number) const { return bytes_ + number * 512; }
  std::uint8_t *block(std::uint64_t number) { return bytes_ + number * 512; }

private:
  std::uint8_t *bytes_ = nullptr;
  std::size_t size_ = 0;
};

} // namespace tessary::bench
