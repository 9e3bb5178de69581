#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>

namespace tessary::test {

/// A file's worth of bytes of which only the pages ever written take memory; all others are zeros.
class SparseBytes {
public:
  explicit SparseBytes(std::uint64_t size) : size_(size) {}

  std::uint64_t size() const { return size_; }
  /// Bytes cut off are gone; bytes gained are zeros.
  void resize(std::uint64_t size);
  /// What would lie behind the end is dropped.
  void write(std::uint64_t offset, std::span<const std::uint8_t> bytes);
  /// What lies behind the end reads as zeros.
  void read(std::uint64_t offset, std::span<std::uint8_t> into) const;
  /// Replaces the host file, with holes where nothing was written. Throws std::system_error.
  void writeTo(const std::string &path) const;

private:
  static constexpr std::uint64_t kPageSize = 4096;
  using Page = std::array<std::uint8_t, kPageSize>;

  std::uint64_t size_;
  std::map<std::uint64_t, std::unique_ptr<Page>> pages_;
};

} // namespace tessary::test
