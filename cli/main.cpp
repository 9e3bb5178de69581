#include "cli/Interruption.h"
#include "cli/TessaryCli.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

int main(int argc, char **argv) {
  std::signal(SIGPIPE,
              SIG_DFL); // ends the program quietly, also where it was started with the signal ignored
  std::ios::sync_with_stdio(false);
  const tessary::cli::Interruption interruption;
  tessary::cli::InterruptibleInput input(STDIN_FILENO, interruption);
  std::istream in(&input);
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  try {
    return tessary::runTessaryCli(words, in, std::cout, std::cerr,
                                  {.errIsTerminal = ::isatty(STDERR_FILENO) == 1,
                                   .interrupted = [&] { return interruption.requested(); }});
  } catch (const std::exception &problem) { // out of memory, above all
    std::cerr << "tessary-cli: " << problem.what() << '\n';
    return 1;
  }
}
