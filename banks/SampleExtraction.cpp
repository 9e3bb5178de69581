#include "banks/BankFormat.h"
#include "filesystem/EMU3Filesystem.h"
#include "filesystem/HostFile.h"
#include "filesystem/Text.h"

#include <cstring>
#include <shared_mutex>
#include <string>
#include <vector>

namespace tessary {
namespace {

using namespace bank;

// The one audio format that samples are written in.
constexpr std::uint16_t kPcm = 1;
constexpr std::uint16_t kChannels = 1;
constexpr std::uint32_t kSamplesPerSecond = 44100;
constexpr std::uint16_t kBitsPerSample = 16;
constexpr std::uint16_t kBytesPerFrame = kChannels * kBitsPerSample / 8;
constexpr std::size_t kWavHeaderSize = 44;

std::array<std::uint8_t, kWavHeaderSize> wavHeader(std::uint32_t audioLength) {
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
  format::writeLE32(&header[24], kSamplesPerSecond);
  format::writeLE32(&header[28], kSamplesPerSecond * kBytesPerFrame);
  format::writeLE16(&header[32], kBytesPerFrame);
  format::writeLE16(&header[34], kBitsPerSample);
  put(36, "data");
  format::writeLE32(&header[40], audioLength);
  return header;
}

bool isListedSample(const TypeBytes &type) {
  return beginsWith(type, "E3S") || beginsWith(type, "E4S") || beginsWith(type, "ESND");
}

// Offset of the audio behind the header of the first chunk of this type; 0 when there is none. The data
// of the first chunk is taken to begin behind the table of contents' own size field.
std::uint64_t findAudio(const ByteBuffer &bank, const TypeBytes &type) {
  const auto isAt = [&](std::uint64_t place) {
    return std::equal(type.begin(), type.end(), bank.begin() + static_cast<std::ptrdiff_t>(place));
  };
  if (isAt(kFirstChunkOffset)) return kTocEntriesOffset;
  std::uint64_t place = kFirstChunkOffset;
  while (true) {
    const std::uint32_t size = readBE32(bank.data() + place + 4);
    const std::uint32_t step = size + (size & 1) + static_cast<std::uint32_t>(kChunkHeaderSize); // may wrap
    if (step == 0) return 0; // such a walk would never end
    place += step;
    if (place + kChunkHeaderSize > bank.size()) return 0;
    if (isAt(place)) return place + kChunkHeaderSize;
  }
}

// Empty when the bank lists no samples.
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

} // namespace

std::vector<std::string> EMU3Filesystem::samplesFromBankFile(const EMU3FilePtr &file, EMU3Error *error) {
  if (file->fileType() != kFileTypeBank) {
    fail(error, _errorCode(kErrorBadArgument, "Not a bank file"));
    return {};
  }
  const std::shared_lock lock(shared_->operationLock);
  if (!_mayReadContents(file, error)) return {};
  return listedSamples(_contentsOfFile(file));
}

// The bank is read once, so that the list and the audio are of one file.
bool EMU3Filesystem::exportSampleAtIndex(std::uint64_t index, const EMU3FilePtr &fromBankFile,
                                         const std::string &toURL, EMU3Error *error) {
  ByteBufferPtr bank;
  {
    const std::shared_lock lock(shared_->operationLock);
    if (!_mayReadContents(fromBankFile, error)) return false;
    bank = _bytesOfFile(fromBankFile);
  }
  const std::vector<std::string> samples = fromBankFile->fileType() == kFileTypeBank
                                               ? listedSamples(FileContents(bank))
                                               : std::vector<std::string>();
  if (index >= samples.size()) return fail(error, _errorCode(kErrorBadArgument, "Sample index out of range"));
  TypeBytes type{};
  std::memcpy(type.data(), samples[index].data(), std::min(samples[index].size(), type.size()));
  const std::uint64_t audio = bank->size() < kTocEntriesOffset ? 0 : findAudio(*bank, type);
  if (audio == 0) return fail(error, _errorCode(kErrorCannotReachData, "Sample chunk not found"));
  const auto length = static_cast<std::uint32_t>(bank->size() - audio);
  const auto header = wavHeader(length);
  if (writeHostFileAtomically(toURL, {header, {bank->data() + audio, length}}, nullptr)) return true;
  return fail(error, _errorCode(kErrorWriteRefused, "Failed to write sample file"));
}

} // namespace tessary
