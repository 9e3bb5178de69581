#include "tessary/EMU3Error.h"

#include <iterator>
#include <system_error>
#include <utility>

namespace tessary {
namespace {

struct ErrorRow {
  EngineError which;
  EMU3ErrorCode code;
  const char *text;
};

constexpr ErrorRow kErrors[] = {
    {EngineError::imageTooSmall, kErrorNotAnImage, "File too small to be an E-MU disk image"},
    {EngineError::signatureMissing, kErrorNotAnImage,
     "Not an E-MU 3/4 disk image (missing \"EMU3\" signature)"},
    {EngineError::cannotOpen, kErrorCannotReachData, "Cannot open file: "},
    {EngineError::cannotMap, kErrorCannotReachData, "mmap failed"},
    {EngineError::mountedWithOtherRules, kErrorCannotReachData, "The image is mounted with other rules"},
    {EngineError::sampleChunkNotFound, kErrorCannotReachData, "Sample chunk not found"},
    {EngineError::contentsIncomplete, kErrorCannotReachData, "File contents are incomplete"},
    {EngineError::imageIsReadOnly, kErrorWriteRefused, "Image is read-only"},
    {EngineError::imageReplaced, kErrorWriteRefused, "The image was replaced"},
    {EngineError::dataWriteFailed, kErrorWriteRefused, "Data write failed"},
    {EngineError::blockWriteFailed, kErrorWriteRefused, "Block write failed"},
    {EngineError::entryInContents, kErrorWriteRefused, "The entry lies in the contents of another file"},
    {EngineError::sampleWriteFailed, kErrorWriteRefused, "Failed to write sample file"},
    {EngineError::noFreeSlot, kErrorOutOfSpace, "Image is full (no free slots)"},
    {EngineError::noFreeSpace, kErrorOutOfSpace, "Not enough free space on image"},
    {EngineError::fileTooLarge, kErrorOutOfSpace, "File is too large for the volume"},
    {EngineError::noFreeDirectoryBlock, kErrorOutOfSpace, "No free directory block available"},
    {EngineError::entryNotFound, kErrorEntryNotFound, "Dentry block not found"},
    {EngineError::badName, kErrorBadArgument, "Name must be 1–15 characters"},
    {EngineError::folderIntoItself, kErrorBadArgument, "A folder cannot be moved into itself"},
    {EngineError::notABank, kErrorBadArgument, "Not a bank file"},
    {EngineError::sampleIndexOutOfRange, kErrorBadArgument, "Sample index out of range"},
    {EngineError::destinationFull, kErrorDirectoryFull, "Destination directory is full"},
    {EngineError::parentFull, kErrorDirectoryFull, "Parent directory is full"},
};

static_assert(std::size(kErrors) == static_cast<std::size_t>(EngineError::parentFull) + 1,
              "every error has a row");

} // namespace

std::string EMU3Error::messageWithReason() const {
  return reason.empty() ? message : message + ": " + reason;
}

std::string EMU3Error::description() const {
  return "Error Domain=" + domain + " Code=" + std::to_string(code) + " \"" + message + "\"";
}

EMU3Error engineError(EngineError which, const std::string &item) {
  for (const ErrorRow &row : kErrors) {
    if (row.which == which) return {kEngineErrorDomain, row.code, row.text + item};
  }
  return {kEngineErrorDomain, 0, item};
}

EMU3Error engineError(EngineError which, const std::string &item, int errnum) {
  EMU3Error error = engineError(which, item);
  error.reason = std::generic_category().message(errnum);
  return error;
}

EMU3Error hostError(int errnum, const std::string &item) {
  return {kHostErrorDomain, errnum, item + ": " + std::generic_category().message(errnum)};
}

bool fail(EMU3Error *error, EMU3Error value) {
  if (error) *error = std::move(value);
  return false;
}

bool fail(EMU3Error *error, EngineError which) {
  if (error) *error = engineError(which);
  return false;
}

} // namespace tessary
