#include "filesystem/Deletion.h"

namespace tessary {

bool Deletion::freeOld(Volume &volume, EMU3Error *error) {
  const std::uint64_t faults = volume.image.writeFaults();
  for (const BlockRun &run : freed_)
    volume.rules().clearMarks(volume, run);
  if (isComplete_ && volume.image.writeFaults() == faults) return true;
  return fail(error, EngineError::blockWriteFailed);
}

} // namespace tessary
