#include "tests/support/Synth.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tessary::test {

namespace {

constexpr double kSampleRate = 44100;
constexpr double kTwoPi = 6.283185307179586;

std::size_t frames(double seconds) {
  return static_cast<std::size_t>(seconds * kSampleRate);
}

/// Noise in [-1, 1] from a small generator of its own: the standard's distributions differ by library.
class Noise {
public:
  explicit Noise(std::uint32_t seed) : state_(seed * 747796405U + 1) {}
  double next() {
    state_ = state_ * 1664525U + 1013904223U;
    return static_cast<double>(state_ >> 8) / 8388608.0 - 1.0;
  }

private:
  std::uint32_t state_;
};

/// Samples in [-1, 1] as stored, short ramps at both ends so that nothing clicks.
Bytes stored(const std::vector<double> &samples) {
  constexpr std::size_t kRamp = 64;
  Bytes bytes;
  bytes.reserve(samples.size() * 2);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::size_t fromEdge = std::min(i, samples.size() - 1 - i);
    const double ramp = std::min(1.0, static_cast<double>(fromEdge) / kRamp);
    const auto value =
        static_cast<std::int16_t>(std::lround(std::clamp(samples[i], -1.0, 1.0) * ramp * 28000));
    bytes.push_back(static_cast<std::uint8_t>(value & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>((value >> 8) & 0xFF));
  }
  return bytes;
}

} // namespace

Bytes sineSweep(double fromHz, double toHz, double seconds) {
  std::vector<double> samples(frames(seconds));
  double phase = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double progress = static_cast<double>(i) / static_cast<double>(samples.size());
    samples[i] = std::sin(phase) * (1 - progress);
    phase += kTwoPi * fromHz * std::pow(toHz / fromHz, progress) / kSampleRate;
  }
  return stored(samples);
}

Bytes pluck(double hz, double seconds) {
  std::vector<double> string(static_cast<std::size_t>(kSampleRate / hz));
  Noise noise(static_cast<std::uint32_t>(hz * 16));
  for (double &point : string)
    point = noise.next();
  std::vector<double> samples(frames(seconds));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    double &point = string[i % string.size()];
    samples[i] = point;
    point = 0.498 * (point + string[(i + 1) % string.size()]);
  }
  return stored(samples);
}

Bytes struck(double hz, double seconds) {
  struct Partial {
    double ratio, level, decaySeconds;
  };
  constexpr Partial partials[] = {{1, 1, 0.45},       {2.01, 0.5, 0.3},  {3.03, 0.3, 0.2},
                                  {4.08, 0.18, 0.14}, {5.4, 0.12, 0.09}, {8.9, 0.1, 0.03}};
  std::vector<double> samples(frames(seconds));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double time = static_cast<double>(i) / kSampleRate;
    for (const Partial &partial : partials)
      samples[i] += partial.level * std::exp(-time / partial.decaySeconds) *
                    std::sin(kTwoPi * hz * partial.ratio * time) / 1.7;
  }
  return stored(samples);
}

Bytes bowed(double hz, double seconds) {
  constexpr int overtones = 12;
  constexpr double attackSeconds = 0.12, releaseSeconds = 0.25, vibratoHz = 5.5;
  std::vector<double> samples(frames(seconds));
  double phase = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double time = static_cast<double>(i) / kSampleRate;
    const double vibrato = 0.006 * std::min(1.0, time / 0.8) * std::sin(kTwoPi * vibratoHz * time);
    phase += kTwoPi * hz * (1 + vibrato) / kSampleRate;
    double string = 0;
    for (int overtone = 1; overtone <= overtones; ++overtone)
      string += std::sin(phase * overtone) / overtone;
    const double swelling = std::min({1.0, time / attackSeconds, (seconds - time) / releaseSeconds});
    samples[i] = string / 2.2 * swelling * (1 + 0.08 * std::sin(kTwoPi * vibratoHz * time));
  }
  return stored(samples);
}

Bytes noiseBurst(double seconds, double decaySeconds, std::uint32_t seed) {
  std::vector<double> samples(frames(seconds));
  Noise noise(seed);
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = noise.next() * std::exp(-static_cast<double>(i) / (kSampleRate * decaySeconds));
  return stored(samples);
}

Bytes swell(double hz, double seconds) {
  std::vector<double> samples(frames(seconds));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double time = static_cast<double>(i) / kSampleRate;
    double voices = 0;
    for (const double detune : {0.996, 1.0, 1.005})
      voices += std::sin(kTwoPi * hz * detune * time) + 0.4 * std::sin(2 * kTwoPi * hz * detune * time);
    samples[i] = voices / 4.2 * std::sin(kTwoPi / 2 * time / seconds);
  }
  return stored(samples);
}

} // namespace tessary::test
