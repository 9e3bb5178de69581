#pragma once

#include <cstdint>
#include <memory>
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

/// Every error that the engine raises itself; the table of their codes and texts is in EMU3Error.cpp.
enum class EngineError {
  imageTooSmall,
  signatureMissing,
  cannotOpen, ///< names the image's path
  cannotMap,
  mountedWithOtherRules,
  sampleChunkNotFound,
  contentsIncomplete,
  imageIsReadOnly,
  imageReplaced,
  dataWriteFailed,
  blockWriteFailed,
  entryInContents,
  sampleWriteFailed,
  noFreeSlot,
  noFreeSpace,
  fileTooLarge,
  noFreeDirectoryBlock,
  entryNotFound,
  badName,
  folderIntoItself,
  notABank,
  sampleIndexOutOfRange,
  destinationFull,
  parentFull, // the last one: the table's length is checked by it
};

/// A failure as a value. Operations take `EMU3Error *error = nullptr` and fill it only when they fail
/// and the caller gave one.
struct EMU3Error {
  std::string domain;
  std::int64_t code = 0;
  std::string message;
  /// The host's words for why, where the message does not have them; may be empty.
  std::string reason{};

  /// True when a failing operation filled it.
  [[nodiscard]] bool isSet() const { return !domain.empty(); }
  /// The message, as shown to the user.
  [[nodiscard]] const std::string &localizedDescription() const { return message; }
  /// The message with the reason behind it, where there is one.
  [[nodiscard]] std::string messageWithReason() const;
  /// `Error Domain=com.tessary.error Code=4 "message"`, the form used in log lines.
  [[nodiscard]] std::string description() const;
};

/// An error of the engine. `item` follows the text of those that name one.
[[nodiscard]] EMU3Error engineError(EngineError which, const std::string &item = {});

/// The same where the host is why: its words for `errnum` are the reason.
[[nodiscard]] EMU3Error engineError(EngineError which, const std::string &item, int errnum);

/// An error of the host: the item it is about, then the host's own words for `errnum`.
[[nodiscard]] EMU3Error hostError(int errnum, const std::string &item);

/// Stores `value` in `*error` when the caller gave one. Returns false, so that a failing operation can
/// `return fail(error, …)`.
bool fail(EMU3Error *error, EMU3Error value);
bool fail(EMU3Error *error, EngineError which);

/// The same for operations that return an object: null.
template <typename Object> std::shared_ptr<Object> refuse(EMU3Error *error, EngineError which) {
  fail(error, which);
  return nullptr;
}

} // namespace tessary
