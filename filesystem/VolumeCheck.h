#pragma once

#include "filesystem/Volume.h"
#include "tessary/VolumeFindings.h"

#include <vector>

namespace tessary {

/// Looks the whole volume over and changes nothing.
[[nodiscard]] std::vector<VolumeFinding> checkVolume(const Volume &volume)
    TESSARY_REQUIRES_SHARED(volume.lock);

} // namespace tessary
