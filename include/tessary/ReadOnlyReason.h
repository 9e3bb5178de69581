#pragma once

namespace tessary {

/// Why an image cannot be changed.
enum class ReadOnlyReason {
  none,             ///< it can be changed
  hostFile,         ///< the host lets its file be read, not written
  otherProgram,     ///< another program has it open for changes; asked again before each change
  unreadableTable,  ///< a block of the allocation table cannot be read
  unreadableFolder, ///< a directory block cannot be read, so what is in the folder is not known
  mediumFailed,     ///< the medium did not take a change
};

/// In words, to be read behind "read-only: "; empty for `none`.
[[nodiscard]] const char *readOnlyReasonText(ReadOnlyReason reason);

} // namespace tessary
