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
  std::size_t number = 0;   ///< of the line, from 1
};

/// Runs one command, given as the words behind the program's name.
ExitStatus runCommandLine(std::span<const std::string> words, const Streams &streams);
/// Runs one line of a batch, given as its words: a command without IMAGE.
ExitStatus runBatchLine(std::span<const std::string> words, const BatchLine &line, const Streams &streams);

/// How the lines about problems begin on a batch's line.
std::string problemPrefixForLine(std::size_t number);

} // namespace tessary::cli
