#pragma once

#include "tessary/EMU3Error.h"

#include <optional>
#include <string>

namespace tessary {

/// Makes a new, empty folder that only this user can look into: a fresh UUID in the folder `kind`
/// ("EMU3Drag", "Undo") of the application's folder in the host's folder `above`. Returns its path; nothing
/// removes it.
///
/// The host's temporary directory is shared, so what stands there already under the names of the folders
/// between may be another user's trap. Anything but a folder of this user alone (mode 0700, no link) is
/// refused with the host's error, which names it. Any thread.
std::optional<std::string> makePrivateFolder(const std::string &above, const char *kind,
                                             EMU3Error *error = nullptr);
/// The same in the host's temporary directory.
std::optional<std::string> makePrivateFolder(const char *kind, EMU3Error *error = nullptr);

} // namespace tessary
