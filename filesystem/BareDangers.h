#pragma once

#include "filesystem/FindingList.h"
#include "filesystem/VolumeSurvey.h"

namespace tessary {

/// Names what the operations of a bare mount would destroy, as the bare rules choose places, slots and blocks
/// without looking at what is there.
void addBareDangers(const Volume &volume, const VolumeSurvey &survey, FindingList *findings)
    TESSARY_REQUIRES_SHARED(volume.lock);

} // namespace tessary
