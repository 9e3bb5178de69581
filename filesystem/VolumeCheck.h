#pragma once

#include "filesystem/Volume.h"
#include "tessary/CheckWatcher.h"
#include "tessary/VolumeFindings.h"

#include <optional>
#include <vector>

namespace tessary {

/// Looks the whole volume over and changes nothing. None where the watcher stopped it.
[[nodiscard]] std::optional<std::vector<VolumeFinding>> checkVolume(const Volume &volume,
                                                                    const CheckWatcher &watcher)
    TESSARY_REQUIRES_SHARED(volume.lock);

} // namespace tessary
