#pragma once

#include "filesystem/FileContents.h"
#include "tessary/BankEntry.h"
#include "tessary/ByteBuffer.h"

#include <optional>
#include <vector>

/// The samples of an Emulator IV bank. Functions over a file's contents.
namespace tessary {

/// Where the audio of samples lies, in their order; none where its chunk is missing.
using SampleAudio = std::vector<std::optional<BankRange>>;

/// A bank that was read once, for as many of its samples as are wanted.
struct SampleBank {
  ByteBufferPtr bytes;
  std::vector<BankSample> samples;
  SampleAudio audio;
};

/// The samples in the bank's table of contents, in its order; none for other banks.
[[nodiscard]] std::vector<BankSample> listedSamples(const FileContents &contents);

/// For each sample, everything behind the header of the first chunk of its type, up to the bank's end. None
/// when the bank has no such chunk.
[[nodiscard]] SampleAudio audioBehindFirstChunks(const FileContents &contents,
                                                 const std::vector<BankSample> &samples);

/// For each of the bank's samples, the data of its own chunk, as far as the contents go, cut to whole frames
/// of two bytes. None where the bank has fewer chunks of the type than samples.
[[nodiscard]] SampleAudio audioOfOwnChunks(const FileContents &contents,
                                           const std::vector<BankSample> &samples);

} // namespace tessary
