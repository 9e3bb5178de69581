#pragma once

#include "app/FailuresAlert.h"
#include "app/PlacedFiles.h"
#include "tessary/EMU3Filesystem.h"

#include <string>

namespace tessary {

// Whether what a step of the history means is still part of the image. Another program may have deleted or
// moved it, or put other contents into the image; it is an object of a former tree then. Any thread.
[[nodiscard]] bool isThere(const EMU3Filesystem &filesystem, const EMU3DirectoryPtr &folder);
[[nodiscard]] bool isThere(const EMU3Filesystem &filesystem, const PlacedFile &placed);

/// A file, or a folder, that is not where the step means it to be.
[[nodiscard]] ItemFailure goneFailure(const std::string &name);
/// An item that could not be put into the folder, or, where it is a folder's own change, not be done in it.
/// Says so where the folder is gone; else what the error says.
[[nodiscard]] ItemFailure failureIn(const EMU3Filesystem &filesystem, const EMU3DirectoryPtr &folder,
                                    const std::string &name, const EMU3Error &error);

} // namespace tessary
