#pragma once

#include "tessary/EMU3Filesystem.h"
#include "tessary/ItemsOperation.h"
#include "tests/support/HostFiles.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/writing/guarded/GuardedVolume.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tessary::test {

/// Everything below a folder: files with their contents by their paths, folders by paths that end in "/".
using Contents = std::map<std::string, Bytes>;

/// What a volume holds, with what the engine says of it.
Contents contentsBelow(EMU3Filesystem &volume);
/// What a volume's image holds below a folder of this path, "" for the root, read anew.
Contents contentsBelow(const MountedVolume &volume, const std::string &folder = "");
/// The same of a folder of the host.
Contents contentsOfHostFolder(const std::string &folder);

/// How the items of an operation ended, in the order in which they did: "NAME", or "NAME: ERROR". NAME is the
/// last part of a host path.
using Ends = std::vector<std::string>;
Ends endsOf(ItemsOperation &operation, ItemsWatcher watcher = {});

/// The same, of which none is to fail.
void runWell(ItemsOperation &operation);

/// A volume of folders and files:
///
///     /KICK, a system file with 16 bytes of name, /Drums  A, B, /Drums/Deep  C, /Drums/None, /Other
ImageBuilder volumeOfTrees();

/// The entry of the folder of that path, as it stands on the image.
RawEntry entryOf(const MountedVolume &volume, const EMU3Directory &folder);
RawEntry entryOf(const MountedVolume &volume, const EMU3File &file);

/// What `check` calls harm.
std::vector<std::string> harmIn(EMU3Filesystem &volume);

} // namespace tessary::test
