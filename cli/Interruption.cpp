#include "cli/Interruption.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace tessary::cli {
namespace {

volatile std::sig_atomic_t firstSignal = 0;
volatile std::sig_atomic_t wakeDescriptor = -1;

extern "C" void handleInterrupt(int signal) {
  const int problem = errno;
  if (firstSignal == 0) firstSignal = signal;
  if (wakeDescriptor >= 0) {
    const ssize_t written = ::write(wakeDescriptor, "", 1); // a full pipe is readable already
    static_cast<void>(written);
  }
  errno = problem;
}

bool isIgnored(int signal) {
  struct sigaction action {};
  return ::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN;
}

void handle(int signal) {
  struct sigaction action {};
  action.sa_handler = handleInterrupt;
  action.sa_flags = SA_RESTART; // work on the item in progress is not to notice
  ::sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}

} // namespace

Interruption::Interruption() {
  if (::pipe(pipe_.data()) == 0) {
    for (const int end : pipe_) {
      ::fcntl(end, F_SETFD, FD_CLOEXEC);
      ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    wakeDescriptor = pipe_[1];
  }
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (!isIgnored(signal)) handle(signal);
  }
}

Interruption::~Interruption() {
  wakeDescriptor = -1;
  for (const int end : pipe_) {
    if (end >= 0) ::close(end);
  }
}

bool Interruption::requested() const {
  return firstSignal != 0;
}

int Interruption::signal() const {
  return firstSignal;
}

InterruptibleInput::int_type InterruptibleInput::underflow() {
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  ssize_t length = -1;
  do {
    if (!waitForInput()) return traits_type::eof();
    length = ::read(descriptor_, buffer_.data(), buffer_.size());
  } while (length < 0 && (errno == EINTR || errno == EAGAIN));
  if (length < 0) throw std::system_error(errno, std::generic_category()); // makes the stream bad
  if (length == 0) return traits_type::eof();
  setg(buffer_.data(), buffer_.data(), buffer_.data() + length);
  return traits_type::to_int_type(*gptr());
}

// False when the user has interrupted first.
bool InterruptibleInput::waitForInput() const {
  std::array<pollfd, 2> descriptors{{{descriptor_, POLLIN, 0}, {interruption_.descriptor(), POLLIN, 0}}};
  while (!interruption_.requested()) {
    const int ready = ::poll(descriptors.data(), descriptors.size(), -1);
    if (ready < 0 && errno != EINTR) return true; // not a descriptor to wait for: reading says what it is
    if (ready > 0 && descriptors[1].revents == 0) return true;
  }
  return false;
}

} // namespace tessary::cli
