#include "tests/cli/Subprocess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>

#ifdef __APPLE__
#include <util.h>
#else
#include <pty.h>
#endif

namespace tessary::test {
namespace {

struct Ends {
  int ours = -1;
  int theirs = -1;
};

[[noreturn]] void fail(const char *what) {
  throw std::system_error(errno, std::generic_category(), what);
}

Ends makePipe(bool weWrite) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) fail("pipe");
  for (const int end : ends)
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
  return weWrite ? Ends{ends[1], ends[0]} : Ends{ends[0], ends[1]};
}

// A terminal that passes its bytes on as they are.
Ends makeTerminal() {
  Ends ends;
  if (::openpty(&ends.ours, &ends.theirs, nullptr, nullptr, nullptr) != 0) fail("openpty");
  termios mode{};
  ::tcgetattr(ends.theirs, &mode);
  ::cfmakeraw(&mode);
  ::tcsetattr(ends.theirs, TCSANOW, &mode);
  ::fcntl(ends.ours, F_SETFD, FD_CLOEXEC);
  ::fcntl(ends.theirs, F_SETFD, FD_CLOEXEC);
  return ends;
}

void closeIfOpen(int &descriptor) {
  if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
}

// Appends what there is to read; false at the end. A terminal whose other side is closed gives EIO.
bool readSome(int descriptor, std::string *to) {
  std::array<char, 65536> buffer{};
  const ssize_t length = ::read(descriptor, buffer.data(), buffer.size());
  if (length > 0) to->append(buffer.data(), static_cast<std::size_t>(length));
  return length > 0;
}

// A host file in place of the program's end.
void giveFile(const std::string &path, int access, Ends *ends) {
  ::close(ends->theirs);
  ends->theirs = ::open(path.c_str(), access | O_CLOEXEC);
  if (ends->theirs < 0) fail(path.c_str());
}

} // namespace

Subprocess::Subprocess(const std::vector<std::string> &words, const SubprocessOptions &options) {
  Ends in = makePipe(true);
  Ends out = options.outIsTerminal ? makeTerminal() : makePipe(false);
  const Ends err = options.errIsTerminal ? makeTerminal() : makePipe(false);
  if (!options.inFile.empty()) giveFile(options.inFile, O_RDONLY, &in);
  if (!options.outFile.empty()) giveFile(options.outFile, O_WRONLY, &out);
  std::vector<char *> arguments{const_cast<char *>(TESSARY_CLI_PROGRAM)};
  for (const std::string &word : words)
    arguments.push_back(const_cast<char *>(word.c_str()));
  arguments.push_back(nullptr);
  pid_ = ::fork();
  if (pid_ < 0) fail("fork");
  if (pid_ == 0) {
    ::dup2(in.theirs, STDIN_FILENO);
    ::dup2(out.theirs, STDOUT_FILENO);
    ::dup2(options.errGoesToOut ? out.theirs : err.theirs, STDERR_FILENO);
    for (const int descriptor : options.closed)
      ::close(descriptor);
    if (options.addressSpace != 0) {
      const rlimit limit{options.addressSpace, options.addressSpace};
      ::setrlimit(RLIMIT_AS, &limit);
    }
    ::signal(SIGINT, options.ignoresSigint ? SIG_IGN : SIG_DFL);
    ::signal(SIGPIPE, options.ignoresSigpipe ? SIG_IGN : SIG_DFL);
    ::execv(TESSARY_CLI_PROGRAM, arguments.data());
    ::_exit(127);
  }
  for (const Ends &ends : {in, out, err})
    ::close(ends.theirs);
  in_ = in.ours;
  out_ = out.ours;
  err_ = err.ours;
}

Subprocess::~Subprocess() {
  for (int *descriptor : {&in_, &out_, &err_})
    closeIfOpen(*descriptor);
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
}

void Subprocess::write(const std::string &input) const {
  if (::write(in_, input.data(), input.size()) != static_cast<ssize_t>(input.size())) fail("write");
}

void Subprocess::closeInput() {
  closeIfOpen(in_);
}

void Subprocess::closeOutput() {
  closeIfOpen(out_);
}

std::string Subprocess::readLine() const {
  std::string line;
  char character = 0;
  while (::read(out_, &character, 1) == 1 && character != '\n')
    line += character;
  return line;
}

std::string Subprocess::read(std::size_t length) const {
  std::string text;
  while (text.size() < length && readSome(out_, &text)) {
  }
  return text;
}

void Subprocess::signal(int number) const {
  ::kill(pid_, number);
}

Ending Subprocess::finish() {
  closeInput();
  while (out_ >= 0 || err_ >= 0) {
    std::array<pollfd, 2> descriptors{{{out_, POLLIN, 0}, {err_, POLLIN, 0}}};
    if (::poll(descriptors.data(), descriptors.size(), -1) < 0 && errno != EINTR) fail("poll");
    if (descriptors[0].revents != 0 && !readSome(out_, &outText_)) closeIfOpen(out_);
    if (descriptors[1].revents != 0 && !readSome(err_, &errText_)) closeIfOpen(err_);
  }
  int state = 0;
  ::waitpid(std::exchange(pid_, -1), &state, 0);
  if (WIFSIGNALED(state)) return {-1, WTERMSIG(state)};
  return {WEXITSTATUS(state), 0};
}

} // namespace tessary::test
