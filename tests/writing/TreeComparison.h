#pragma once

#include "tests/writing/VolumeModel.h"

#include <set>

namespace tessary::test {

/// Which side of the model's entries a tree is compared with: what the filesystem that made the changes holds
/// of them, or what a fresh parse gives.
enum class Side { memory, image };

/// Whether the tree holds exactly the folders and files of the model, each in a folder that its entry's
/// block belongs to, with the same names, fields, sizes and bytes. The order of lists is not looked at: in
/// memory a new item is appended, in the image it takes the first free entry. Files of `overtaken` are passed
/// over: deleted ones, which the tree goes on listing when their entry has been given away.
testing::AssertionResult holdsModel(EMU3Filesystem &filesystem, const VolumeModel &model, Side side,
                                    const std::set<EMU3FilePtr> &overtaken = {});

} // namespace tessary::test
