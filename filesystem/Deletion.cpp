#include "filesystem/Deletion.h"

namespace tessary {

// Which blocks are free then is looked at when all files are gone, so that it does not depend on their order.
bool Deletion::freeOld(Volume &volume, EMU3Error *error) {
  const std::uint64_t faults = volume.image.writeFaults();
  for (const BlockRun &run : volume.rules().freedBlocks(volume, erased_))
    volume.rules().clearMarks(volume, run);
  if (isComplete_ && volume.image.writeFaults() == faults) return true;
  return fail(error, EngineError::blockWriteFailed);
}

} // namespace tessary
