#include "tessary/ReadOnlyReason.h"

namespace tessary {

const char *readOnlyReasonText(ReadOnlyReason reason) {
  switch (reason) {
  case ReadOnlyReason::none:
    return "";
  case ReadOnlyReason::hostFile:
    return "the image file cannot be written";
  case ReadOnlyReason::otherProgram:
    return "another program has it open";
  case ReadOnlyReason::unreadableTable:
    return "its allocation table cannot be read";
  case ReadOnlyReason::unreadableFolder:
    return "a folder of it cannot be read";
  case ReadOnlyReason::mediumFailed:
    return "the medium did not take a change";
  }
  return "";
}

} // namespace tessary
