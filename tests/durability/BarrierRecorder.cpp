#include "tests/durability/BarrierRecorder.h"

#include "tests/support/HostFiles.h"
#include "tests/support/Mappings.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include <sys/mman.h>
#include <sys/stat.h>

namespace tessary::test {

BarrierRecorder::BarrierRecorder(std::string imagePath)
    : path_(std::move(imagePath)), size_(readBytes(path_).size()), moments_{{readBytes(path_)}},
      omitted_(std::numeric_limits<std::size_t>::max()),
      watch_([this](const FlushRequest &request) { return answer(request); }) {}

void BarrierRecorder::leaveOut(std::size_t number, Omission how) {
  const std::lock_guard lock(mutex_);
  omitted_ = number;
  omission_ = how;
}

void BarrierRecorder::noteReport() {
  const std::lock_guard lock(mutex_);
  moments_.push_back({readBytes(path_)});
  moments_.back().isReport = true;
}

std::vector<Moment> BarrierRecorder::take() {
  const std::lock_guard lock(mutex_);
  moments_.push_back({readBytes(path_)});
  const Moment now = moments_.back();
  late_.clear();
  barriers_ = 0;
  return std::exchange(moments_, {now});
}

bool BarrierRecorder::isOfImage(const FlushRequest &request, ByteRange &range) const {
  if (request.call != FlushRequest::Call::msync) {
    struct stat image {};
    struct stat other {};
    range = {0, size_};
    return ::stat(path_.c_str(), &image) == 0 && ::fstat(request.descriptor, &other) == 0 &&
           image.st_dev == other.st_dev && image.st_ino == other.st_ino;
  }
  const auto address = reinterpret_cast<std::uintptr_t>(request.address);
  for (const std::uintptr_t mapping : mappingsOf(path_)) {
    if (address < mapping || address - mapping >= size_) continue;
    range = {address - mapping, std::min<std::uint64_t>(address - mapping + request.length, size_)};
    return true;
  }
  return false;
}

int BarrierRecorder::answer(const FlushRequest &request) {
  const std::lock_guard lock(mutex_);
  ByteRange range;
  if (!isOfImage(request, range)) return request.handOn();
  moments_.push_back({readBytes(path_)});
  FlushRequest unwaited = request; // whether it is a proper one, the host knows
  if (request.call == FlushRequest::Call::msync) {
    unwaited.flags = MS_ASYNC;
    if (const int result = unwaited.handOn(); result != 0) return result;
    if ((request.flags & MS_SYNC) == 0) return 0;
  }
  Moment &moment = moments_.back();
  moment.isBarrier = true;
  if (barriers_++ != omitted_) {
    moment.onMedium = std::move(late_);
    late_.clear();
    moment.onMedium.push_back(range);
    return 0;
  }
  if (omission_ == Omission::late) late_.push_back(range);
  if (omission_ != Omission::refused) return 0;
  errno = EIO;
  return -1;
}

} // namespace tessary::test
