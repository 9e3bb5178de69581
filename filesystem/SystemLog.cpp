#include "tessary/SystemLog.h"

#include "tessary/Text.h"

#include <cstdio>
#include <mutex>
#include <syslog.h>
#include <utility>

namespace tessary {
namespace {

struct LogState {
  std::mutex mutex;
  bool echo = true;
  std::function<void(const std::string &)> sink;
};

LogState &logState() {
  static auto *state = new LogState; // never destroyed: queue threads may log until the process ends
  return *state;
}

} // namespace

void systemLog(const std::string &line) {
  LogState &state = logState();
  const std::lock_guard lock(state.mutex);
  if (state.sink) return state.sink(line);
  const std::string shown = escapedForDisplay(line);
  syslog(LOG_USER | LOG_NOTICE, "%s", shown.c_str());
  if (state.echo) std::fprintf(stderr, "%s\n", shown.c_str());
}

void setSystemLogEcho(bool echo) {
  LogState &state = logState();
  const std::lock_guard lock(state.mutex);
  state.echo = echo;
}

void setSystemLogSink(std::function<void(const std::string &)> sink) {
  LogState &state = logState();
  const std::lock_guard lock(state.mutex);
  state.sink = std::move(sink);
}

} // namespace tessary
