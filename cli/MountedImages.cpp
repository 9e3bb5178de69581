#include "cli/MountedImages.h"

#include "cli/CliError.h"

namespace tessary::cli {

EMU3FilesystemPtr mountImage(const std::string &path, MountRules rules, ImageClaim claim) {
  EMU3Error error;
  EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(path, rules, claim, &error);
  if (volume == nullptr) throw CommandFailure{error, path};
  return volume;
}

} // namespace tessary::cli
