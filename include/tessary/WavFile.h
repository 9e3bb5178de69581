#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tessary {

inline constexpr std::size_t kWavHeaderSize = 44;

/// The header of a WAV file: PCM, mono, 16 bits, `rate` Hz, `audioLength` bytes of audio behind it.
[[nodiscard]] std::array<std::uint8_t, kWavHeaderSize> wavHeader(std::uint32_t audioLength,
                                                                 std::uint32_t rate = 44100);

} // namespace tessary
