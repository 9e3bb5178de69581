#pragma once

#include <functional>
#include <iosfwd>
#include <span>
#include <string>

namespace tessary {

/// What the tool asks of its surroundings besides its streams.
struct CliSurroundings {
  /// Whether `err` leads to a terminal: long work then shows its progress there.
  bool errIsTerminal = false;
  /// Polled between items; true once the user has asked to stop. May be empty.
  std::function<bool()> interrupted;
};

/// The command line tool as a function: `args` are the words behind the program's name, `in` is read by
/// `batch` and by `import` of "-". Returns the exit status: 0 all done, 1 something failed or was found, 2
/// the words are wrong, 130 interrupted. Switches the echo of the engine's log off, for the whole process.
int runTessaryCli(std::span<const std::string> args, std::istream &in, std::ostream &out, std::ostream &err,
                  const CliSurroundings &surroundings = {});

} // namespace tessary
