#include "tests/support/FlushWatch.h"

#include <atomic>
#include <stdexcept>
#include <utility>

namespace {

std::atomic<tessary::test::FlushWatch *> current = nullptr;

int answered(const tessary::test::FlushRequest &request) {
  const tessary::test::FlushWatch *const watch = current;
  return watch ? watch->answer(request) : request.handOn();
}

} // namespace

// The linker (--wrap) has calls of the host's functions go to the wrappers; these reach the host's own as
// __real_….
extern "C" {
int __real_msync(void *address, std::size_t length, int flags);
int __real_fdatasync(int descriptor);
int __real_fsync(int descriptor);
int __wrap_msync(void *address, std::size_t length, int flags);
int __wrap_fdatasync(int descriptor);
int __wrap_fsync(int descriptor);

int __wrap_msync(void *address, std::size_t length, int flags) {
  return answered({tessary::test::FlushRequest::Call::msync, address, length, flags, -1});
}
int __wrap_fdatasync(int descriptor) {
  return answered({tessary::test::FlushRequest::Call::fdatasync, nullptr, 0, 0, descriptor});
}
int __wrap_fsync(int descriptor) {
  return answered({tessary::test::FlushRequest::Call::fsync, nullptr, 0, 0, descriptor});
}
}

namespace tessary::test {

int FlushRequest::handOn() const {
  switch (call) {
  case Call::msync:
    return __real_msync(address, length, flags);
  case Call::fdatasync:
    return __real_fdatasync(descriptor);
  case Call::fsync:
    return __real_fsync(descriptor);
  }
  return -1;
}

FlushWatch::FlushWatch(Answer answer) : answer_(std::move(answer)) {
  FlushWatch *none = nullptr;
  if (!current.compare_exchange_strong(none, this)) throw std::logic_error("another one is watching");
}

FlushWatch::~FlushWatch() {
  current = nullptr;
}

} // namespace tessary::test
