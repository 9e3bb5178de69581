#pragma once

namespace tessary::cli {

/// What the program, or one line of a batch, ends with.
enum class ExitStatus : int {
  done = 0,
  failed = 1, ///< something failed or was found
  wrongWords = 2,
  interrupted = 130, ///< the program ends with 143 or 129 where it was SIGTERM or SIGHUP
};

} // namespace tessary::cli
