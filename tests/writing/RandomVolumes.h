#pragma once

#include "tessary/MountRules.h"
#include "tests/support/ImageBuilder.h"
#include "tests/writing/Random.h"

#include <string>

namespace tessary::test {

/// A small volume of random geometry with a random tree. For the bare rules one on which they keep
/// image and tree together: a table for every block and no file longer than a slot.
ImageBuilder randomVolume(Random &random, MountRules rules);
/// Fills a volume that holds nothing yet, of any layout, with a random tree.
void addRandomTree(Random &random, ImageBuilder &image, MountRules rules);

/// A name that an operation takes. Bare: one that its entry holds whole.
std::string randomName(Random &random, MountRules rules);
/// A name that renaming a file or creating a folder refuses.
std::string randomBadName(Random &random, MountRules rules);
/// Contents of a new file, at most one slot long when bare, three when guarded.
Bytes randomContents(Random &random, std::uint64_t slotBytes, MountRules rules);

} // namespace tessary::test
