#pragma once

#include "tests/support/ImageBuilder.h"
#include "tests/writing/Random.h"

namespace tessary::compare {

/// A small image of any kind: sound, worn, tiny, with a header of zeros, with folders that list each other's
/// blocks, with random bytes in place of what should be there, or with a bit of everything.
test::ImageBuilder randomImage(test::Random &random);

/// A bank of one of the formats, some with samples, some damaged.
test::Bytes randomBank(test::Random &random);

} // namespace tessary::compare
