#pragma once

#include "tessary/VolumeFindings.h"
#include "tests/support/ImageReading.h"
#include "tests/writing/Operation.h"

#include <string>
#include <vector>

namespace tessary::test {

/// A file or folder that is not shown any more, or whose entry or bytes are others.
struct Loss {
  Place place; ///< {0, 0} for the whole volume
  std::string words;
};

/// What an operation destroyed without being asked to, judged by the bytes of the image alone. What a rename
/// was asked for is the name; a folder that gets a new entry may grow.
std::vector<Loss> lossesOf(const ImageReading &before, const ImageReading &after, const Operation &operation);

/// Whether one of a check's findings warns of this loss by this operation: harm that is said of what was
/// lost, of a folder that it is in, of what the operation works on, or of no entry at all.
bool isWarnedOf(const Loss &loss, const Operation &operation, const ImageReading &before,
                const std::vector<VolumeFinding> &findings);

/// What is wrong with a volume as it stands, whatever is done to it: bytes that are missing or claimed twice,
/// and folders that nothing leads to. Empty for a sound one.
std::vector<std::string> damageOf(const ImageReading &volume);

/// What a sampler that goes by the table's marks alone could store something over.
std::vector<std::string> unprotectedIn(const ImageReading &volume);

} // namespace tessary::test
