#include "filesystem/CheckProgress.h"

#include "filesystem/DiskFormat.h"

#include <algorithm>

namespace tessary {

bool CheckProgress::went(std::uint64_t blocks) {
  constexpr std::uint64_t betweenTellings = 64; // blocks
  done_ = std::min(done_ + blocks, blocks_);
  if (!isStopped_ && done_ - told_ >= betweenTellings) {
    told_ = done_;
    tell(done_);
  }
  isStopped_ = isStopped_ || (watcher_.isToStop && watcher_.isToStop());
  return !isStopped_;
}

void CheckProgress::tell(std::uint64_t done) const {
  if (watcher_.progressed) watcher_.progressed(done * format::kBlockSize, blocks_ * format::kBlockSize);
}

} // namespace tessary
