#pragma once

#include <QString>
#include <string>
#include <vector>

namespace tessary {

/// What a menu calls the image at this path of the host: its file's name, and its folder where another one of
/// that name is among the paths.
QString imageTitle(const std::string &path, const std::vector<std::string> &paths);

} // namespace tessary
