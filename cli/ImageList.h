#pragma once

#include "tessary/EMU3Error.h"

#include <optional>
#include <string>
#include <vector>

namespace tessary::cli {

/// A host path on the way to being searched: an image, or why the images there could not be listed.
struct ListedImage {
  std::string path;
  std::optional<EMU3Error> error{};
};

/// The words in their order; in place of a host folder the files below it whose names end in ".hda", in any
/// letter case, sorted by the bytes of their names, each folder's files before its folders. Links to folders
/// are not followed.
[[nodiscard]] std::vector<ListedImage> listImages(const std::vector<std::string> &words);

} // namespace tessary::cli
