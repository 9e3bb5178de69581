#pragma once

#include "banks/BankSamples.h"
#include "filesystem/HostFileGroup.h"
#include "filesystem/Volume.h"
#include "tessary/ByteBuffer.h"
#include "tessary/EMU3Error.h"
#include "tessary/EMU3File.h"
#include "tessary/WavFile.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

/// What is read of a volume's files to be passed on to the host. Takes the volume's lock by itself.
namespace tessary {

/// A file's contents. Null with the error; guarded, code 2 where they are not whole.
[[nodiscard]] ByteBufferPtr readForExport(Volume &volume, const EMU3FilePtr &file, EMU3Error *error);

/// A bank with its samples and their audio. None with the error; a file that is no bank has no samples.
[[nodiscard]] std::optional<SampleBank> readSampleBank(Volume &volume, const EMU3FilePtr &file,
                                                       EMU3Error *error);

/// A sample as a WAV file: mono, 16 bits, and so many frames a second as its header is to tell.
class WavOfSample final {
public:
  /// Of sample `index`, from 0, of the bank, which outlives it. None with codes 6 and 2.
  [[nodiscard]] static std::optional<WavOfSample> of(const SampleBank &bank, std::uint64_t index,
                                                     std::uint32_t rate, EMU3Error *error);
  [[nodiscard]] HostFileParts parts() const { return {header_, audio_}; }

private:
  WavOfSample() = default;

  std::array<std::uint8_t, kWavHeaderSize> header_{};
  std::span<const std::uint8_t> audio_;
};

} // namespace tessary
