#include "banks/BankSamples.h"

#include "banks/BankFormat.h"
#include "filesystem/Text.h"

#include <algorithm>
#include <array>
#include <cstring>

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

} // namespace

std::vector<std::string> listedSamples(const FileContents &contents) {
  std::vector<std::string> samples;
  std::array<std::uint8_t, kTocEntriesOffset> header{};
  if (contents.read(0, header.data(), header.size()) < header.size()) return samples;
  if (!beginsWith(header.data(), "FORM") || !beginsWith(header.data() + kFormTypeOffset, "E4B0"))
    return samples;
  const TocRange range = tocRange(readBE32(header.data() + kTocSizeOffset), contents.size());
  forEachTocEntry(contents, range, [&](std::uint64_t, const TocEntry &entry) {
    const TypeBytes type = typeOf(entry);
    if (!isListedSample(type)) return;
    std::string text(type.begin(), type.end());
    const std::size_t zero = text.find('\0');
    if (zero != std::string::npos) text.resize(zero);
    if (isValidUtf8(text)) samples.push_back(std::move(text)); // a type that is no text cannot be listed
  });
  return samples;
}

std::optional<BankRange> audioOfSampleType(const FileContents &contents, const std::string &type) {
  TypeBytes bytes{};
  std::memcpy(bytes.data(), type.data(), std::min(type.size(), bytes.size()));
  const std::uint64_t audio = findAudio(contents, bytes);
  if (audio == 0) return std::nullopt;
  return BankRange{audio, contents.size() - audio};
}

} // namespace tessary
