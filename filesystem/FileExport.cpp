#include "filesystem/FileExport.h"

#include "filesystem/UndisturbedReading.h"
#include "filesystem/VolumeRules.h"

namespace tessary {

ByteBufferPtr readForExport(Volume &volume, const EMU3FilePtr &file, EMU3Error *error) {
  const auto read = [&] {
    volume.lock.assertHeldShared();
    return volume.rules().contentsForExport(volume, *file, error);
  };
  const auto readsAgain = [&](const ByteBufferPtr &first) {
    volume.lock.assertHeldShared();
    return first ? areWholeBytesOfFile(volume, *file, *first) : read() == nullptr;
  };
  return readUndisturbed(volume, file, error, read, readsAgain).value_or(nullptr);
}

// Read once, so that the list and the audio are of one file.
std::optional<SampleBank> readSampleBank(Volume &volume, const EMU3FilePtr &file, EMU3Error *error) {
  SampleBank bank;
  bank.bytes = readForExport(volume, file, error);
  if (!bank.bytes) return std::nullopt;
  if (file->fileType() != kFileTypeBank) return bank;
  const FileContents contents(bank.bytes);
  bank.samples = listedSamples(contents);
  bank.audio = volume.rules().audioOfSamples(contents, bank.samples);
  for (BankSample &sample : bank.samples)
    sample.name = volume.rules().nameOfSample(sample);
  return bank;
}

std::optional<WavOfSample> WavOfSample::of(const SampleBank &bank, std::uint64_t index, std::uint32_t rate,
                                           EMU3Error *error) {
  const auto refused = [&](EngineError reason) {
    fail(error, reason);
    return std::nullopt;
  };
  if (index >= bank.samples.size()) return refused(EngineError::sampleIndexOutOfRange);
  const std::optional<BankRange> &audio = bank.audio[index];
  if (!audio) return refused(EngineError::sampleChunkNotFound);
  const auto length = static_cast<std::uint32_t>(audio->size);
  WavOfSample wav;
  wav.header_ = wavHeader(length, rate);
  wav.audio_ = {bank.bytes->data() + audio->offset, length};
  return wav;
}

} // namespace tessary
