#pragma once

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

/// Records every flush of the process, in order, as long as it lives; one at a time. Sees what the programs
/// that are linked with `tessary_flush_recorder` do; the requests go on to the host.
class FlushRecorder {
public:
  FlushRecorder();
  ~FlushRecorder();
  FlushRecorder(const FlushRecorder &) = delete;
  FlushRecorder &operator=(const FlushRecorder &) = delete;

  std::vector<Flush> flushes() const;
  /// The file as the flushes leave it: `before`, over which lies what was flushed of its one mapping.
  Bytes flushed(const std::string &path, Bytes before) const;

  /// For the stand-in of the host's function.
  void add(Flush flush);

private:
  mutable std::mutex mutex_;
  std::vector<Flush> flushes_;
};

} // namespace tessary::test
