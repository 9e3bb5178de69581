#include "banks/BankSamples.h"

#include "banks/BankContents.h"
#include "banks/BankFormat.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace tessary {
namespace {

using namespace bank;

TypeBytes typeBytesOf(const std::string &type) {
  TypeBytes bytes{};
  std::copy_n(type.begin(), std::min(type.size(), bytes.size()), bytes.begin());
  return bytes;
}

} // namespace

std::vector<BankSample> listedSamples(const FileContents &contents) {
  std::vector<BankSample> samples;
  std::array<std::uint8_t, kTocEntriesOffset> header{};
  if (contents.read(0, header.data(), header.size()) < header.size()) return samples;
  if (!beginsWith(header.data(), "FORM") || !beginsWith(header.data() + kFormTypeOffset, "E4B0"))
    return samples;
  const TocRange range = tocRange(readBE32(header.data() + kTocSizeOffset), contents.size());
  forEachTocEntry(contents, range, [&](std::uint64_t, const TocEntry &entry) {
    if (!isListedSample(typeOf(entry))) return;
    const std::uint8_t *const typeEnd = std::find(entry.begin(), entry.begin() + TypeBytes{}.size(), 0);
    std::string type(entry.data(), typeEnd);
    samples.push_back({std::move(type), nameOfBankEntry(entry)});
  });
  return samples;
}

// This walk counts in 32 bits, which wrap. The data of the first chunk is taken to begin behind the table of
// contents' own size field.
SampleAudio audioBehindFirstChunks(const FileContents &contents, const std::vector<BankSample> &samples) {
  std::map<TypeBytes, std::uint64_t> audioOf; // offset; 0 as long as no chunk of the type was met
  for (const BankSample &sample : samples)
    audioOf.emplace(typeBytesOf(sample.type), 0);
  std::size_t missing = audioOf.size();
  std::array<std::uint8_t, kChunkHeaderSize> header{};
  std::uint64_t place = kFirstChunkOffset;
  while (missing > 0 && contents.read(place, header.data(), header.size()) == header.size()) {
    TypeBytes type{};
    std::copy_n(header.begin(), type.size(), type.begin());
    const auto found = audioOf.find(type);
    if (found != audioOf.end() && found->second == 0) {
      found->second = place + kChunkHeaderSize;
      --missing;
    }
    const std::uint32_t size = readBE32(header.data() + type.size());
    const std::uint32_t step = size + (size & 1) + static_cast<std::uint32_t>(kChunkHeaderSize);
    if (step == 0) break; // such a walk would never end
    place += step;
  }
  SampleAudio audio;
  audio.reserve(samples.size());
  for (const BankSample &sample : samples) {
    const std::uint64_t offset = audioOf.at(typeBytesOf(sample.type));
    if (offset == 0)
      audio.emplace_back();
    else
      audio.push_back(BankRange{offset, contents.size() - offset});
  }
  return audio;
}

SampleAudio audioOfOwnChunks(const FileContents &contents, const std::vector<BankSample> &samples) {
  ChunkPairing pairing;
  for (const BankSample &sample : samples)
    pairing.add(typeBytesOf(sample.type));
  SampleAudio audio;
  audio.reserve(samples.size());
  for (const std::optional<BankChunk> &chunk : pairing.chunksOf(contents)) {
    audio.emplace_back();
    if (chunk) audio.back() = audioIn(*chunk);
  }
  return audio;
}

} // namespace tessary
