#pragma once

#include "tests/support/ImageBuilder.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessary::test {

/// An entry of a bank's table of contents: 32 bytes.
struct TocEntry {
  std::string type{}; ///< up to four bytes, the rest zeros
  std::string name{}; ///< up to 16 bytes, the rest spaces
  std::uint32_t size = 0;
  std::array<std::uint8_t, 6> unread{}; ///< bytes 8–13
};

/// A bank in the IFF layout: "FORM", table of contents, chunks. Table and chunks are independent, so a
/// damaged bank is built by leaving one side out or by stating a wrong size.
class IffBank {
public:
  explicit IffBank(std::string formType = "E4B0") : formType_(std::move(formType)) {}

  /// An entry of the table of contents together with its chunk.
  IffBank &preset(std::string_view name, std::string_view type = "E4P1");
  IffBank &sample(std::string_view name, const Bytes &audio, std::string_view type = "E4S1");
  /// An entry of the table of contents alone.
  IffBank &toc(TocEntry entry);
  /// A chunk alone. `size` as stored when it differs from the data's.
  IffBank &chunk(std::string_view identifier, const Bytes &data, std::optional<std::uint32_t> size = {});
  /// Bytes put as they are behind the last chunk.
  IffBank &trailing(const Bytes &bytes);
  /// The table's size as stored, in place of 32 a entry.
  IffBank &tocSize(std::uint32_t size);
  /// The first chunk's identifier in place of "TOC1".
  IffBank &firstChunk(std::string identifier);

  Bytes build() const;
  /// The first `length` bytes of the bank.
  Bytes build(std::size_t length) const;

private:
  std::string formType_;
  std::string firstChunk_ = "TOC1";
  std::vector<TocEntry> entries_;
  Bytes chunks_;
  std::optional<std::uint32_t> tocSize_;
};

/// A bank with the fixed header of the earlier samplers.
struct LegacyBank {
  std::string format{}; ///< up to 15 bytes, the rest zeros
  std::string name{};   ///< up to 16 bytes, the rest spaces
  std::uint16_t presets = 0;
  std::uint16_t samples = 0;
  std::size_t sizeBytes = 2048; ///< bytes behind the counts are zeros unless `body` fills them
  Bytes body{};                 ///< from offset 36 on

  Bytes build() const;
};

Bytes emulatorThreeBank(std::string_view name, std::uint16_t presets, std::uint16_t samples);
Bytes emulator3XBank(std::string_view name, std::uint16_t presets, std::uint16_t samples);
Bytes esi32Bank(std::string_view name, std::uint16_t presets, std::uint16_t samples);

/// A number as four big-endian bytes, as banks hold them.
std::array<std::uint8_t, 4> bigEndian32(std::uint32_t value);

} // namespace tessary::test
