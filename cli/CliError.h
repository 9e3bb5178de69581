#pragma once

#include "tessary/EMU3Error.h"

#include <cerrno>
#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <utility>

namespace tessary::cli {

/// Domain of the errors that are neither the engine's nor the host's.
inline constexpr const char *kCliErrorDomain = "com.tessary.cli";

enum CliErrorCode : std::int64_t {
  kCliNotFound = 1,   ///< an address that names nothing, or nothing of the kind asked for
  kCliWrongWords = 2, ///< a line's words are wrong
  kCliInterrupted = 3,
  kCliRefused = 4, ///< what the command does not do to this item
  kCliFailed = 5,  ///< what nothing else has a word for
};

inline EMU3Error cliError(CliErrorCode code, std::string message) {
  return {kCliErrorDomain, code, std::move(message)};
}

/// The error that an exception of the libraries below means for the item, or the command, at work.
inline EMU3Error errorOf(const std::exception &problem, const std::string &item) {
  if (dynamic_cast<const std::bad_alloc *>(&problem) != nullptr) return hostError(ENOMEM, item);
  return cliError(kCliFailed, item + ": " + problem.what());
}

/// Thrown where a whole command fails before it has begun with its items. Caught in one place, which
/// answers for the command.
struct CommandFailure {
  EMU3Error error;
  std::string item; ///< what the error is about when its message does not name it
};

/// Thrown where the words of a command are wrong.
struct WrongWords {
  std::string message;
};

/// Thrown where the user's interruption is seen before there is anything to answer.
struct Interrupted {};

} // namespace tessary::cli
