#include "tests/support/FlushRecorder.h"

#include "tests/support/Mappings.h"

#include <algorithm>
#include <stdexcept>

namespace tessary::test {

FlushRecorder::FlushRecorder() : watch_([this](const FlushRequest &request) { return record(request); }) {}

std::vector<Flush> FlushRecorder::flushes() const {
  const std::lock_guard lock(mutex_);
  return flushes_;
}

Bytes FlushRecorder::flushed(const std::string &path, Bytes before) const {
  const std::vector<std::uintptr_t> mappings = mappingsOf(path);
  if (mappings.size() != 1) throw std::logic_error("not one mapping of " + path);
  for (const Flush &flush : flushes()) {
    if (flush.result != 0 || flush.address < mappings.front()) continue;
    const std::uint64_t offset = flush.address - mappings.front();
    if (offset >= before.size()) continue;
    const std::size_t length = std::min<std::size_t>(flush.length, before.size() - offset);
    std::copy_n(flush.bytes.begin(), length, before.begin() + static_cast<std::ptrdiff_t>(offset));
  }
  return before;
}

int FlushRecorder::record(const FlushRequest &request) {
  const int result = request.handOn();
  if (request.call != FlushRequest::Call::msync) return result;
  const auto *const bytes = static_cast<const std::uint8_t *>(request.address);
  const std::lock_guard lock(mutex_);
  flushes_.push_back({reinterpret_cast<std::uintptr_t>(bytes),
                      request.length,
                      request.flags,
                      result,
                      {bytes, bytes + request.length}});
  return result;
}

} // namespace tessary::test
