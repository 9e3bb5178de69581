// Sample listing and WAV writing of any contents.

#include "tests/fuzz/MemoryImage.h"
#include "tests/support/HostFiles.h"
#include "tests/support/TemporaryFolder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace tessary;
  static const test::TemporaryFolder folder;
  const std::string target = folder.path("sample.wav");
  const fuzz::BankVolume bank({data, size});
  const std::vector<std::string> samples = bank.volume->samplesFromBankFile(bank.bank);
  for (std::size_t i = 0; i <= std::min<std::size_t>(samples.size(), 3); ++i) {
    EMU3Error error;
    const bool written = bank.volume->exportSampleAtIndex(i, bank.bank, target, &error);
    fuzz::require(written != error.isSet(), "an export fails with an error, and only then");
    if (!written) continue;
    const test::Bytes wav = test::readBytes(target);
    fuzz::require(wav.size() >= 44 && wav.size() <= size + 44,
                  "a WAV holds its header and audio of the bank");
  }
  return 0;
}
