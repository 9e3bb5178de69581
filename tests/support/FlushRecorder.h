#pragma once

#include "tests/support/FlushWatch.h"
#include "tests/support/ImageBuilder.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace tessary::test {

/// A request to the host to write back a part of a mapped file.
struct Flush {
  std::uintptr_t address = 0;
  std::size_t length = 0;
  int flags = 0;
  int result = 0; ///< what the host answered
  Bytes bytes{};  ///< that stood there at the time
};

/// Records every flush of a mapped file, in order, as long as it lives; one at a time. The requests go on to
/// the host. For programs that are linked with `tessary_flush_recorder`.
class FlushRecorder {
public:
  FlushRecorder();
  FlushRecorder(const FlushRecorder &) = delete;
  FlushRecorder &operator=(const FlushRecorder &) = delete;

  std::vector<Flush> flushes() const;
  /// The file as the flushes leave it: `before`, over which lies what was flushed of its one mapping.
  Bytes flushed(const std::string &path, Bytes before) const;

private:
  int record(const FlushRequest &request);

  mutable std::mutex mutex_;
  std::vector<Flush> flushes_;
  const FlushWatch watch_;
};

} // namespace tessary::test
