#include "cli/ExitStatus.h"
#include "cli/Interruption.h"
#include "cli/TessaryCli.h"
#include "tessary/FreedMemory.h"

#include <cerrno>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// A standard descriptor that is closed would be given to the image when it is opened, and the answer be
// written into that. So each closed one is opened on something from which nothing is read and to which
// writing fails, as with the closed one.
void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) ::open("/dev/null", O_RDONLY);
  }
}

// The exit status of an interrupted run tells which signal it was.
int statusAfter(int status, const tessary::cli::Interruption &interruption) {
  constexpr int signalled = 128;
  const bool interrupted = status == static_cast<int>(tessary::cli::ExitStatus::interrupted);
  return interrupted && interruption.requested() ? signalled + interruption.signal() : status;
}

} // namespace

int main(int argc, char **argv) {
  occupyStandardDescriptors();
  tessary::keepFreedMemory();
  std::signal(SIGPIPE,
              SIG_DFL); // ends the program quietly, also where it was started with the signal ignored
  std::ios::sync_with_stdio(false);
  const tessary::cli::Interruption interruption;
  tessary::cli::InterruptibleInput input(STDIN_FILENO, interruption);
  std::istream in(&input);
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  try {
    const int status = tessary::runTessaryCli(words, in, std::cout, std::cerr,
                                              {.errIsTerminal = ::isatty(STDERR_FILENO) == 1,
                                               .interrupted = [&] { return interruption.requested(); }});
    return statusAfter(status, interruption);
  } catch (const std::exception &problem) { // out of memory, above all
    std::cerr << "tessary-cli: " << problem.what() << '\n';
    return 1;
  }
}
