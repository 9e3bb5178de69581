#pragma once

#include "tests/support/ImageBuilder.h"

#include <cstdint>

/// Small sounds for demonstration banks: mono, 16-bit little-endian, 44100 Hz. Lengths in seconds,
/// pitches in hertz. The same bytes on every run.
namespace tessary::test {

/// A sine that glides from one pitch to another and fades out.
Bytes sineSweep(double fromHz, double toHz, double seconds);
/// A plucked string.
Bytes pluck(double hz, double seconds);
/// A bar or a string that is struck: partials that are no multiples of the pitch, the higher the shorter.
Bytes struck(double hz, double seconds);
/// A bowed string: rich in overtones, with an attack and a vibrato that comes late.
Bytes bowed(double hz, double seconds);
/// Noise that dies away; the shorter `decaySeconds`, the drier.
Bytes noiseBurst(double seconds, double decaySeconds, std::uint32_t seed = 1);
/// Three slightly detuned voices that swell and fade.
Bytes swell(double hz, double seconds);

} // namespace tessary::test
