#include "filesystem/EMU3Error.h"

#include <system_error>
#include <utility>

namespace tessary {

std::string EMU3Error::description() const {
  return "Error Domain=" + domain + " Code=" + std::to_string(code) + " \"" + message + "\"";
}

EMU3Error hostError(int errnum, const std::string &item) {
  return {kHostErrorDomain, errnum, item + ": " + std::generic_category().message(errnum)};
}

bool fail(EMU3Error *error, EMU3Error value) {
  if (error) *error = std::move(value);
  return false;
}

} // namespace tessary
