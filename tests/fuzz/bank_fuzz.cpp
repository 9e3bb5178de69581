// Bank details of any contents; every diagnostic line is made too.

#include "filesystem/TreeEditor.h"
#include "tessary/SystemLog.h"
#include "tests/fuzz/MemoryImage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace tessary;
  setSystemLogSink([](const std::string &) {});
  const fuzz::BankVolume bank({data, size});
  const bool known = bank.volume->populateBankMetadata(bank.bank);
  fuzz::require(known == (size >= 12), "details need twelve bytes and no more");
  const BankDetails details = bank.bank->bankDetails();
  fuzz::require(details.bankFormat >= 0 && details.bankFormat <= 4, "the format is a known code");
  fuzz::require(bank.bank->cachedData() == nullptr, "what was read is given back");
  TreeEditor::setName(*bank.bank, "Acid");
  bank.volume->refreshBankMetadata(bank.bank);
  BankDetails logged = bank.bank->bankDetails();
  if (logged.bankName == "Acid") logged.bankName = details.bankName;
  fuzz::require(logged == details, "logging changes nothing");
  return 0;
}
