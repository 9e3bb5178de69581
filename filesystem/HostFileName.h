#pragma once

#include <string>

namespace tessary {

/// The host file name (without extension) for a name from an image. What could steer a path or what a
/// host refuses ('/', control characters, "." and "..", bytes a host forbids) is written as '%' and two
/// hexadecimal digits a byte; a '%' that would read as such is escaped too. Names that need no change
/// stay as they are. `name` and result are UTF-8.
std::string hostFileName(const std::string &name);

/// The name that `hostFileName` gave `hostName` for; other names come back as they are.
std::string nameFromHostFileName(const std::string &hostName);

} // namespace tessary
