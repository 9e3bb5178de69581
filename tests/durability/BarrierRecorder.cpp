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

BarrierRecorder::BarrierRecorder(const std::vector<std::string> &imagePaths)
    : omitted_(std::numeric_limits<std::size_t>::max()),
      watch_([this](const FlushRequest &request) { return answer(request); }) {
  const std::lock_guard lock(mutex_);
  std::uint64_t begin = 0;
  for (const std::string &path : imagePaths) {
    images_.push_back({path, begin, readBytes(path).size()});
    begin += images_.back().size;
  }
  moments_.push_back({bytesOfAll()});
}

Bytes BarrierRecorder::bytesOfAll() const {
  Bytes all;
  for (const Image &image : images_) {
    const Bytes bytes = readBytes(image.path);
    all.insert(all.end(), bytes.begin(), bytes.end());
  }
  return all;
}

void BarrierRecorder::leaveOut(std::size_t number, Omission how) {
  const std::lock_guard lock(mutex_);
  omitted_ = number;
  omission_ = how;
}

void BarrierRecorder::noteReport() {
  const std::lock_guard lock(mutex_);
  moments_.push_back({bytesOfAll()});
  moments_.back().isReport = true;
}

std::vector<Moment> BarrierRecorder::take() {
  const std::lock_guard lock(mutex_);
  moments_.push_back({bytesOfAll()});
  const Moment now = moments_.back();
  late_.clear();
  barriers_ = 0;
  return std::exchange(moments_, {now});
}

bool BarrierRecorder::isOfImages(const FlushRequest &request, ByteRange &range) const {
  for (const Image &image : images_) {
    if (!isOf(image, request, range)) continue;
    range.first += image.begin;
    range.second += image.begin;
    return true;
  }
  return false;
}

bool BarrierRecorder::isOf(const Image &image, const FlushRequest &request, ByteRange &range) {
  if (request.call != FlushRequest::Call::msync) {
    struct stat status {};
    struct stat other {};
    range = {0, image.size};
    return ::stat(image.path.c_str(), &status) == 0 && ::fstat(request.descriptor, &other) == 0 &&
           status.st_dev == other.st_dev && status.st_ino == other.st_ino;
  }
  const auto address = reinterpret_cast<std::uintptr_t>(request.address);
  for (const std::uintptr_t mapping : mappingsOf(image.path)) {
    if (address < mapping || address - mapping >= image.size) continue;
    range = {address - mapping, std::min<std::uint64_t>(address - mapping + request.length, image.size)};
    return true;
  }
  return false;
}

int BarrierRecorder::answer(const FlushRequest &request) {
  const std::lock_guard lock(mutex_);
  ByteRange range;
  if (!isOfImages(request, range)) return request.handOn();
  moments_.push_back({bytesOfAll()});
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
