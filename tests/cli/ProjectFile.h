#pragma once

#include <string>

namespace tessary::test {

/// The host path of a file of the project's own, `path` as seen from its top folder: "docs/user-guide.md".
std::string projectFile(const std::string &path);

} // namespace tessary::test
