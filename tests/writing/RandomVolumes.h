#pragma once

#include "tests/support/ImageBuilder.h"
#include "tests/writing/Guards.h"
#include "tests/writing/Random.h"

#include <string>

namespace tessary::test {

enum class Entries {
  any,
  plain, ///< no deleted file that is still listed, no entry ids that wrap
};

/// A small volume of random geometry with a random tree. For `Guards::off` one on which the bare rules keep
/// image and tree together: a table for every block and no file longer than a slot.
ImageBuilder randomVolume(Random &random, Guards guards, Entries entries = Entries::any);
/// Fills a volume that holds nothing yet, of any layout, with a random tree.
void addRandomTree(Random &random, ImageBuilder &image, Guards guards, Entries entries = Entries::any);

/// A name that an operation takes. Bare: one that its entry holds whole.
std::string randomName(Random &random, Guards guards);
/// A name that renaming a file or creating a folder refuses.
std::string randomBadName(Random &random, Guards guards);
/// Contents of a new file, at most one slot long when bare, three when guarded.
Bytes randomContents(Random &random, std::uint64_t slotBytes, Guards guards);

} // namespace tessary::test
