#pragma once

#include "tessary/SystemLog.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tessary::test {

/// Catches the diagnostic lines of the process as long as it lives.
class CapturedLog {
public:
  CapturedLog() {
    setSystemLogSink([caught = caught_](const std::string &line) {
      const std::lock_guard lock(caught->mutex);
      caught->lines.push_back(line);
    });
  }
  ~CapturedLog() { setSystemLogSink({}); }
  CapturedLog(const CapturedLog &) = delete;
  CapturedLog &operator=(const CapturedLog &) = delete;

  std::vector<std::string> lines() const {
    const std::lock_guard lock(caught_->mutex);
    return caught_->lines;
  }

private:
  struct Caught {
    std::mutex mutex;
    std::vector<std::string> lines;
  };
  std::shared_ptr<Caught> caught_ = std::make_shared<Caught>();
};

} // namespace tessary::test
