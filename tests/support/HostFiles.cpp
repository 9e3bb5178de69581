#include "tests/support/HostFiles.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

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

std::vector<std::string> namesIn(const std::string &folder) {
  std::vector<std::string> names;
  for (const auto &item : std::filesystem::directory_iterator(folder))
    names.push_back(item.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

} // namespace tessary::test
