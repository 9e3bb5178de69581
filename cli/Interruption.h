#pragma once

#include <array>
#include <streambuf>

namespace tessary::cli {

/// Turns SIGINT, SIGTERM and SIGHUP into a request that is polled between items, for the whole process. One
/// that the process was started to ignore stays ignored.
class Interruption final {
public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption &) = delete;
  Interruption &operator=(const Interruption &) = delete;

  bool requested() const;
  /// The signal that came first; 0 as long as none has.
  int signal() const;
  /// A descriptor that becomes readable with the first request; -1 where the host could give none.
  int descriptor() const { return pipe_[0]; }

private:
  std::array<int, 2> pipe_{-1, -1};
};

/// Reads a descriptor and ends at an interruption, also while it waits for input.
class InterruptibleInput final : public std::streambuf {
public:
  InterruptibleInput(int descriptor, const Interruption &interruption)
      : descriptor_(descriptor), interruption_(interruption) {}

protected:
  int_type underflow() override;

private:
  bool waitForInput() const;

  int descriptor_;
  const Interruption &interruption_;
  std::array<char, 4096> buffer_{};
};

} // namespace tessary::cli
