#pragma once

#include "cli/TessaryCli.h"
#include "tessary/EMU3Error.h"
#include "tessary/EMU3Filesystem.h"

#include <istream>
#include <ostream>
#include <string>

namespace tessary::cli {

/// Where commands read and write, for the whole run of the program.
struct Streams {
  std::istream &in;
  std::ostream &out;
  std::ostream &err;
  const CliSurroundings &surroundings;
  /// Where a command's own answers go; `out` unless that gets the bytes of a file.
  std::ostream &answers;

  bool interrupted() const { return surroundings.interrupted && surroundings.interrupted(); }
};

/// What one run of one command works with.
struct Session {
  const Streams &streams;
  /// Null for a command that mounts no image by itself.
  EMU3FilesystemPtr volume;
  /// Whether the answer is a JSON object rather than text.
  bool json = false;
  /// What each line about a problem begins with.
  std::string problemPrefix;
  /// Whether sentences that say what was done are left out.
  bool quiet = false;
  /// Nothing is to be written, neither to images nor to the host.
  bool isTrial = false;
  /// The rules by which images are mounted.
  MountRules rules = MountRules::guarded;

  std::ostream &out() const { return streams.answers; }
  bool interrupted() const { return streams.interrupted(); }
};

/// One line on standard error that says what failed and why, naming the item unless the message does. What
/// does not print is shown escaped.
void printProblem(std::ostream &err, const std::string &prefix, const std::string &item,
                  const EMU3Error &error);

/// The answer of a command that failed as a whole: a JSON object or a line about the problem.
void answerFailure(const Streams &streams, bool json, const std::string &problemPrefix,
                   const std::string &item, const EMU3Error &error);

} // namespace tessary::cli
