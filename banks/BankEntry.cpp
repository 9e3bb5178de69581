#include "tessary/BankEntry.h"

#include "banks/BankFormat.h"
#include "tessary/Text.h"

#include <algorithm>

namespace tessary {

using namespace bank;

const char *bankFormatName(std::int64_t bankFormat) {
  switch (bankFormat) {
  case kEmulatorThree:
    return "Emulator III";
  case kEmulator3X:
    return "Emulator 3X";
  case kEsi32:
    return "ESI-32 v3";
  case kEmulatorFour:
    return "Emulator IV";
  default:
    return nullptr;
  }
}

std::string bankTypeText(const BankTypeBytes &type) {
  return withInvalidBytesAsCodes(std::string(type.begin(), std::find(type.begin(), type.end(), 0)));
}

BankRange audioIn(const BankChunk &chunk) {
  constexpr std::uint64_t bytesPerFrame = 2;
  return {chunk.data.offset, chunk.data.size - chunk.data.size % bytesPerFrame};
}

} // namespace tessary
