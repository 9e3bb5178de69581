#include "tests/support/SparseBytes.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace tessary::test {

namespace {

/// A descriptor that closes itself; failures name the file.
class OutputFile {
public:
  explicit OutputFile(const std::string &path)
      : path_(path), fd_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)) {
    if (fd_ < 0) fail();
  }
  ~OutputFile() { ::close(fd_); }
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  void setSize(std::uint64_t size) {
    if (::ftruncate(fd_, static_cast<off_t>(size)) != 0) fail();
  }
  void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
      const ssize_t written = ::pwrite(fd_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
      if (written < 0) fail();
      bytes = bytes.subspan(static_cast<std::size_t>(written));
      offset += static_cast<std::uint64_t>(written);
    }
  }

private:
  [[noreturn]] void fail() const { throw std::system_error(errno, std::generic_category(), path_); }

  std::string path_;
  int fd_;
};

} // namespace

void SparseBytes::resize(std::uint64_t size) {
  if (size < size_) {
    pages_.erase(pages_.lower_bound((size + kPageSize - 1) / kPageSize), pages_.end());
    const auto last = pages_.find(size / kPageSize);
    if (last != pages_.end())
      std::fill(last->second->begin() + static_cast<std::ptrdiff_t>(size % kPageSize), last->second->end(),
                std::uint8_t{0});
  }
  size_ = size;
}

void SparseBytes::write(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  if (offset >= size_) return;
  bytes = bytes.first(std::min<std::uint64_t>(bytes.size(), size_ - offset));
  while (!bytes.empty()) {
    const std::uint64_t within = offset % kPageSize;
    const auto part = bytes.first(std::min<std::uint64_t>(bytes.size(), kPageSize - within));
    auto &page = pages_[offset / kPageSize];
    if (!page) page = std::make_unique<Page>();
    std::copy(part.begin(), part.end(), page->begin() + static_cast<std::ptrdiff_t>(within));
    bytes = bytes.subspan(part.size());
    offset += part.size();
  }
}

void SparseBytes::read(std::uint64_t offset, std::span<std::uint8_t> into) const {
  while (!into.empty()) {
    const std::uint64_t within = offset % kPageSize;
    const auto part = into.first(std::min<std::uint64_t>(into.size(), kPageSize - within));
    const auto page = pages_.find(offset / kPageSize);
    if (page == pages_.end())
      std::fill(part.begin(), part.end(), std::uint8_t{0});
    else
      std::copy_n(page->second->begin() + static_cast<std::ptrdiff_t>(within), part.size(), part.begin());
    into = into.subspan(part.size());
    offset += part.size();
  }
}

void SparseBytes::writeTo(const std::string &path) const {
  OutputFile file(path);
  file.setSize(size_);
  for (const auto &[number, page] : pages_) {
    const std::uint64_t offset = number * kPageSize;
    file.write(offset, std::span(*page).first(std::min(kPageSize, size_ - offset)));
  }
}

} // namespace tessary::test
