#include "tests/support/HostFiles.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessary::test {

namespace {

[[noreturn]] void fail(const std::string &path) {
  throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), path);
}

std::ifstream openToRead(const std::string &path) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) fail(path);
  return file;
}

void store(const std::string &path, std::ios::openmode mode, std::uint64_t offset,
           std::span<const std::uint8_t> bytes) {
  errno = 0;
  std::fstream file(path, mode | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(offset));
  file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  file.flush();
  if (!file) fail(path);
}

} // namespace

Bytes readBytes(const std::string &path) {
  constexpr std::size_t kPiece = 1 << 20;
  auto file = openToRead(path);
  Bytes bytes;
  // Piece by piece: some files of the host state a size of 0.
  for (std::size_t got = kPiece; got == kPiece;) {
    const std::size_t before = bytes.size();
    bytes.resize(before + kPiece);
    file.read(reinterpret_cast<char *>(bytes.data() + before), kPiece);
    got = static_cast<std::size_t>(file.gcount());
    bytes.resize(before + got);
  }
  return bytes;
}

Bytes readBytes(const std::string &path, std::uint64_t offset, std::size_t length) {
  auto file = openToRead(path);
  Bytes bytes(length);
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(length));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return bytes;
}

std::string readText(const std::string &path) {
  const Bytes bytes = readBytes(path);
  return {bytes.begin(), bytes.end()};
}

void writeBytes(const std::string &path, std::span<const std::uint8_t> bytes) {
  store(path, std::ios::trunc, 0, bytes);
}

void writeText(const std::string &path, std::string_view text) {
  writeBytes(path, bytesOf(text));
}

void patchBytes(const std::string &path, std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  store(path, std::ios::in, offset, bytes);
}

namespace {

class Descriptor {
public:
  Descriptor(std::string path, int flags)
      : path_(std::move(path)), number_(::open(path_.c_str(), flags | O_CLOEXEC, 0600)) {
    check(number_);
  }
  ~Descriptor() { ::close(number_); }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  operator int() const { return number_; }
  void check(ssize_t result) const {
    if (result < 0) fail(path_);
  }

private:
  std::string path_;
  int number_;
};

void copyRange(const Descriptor &from, const Descriptor &to, off_t begin, off_t end) {
  Bytes piece(1 << 20);
  while (begin < end) {
    const auto wanted = std::min(piece.size(), static_cast<std::size_t>(end - begin));
    const ssize_t got = ::pread(from, piece.data(), wanted, begin);
    from.check(got);
    if (got == 0) return; // it became shorter
    to.check(::pwrite(to, piece.data(), static_cast<std::size_t>(got), begin));
    begin += got;
  }
}

} // namespace

void copySparse(const std::string &from, const std::string &to) {
  const Descriptor source(from, O_RDONLY);
  const Descriptor target(to, O_WRONLY | O_CREAT | O_TRUNC);
  struct stat status {};
  source.check(::fstat(source, &status));
  target.check(::ftruncate(target, status.st_size));
  for (off_t end = 0; end < status.st_size;) {
    const off_t begin = ::lseek(source, end, SEEK_DATA);
    if (begin < 0 && errno == ENXIO) return; // a hole up to the end
    source.check(begin);
    end = ::lseek(source, begin, SEEK_HOLE);
    source.check(end);
    copyRange(source, target, begin, end);
  }
}

std::vector<std::string> namesIn(const std::string &folder) {
  std::vector<std::string> names;
  for (const auto &item : std::filesystem::directory_iterator(folder))
    names.push_back(item.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

} // namespace tessary::test
