#pragma once

#include "tessary/MountRules.h"
#include "tests/support/ImageBuilder.h"
#include "tests/writing/Random.h"

namespace tessary::test {

/// A small volume that no program has written: a sound random one with damage, or one whose header says
/// anything and whose entries lead anywhere. The whole image.
Bytes damagedVolume(Random &random);
/// A sound random one with one damage, or none.
Bytes slightlyDamagedVolume(Random &random, MountRules rules);

} // namespace tessary::test
