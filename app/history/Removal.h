#pragma once

#include "app/PlacedFiles.h"
#include "app/history/LastingItems.h"
#include "app/progress/WorkProgress.h"
#include "tessary/EMU3Filesystem.h"
#include "tessary/ItemsOperation.h"

#include <optional>
#include <string>

namespace tessary {

/// Whether a deletion that ended so took the item away. Logs why when it failed. Where only the marks of its
/// blocks could not be cleared the item is gone all the same.
[[nodiscard]] bool isGone(const EMU3Filesystem &filesystem, const Item &item, const std::string &name,
                          const std::optional<EMU3Error> &error);

// Deletes a file, or a folder with all that is in it, of which nothing is kept. What kept it from going; none
// when it is gone; `items` are told of it then. On the image's I/O queue.
[[nodiscard]] std::optional<EMU3Error> removeForGood(EMU3Filesystem &filesystem, LastingItems &items,
                                                     const PlacedFile &placed, WorkProgress &progress);
[[nodiscard]] std::optional<EMU3Error> removeForGood(EMU3Filesystem &filesystem, LastingItems &items,
                                                     const EMU3DirectoryPtr &folder,
                                                     const EMU3DirectoryPtr &parent, WorkProgress &progress);

} // namespace tessary
