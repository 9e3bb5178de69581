#include "tessary/WavFile.h"

#include "filesystem/DiskFormat.h"

#include <cstring>
#include <string_view>

namespace tessary {
namespace {

// The one audio format that samples are written in.
constexpr std::uint16_t kPcm = 1;
constexpr std::uint16_t kChannels = 1;
constexpr std::uint16_t kBitsPerSample = 16;
constexpr std::uint16_t kBytesPerFrame = kChannels * kBitsPerSample / 8;

} // namespace

std::array<std::uint8_t, kWavHeaderSize> wavHeader(std::uint32_t audioLength, std::uint32_t rate) {
  std::array<std::uint8_t, kWavHeaderSize> header{};
  const auto put = [&](std::size_t offset, std::string_view text) {
    std::memcpy(header.data() + offset, text.data(), text.size());
  };
  put(0, "RIFF");
  format::writeLE32(&header[4], audioLength + 36);
  put(8, "WAVE");
  put(12, "fmt ");
  format::writeLE32(&header[16], 16);
  format::writeLE16(&header[20], kPcm);
  format::writeLE16(&header[22], kChannels);
  format::writeLE32(&header[24], rate);
  format::writeLE32(&header[28], rate * kBytesPerFrame);
  format::writeLE16(&header[32], kBytesPerFrame);
  format::writeLE16(&header[34], kBitsPerSample);
  put(36, "data");
  format::writeLE32(&header[40], audioLength);
  return header;
}

} // namespace tessary
