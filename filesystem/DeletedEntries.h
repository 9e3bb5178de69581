#pragma once

#include "filesystem/EMU3Directory.h"

#include <cstdint>

namespace tessary {

/// Takes a deleted file out of the list whose entry at this place something new has taken: deleting it later
/// would clear the new one's entry.
inline void forgetDeletedFileAt(EMU3Directory &directory, std::int64_t block, std::int64_t offset) {
  for (const EMU3FilePtr &file : directory.files()) {
    if (file->isDeleted() && file->dentryBlock() == block && file->dentryOffset() == offset) {
      directory.removeFile(file);
    }
  }
}

} // namespace tessary
