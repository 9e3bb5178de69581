#include "app/panel/SampleReader.h"

#include "tessary/WavFile.h"

#include <algorithm>
#include <utility>

namespace tessary {
namespace {

// Between two pieces others get at the volume, and a reading that nobody waits for any more ends.
constexpr std::uint64_t kPieceSize = std::uint64_t{1} << 20;

std::shared_ptr<const SamplePeaks> peaksOf(EMU3Filesystem &filesystem, const EMU3FilePtr &bank,
                                           const BankRange &audio, const LatestReading::Ticket &ticket) {
  auto peaks = std::make_shared<SamplePeaks>();
  for (std::uint64_t done = 0; done < audio.size && ticket.isValid();) {
    const ByteBufferPtr piece =
        filesystem.pieceOfFile(bank, audio.offset + done, std::min(kPieceSize, audio.size - done));
    if (!piece || piece->empty()) break;
    peaks->add(*piece);
    done += piece->size();
  }
  return peaks;
}

} // namespace

void SampleReader::readBank(const EMU3FilePtr &file, BankRead done) {
  banks_.start(
      [file](EMU3Filesystem &filesystem, const LatestReading::Ticket &) {
        auto reading = std::make_shared<BankReading>();
        if (!file->bankDetails().bankName) filesystem.populateBankMetadata(file);
        reading->details = file->bankDetails();
        reading->entries = filesystem.contentsOfBankFile(file, &reading->error);
        return std::shared_ptr<const BankReading>(std::move(reading));
      },
      std::move(done));
}

void SampleReader::readWave(const EMU3FilePtr &bank, const BankRange &audio, WaveRead done) {
  waves_.start(
      [bank, audio](EMU3Filesystem &filesystem, const LatestReading::Ticket &ticket) {
        return peaksOf(filesystem, bank, audio, ticket);
      },
      std::move(done));
}

void SampleReader::readBytes(const EMU3FilePtr &bank, const BankRange &bytes, BytesRead done) {
  closeUps_.start(
      [bank, bytes](EMU3Filesystem &filesystem, const LatestReading::Ticket &) {
        return filesystem.pieceOfFile(bank, bytes.offset, bytes.size);
      },
      std::move(done));
}

void SampleReader::readSound(const EMU3FilePtr &bank, std::uint64_t sample, std::uint32_t rate,
                             SoundRead done) {
  struct Reading {
    Sound sound;
    EMU3Error error;
  };
  sounds_.start(
      [bank, sample, rate](EMU3Filesystem &filesystem, const LatestReading::Ticket &) {
        Reading reading;
        const ByteBufferPtr wav = filesystem.wavOfSample(sample, bank, rate, &reading.error);
        if (wav) reading.sound = {wav, kWavHeaderSize, (wav->size() - kWavHeaderSize) / 2, 0, rate};
        return reading;
      },
      [done = std::move(done)](const Reading &reading) { done(reading.sound, reading.error); });
}

void SampleReader::forgetAll() {
  banks_.forget();
  waves_.forget();
  closeUps_.forget();
  sounds_.forget();
}

} // namespace tessary
