#include "tests/support/OtherProgram.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tessary::test {
namespace {

/// What one of the two writes the other reads; it ends when the writer does.
struct Pipe {
  Pipe() {
    if (::pipe(ends) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    for (const int end : ends)
      ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  int ends[2];
};

// After a fork of a program with threads only calls that are safe in a signal handler may follow.
[[noreturn]] void holdImage(const char *path, const Pipe &ready, const Pipe &end) {
  const int image = ::open(path, O_RDWR);
  char answer = image >= 0 && ::flock(image, LOCK_EX | LOCK_NB) == 0 ? 'y' : 'n';
  ::close(end.ends[1]);
  static_cast<void>(::write(ready.ends[1], &answer, 1) == 1 && ::read(end.ends[0], &answer, 1) == 1);
  ::_exit(0);
}

} // namespace

OtherProgram::OtherProgram(const std::string &imagePath) {
  const Pipe ready;
  const Pipe end;
  child_ = ::fork();
  if (child_ == 0) holdImage(imagePath.c_str(), ready, end);
  ::close(ready.ends[1]);
  ::close(end.ends[0]);
  end_ = end.ends[1];
  char answer = 'n';
  const bool isThere = child_ > 0 && ::read(ready.ends[0], &answer, 1) == 1;
  ::close(ready.ends[0]);
  if (isThere && answer == 'y') return;
  letGo();
  throw std::system_error(EBUSY, std::generic_category(), imagePath);
}

void OtherProgram::letGo() {
  if (end_ >= 0) ::close(std::exchange(end_, -1));
  if (child_ > 0) ::waitpid(std::exchange(child_, -1), nullptr, 0);
}

} // namespace tessary::test
