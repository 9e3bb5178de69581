#pragma once

#include "tessary/BackupWatcher.h"
#include "tessary/EMU3Error.h"

#include <string>

namespace tessary {

class ImageMapping;

/// Copies the image file to `target`, where no file may be yet: holes are kept, or blocks shared where the
/// host can; then compares the two byte for byte and brings the copy to the medium before it gets its name.
/// Nobody may change the image meanwhile. False with the host's error, or with ECANCELED when it was stopped;
/// then nothing is left behind.
[[nodiscard]] bool backUpImage(const ImageMapping &image, const std::string &target,
                               const BackupWatcher &watcher, EMU3Error *error);

} // namespace tessary
