#pragma once

#include "tessary/EMU3Error.h"

#include <cstdint>
#include <functional>
#include <string>

namespace tessary {

class ImageMapping;

/// Who watches a backup; called on the thread that makes it. Empty functions are not called.
struct BackupWatcher {
  std::function<void(std::uint64_t bytesDone, std::uint64_t bytes)> progressed;
  std::function<bool()> isToStop;
};

/// Copies the image file to `target`, where no file may be yet: holes are kept, or blocks shared where the
/// host can; then compares the two byte for byte and brings the copy to the medium before it gets its name.
/// Nobody may change the image meanwhile. False with the host's error, or with ECANCELED when it was stopped;
/// then nothing is left behind.
[[nodiscard]] bool backUpImage(const ImageMapping &image, const std::string &target,
                               const BackupWatcher &watcher, EMU3Error *error);

} // namespace tessary
