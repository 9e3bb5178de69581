#include "tests/support/FlushRecorder.h"

#include "tests/support/Mappings.h"
#include "tests/support/MediumFaults.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace {

std::atomic<tessary::test::FlushRecorder *> current = nullptr;

} // namespace

// The linker puts the first in the place of msync and gives msync the second name.
extern "C" {
int __real_msync(void *address, std::size_t length, int flags);
int __wrap_msync(void *address, std::size_t length, int flags);

int __wrap_msync(void *address, std::size_t length, int flags) {
  tessary::test::MediumFaults *const faults = tessary::test::MediumFaults::current();
  const int error = faults ? faults->beginFlush() : 0;
  const int result = error == 0 ? __real_msync(address, length, flags) : -1;
  if (error != 0) errno = error;
  if (tessary::test::FlushRecorder *const recorder = current) {
    const auto *const bytes = static_cast<const std::uint8_t *>(address);
    recorder->add(
        {reinterpret_cast<std::uintptr_t>(address), length, flags, result, {bytes, bytes + length}});
  }
  return result;
}
}

namespace tessary::test {

FlushRecorder::FlushRecorder() {
  FlushRecorder *none = nullptr;
  if (!current.compare_exchange_strong(none, this)) throw std::logic_error("another one is recording");
}

FlushRecorder::~FlushRecorder() {
  current = nullptr;
}

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

void FlushRecorder::add(Flush flush) {
  const std::lock_guard lock(mutex_);
  flushes_.push_back(std::move(flush));
}

} // namespace tessary::test
