#include "filesystem/Deletion.h"

namespace tessary {

// Looks for the blocks that became free once all files are gone, so that the order of the files plays no
// part.
bool Deletion::freeOld(Volume &volume, EMU3Error *error) {
  const std::uint64_t faults = volume.image.writeFaults();
  for (const BlockRun &run : volume.rules().freedBlocks(volume, erased_))
    volume.rules().clearMarks(volume, run);
  if (isComplete_ && volume.image.writeFaults() == faults) return true;
  return fail(error, EngineError::blockWriteFailed);
}

} // namespace tessary
