#pragma once

#include "cli/Command.h"
#include "cli/ExitStatus.h"
#include "cli/Session.h"

#include <span>
#include <string>

namespace tessary::cli {

/// What the lines of a batch share.
struct BatchLine {
  EMU3FilesystemPtr volume; ///< mounted once, for all lines
  bool json = false;        ///< --json was given to the batch itself
  bool quiet = false;       ///< so was -q
  std::size_t number = 0;   ///< of the line, from 1
};

/// Runs one command, given as the words behind the program's name.
ExitStatus runCommandLine(std::span<const std::string> words, const Streams &streams);
/// Runs one line of a batch: a command without IMAGE, its words quoted as in a shell.
ExitStatus runBatchLine(const std::string &text, const BatchLine &line, const Streams &streams);

} // namespace tessary::cli
