#pragma once

#include <cstdint>
#include <string>

namespace tessary {

/// Domain of every error the engine raises itself.
inline constexpr const char *kEngineErrorDomain = "com.tessary.error";
/// Domain of errors the host reported; the code is errno.
inline constexpr const char *kHostErrorDomain = "posix";

/// The engine's error codes by group.
enum EMU3ErrorCode : std::int64_t {
  kErrorNotAnImage = 1,
  kErrorCannotReachData = 2,
  kErrorWriteRefused = 3,
  kErrorOutOfSpace = 4,
  kErrorEntryNotFound = 5,
  kErrorBadArgument = 6,
  kErrorDirectoryFull = 7,
};

/// A failure as a value. Operations take `EMU3Error *error = nullptr` and fill it only when they fail
/// and the caller gave one.
struct EMU3Error {
  std::string domain;
  std::int64_t code = 0;
  std::string message;

  /// True when a failing operation filled it.
  bool isSet() const { return !domain.empty(); }
  /// The message, as shown to the user.
  const std::string &localizedDescription() const { return message; }
  /// `Error Domain=com.tessary.error Code=4 "message"`, the form used in log lines.
  std::string description() const;
};

/// An error of the host: the item it is about, then the host's own words for `errnum`.
EMU3Error hostError(int errnum, const std::string &item);

/// Stores `value` in `*error` when the caller gave one. Returns false, so that a failing operation can
/// `return fail(error, …)`.
bool fail(EMU3Error *error, EMU3Error value);

} // namespace tessary
