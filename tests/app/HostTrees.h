#pragma once

#include "tests/support/ImageBuilder.h"

#include <map>
#include <string>
#include <vector>

namespace tessary::test {

/// Files with their contents and folders, whose paths end in "/", by their paths.
using HostTree = std::map<std::string, Bytes>;

HostTree treeOnHost(const std::string &folder);
/// What lies in a folder of the image, with the names that plain names have on the host.
HostTree treeOnImage(const std::string &imagePath, const std::vector<std::string> &path = {});

} // namespace tessary::test
