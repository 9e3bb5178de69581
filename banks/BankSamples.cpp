#include "banks/BankSamples.h"

#include "banks/BankFormat.h"
#include "filesystem/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tessary {
namespace {

using namespace bank;

bool isListedSample(const TypeBytes &type) {
  return beginsWith(type, "E3S") || beginsWith(type, "E4S") || beginsWith(type, "ESND");
}

// Offset of the audio behind the header of the first chunk of this type; 0 when there is none. The data
// of the first chunk is taken to begin behind the table of contents' own size field.
std::uint64_t findAudio(const FileContents &bank, const TypeBytes &type) {
  std::array<std::uint8_t, kChunkHeaderSize> header{};
  const auto readHeader = [&](std::uint64_t place) {
    return bank.read(place, header.data(), header.size()) == header.size();
  };
  const auto isOfType = [&] { return std::equal(type.begin(), type.end(), header.begin()); };
  std::uint64_t place = kFirstChunkOffset;
  if (!readHeader(place)) return 0;
  if (isOfType()) return kTocEntriesOffset;
  while (true) {
    const std::uint32_t size = readBE32(header.data() + 4);
    const std::uint32_t step = size + (size & 1) + static_cast<std::uint32_t>(kChunkHeaderSize); // may wrap
    if (step == 0) return 0; // such a walk would never end
    place += step;
    if (place + kChunkHeaderSize > bank.size() || !readHeader(place)) return 0;
    if (isOfType()) return place + kChunkHeaderSize;
  }
}

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
    if (!isValidUtf8(type)) return; // a type that is no text cannot be listed
    std::string name = paddedField(entry.data() + kTocEntryNameOffset, kBankNameSize);
    if (name.find_first_not_of(' ') == std::string::npos || !isValidUtf8(name)) name = type;
    samples.push_back({std::move(type), std::move(name)});
  });
  return samples;
}

std::optional<BankRange> audioBehindFirstChunk(const FileContents &contents, const std::string &type) {
  const std::uint64_t audio = findAudio(contents, typeBytesOf(type));
  if (audio == 0) return std::nullopt;
  return BankRange{audio, contents.size() - audio};
}

std::optional<BankRange> audioOfOwnChunk(const FileContents &contents, const std::vector<BankSample> &samples,
                                         std::size_t index) {
  const TypeBytes type = typeBytesOf(samples[index].type);
  auto before = std::count_if(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(index),
                              [&](const BankSample &sample) { return sample.type == samples[index].type; });
  std::array<std::uint8_t, kChunkHeaderSize> header{};
  for (std::uint64_t place = kFirstChunkOffset;
       contents.read(place, header.data(), header.size()) == header.size();) {
    const std::uint64_t size = readBE32(header.data() + type.size());
    const std::uint64_t data = place + kChunkHeaderSize;
    if (std::equal(type.begin(), type.end(), header.begin()) && before-- == 0) {
      constexpr std::uint64_t bytesPerFrame = 2;
      const std::uint64_t there = std::min(size, contents.size() - data);
      return BankRange{data, there - there % bytesPerFrame};
    }
    place = data + size + size % 2;
  }
  return std::nullopt;
}

} // namespace tessary
