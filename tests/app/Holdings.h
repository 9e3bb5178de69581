#pragma once

#include <map>
#include <string>

namespace tessary::test {

/// What a volume holds: of each file its kind, all 16 bytes of its name and its contents, of each folder all
/// 16 bytes of its name, by their paths.
using Holdings = std::multimap<std::string, std::string>;

/// As a fresh look at the image finds it.
Holdings holdingsOf(const std::string &imagePath);
/// Those below a folder of the volume, by their paths from there on.
Holdings holdingsBelow(const std::string &folder, const std::string &imagePath);

} // namespace tessary::test
