#include "tests/support/SmallStack.h"

#include <system_error>

#include <pthread.h>

namespace tessary::test {

namespace {

void *run(void *body) {
  (*static_cast<const std::function<void()> *>(body))();
  return nullptr;
}

void require(int result) {
  if (result != 0) throw std::system_error(result, std::generic_category(), "thread with a small stack");
}

} // namespace

void runOnSmallStack(std::size_t bytes, const std::function<void()> &body) {
  pthread_attr_t attributes;
  require(::pthread_attr_init(&attributes));
  require(::pthread_attr_setstacksize(&attributes, bytes));
  pthread_t thread;
  require(::pthread_create(&thread, &attributes, run, const_cast<std::function<void()> *>(&body)));
  ::pthread_attr_destroy(&attributes);
  require(::pthread_join(thread, nullptr));
}

} // namespace tessary::test
