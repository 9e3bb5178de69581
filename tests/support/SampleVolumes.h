#pragma once

#include "tests/support/ImageBuilder.h"

#include <cstdint>
#include <string>
#include <vector>

/// Ready-made volumes. Every one is the same on every run.
namespace tessary::test {

/// 64 MiB as a musician would have it: drums, basses, pads, strings, effects, earlier samplers' banks, a
/// nested folder, an empty folder, a system file and a plain file. The Emulator IV banks hold audible
/// 16-bit little-endian samples at 44100 Hz.
ImageBuilder demoVolume();

/// 1 GiB: 8 folders in the root with 4 folders in each, 40 in all, with up to 112 files each. Slots are of
/// 128 KiB; most files take one, some banks are of 2 MiB.
ImageBuilder bigVolume();

/// 256 MiB with slots of 2 MiB: one folder, "Banks", full of 112 Emulator IV banks of 2 MiB.
ImageBuilder banks112Volume();

struct NamedVolume {
  std::string name;
  ImageBuilder image;
};

// Hostile volumes: all of them open.

/// Sound contents below header fields of extreme values: each field alone, and all at once.
std::vector<NamedVolume> extremeHeaderVolumes();
/// Folders whose blocks are the root's, their own, and each other's.
ImageBuilder cyclicVolume();
/// Chains of folders that all list the same blocks: a walk that reads a block once for each folder that
/// lists it would not end.
ImageBuilder sharedBlocksVolume();
/// Folders nested in each other, `depth` deep (at most 32,000).
ImageBuilder nestedVolume(std::size_t depth);
/// A folder with 112 banks that all claim 65,535 blocks, some of them a table of contents as long. Every
/// claim lies inside the image of 40 MiB, which holds next to nothing.
ImageBuilder hugeClaimsVolume();
/// 256 KiB of random bytes behind the signature. Odd seeds keep a header that leads to the root block.
ImageBuilder randomVolume(std::uint32_t seed);

/// All of the above hostile volumes, random ones of several seeds included.
std::vector<NamedVolume> hostileVolumes();

} // namespace tessary::test
