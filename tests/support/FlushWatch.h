#pragma once

#include <cstddef>
#include <functional>

namespace tessary::test {

/// What the program asks of the host so that bytes of a file reach the medium.
struct FlushRequest {
  enum class Call { msync, fdatasync, fsync };
  Call call = Call::msync;
  void *address = nullptr; ///< of msync
  std::size_t length = 0;  ///< of msync
  int flags = 0;           ///< of msync
  int descriptor = -1;     ///< of the others

  /// Asks the host; its answer.
  [[nodiscard]] int handOn() const;
};

/// Answers every such request of the process as long as it lives; one at a time. For programs that are linked
/// with `tessary_flush_recorder`. While there is none, the requests go on to the host.
class FlushWatch {
public:
  /// Called on the thread that asks, with what the program then gets.
  using Answer = std::function<int(const FlushRequest &)>;

  explicit FlushWatch(Answer answer);
  ~FlushWatch();
  FlushWatch(const FlushWatch &) = delete;
  FlushWatch &operator=(const FlushWatch &) = delete;

  [[nodiscard]] int answer(const FlushRequest &request) const { return answer_(request); }

private:
  const Answer answer_;
};

} // namespace tessary::test
