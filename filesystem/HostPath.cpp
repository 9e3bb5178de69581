#include "tessary/HostPath.h"

#include <cerrno>
#include <sys/stat.h>

namespace tessary {

std::optional<HostFileId> fileAt(const std::string &path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return HostFileId(status.st_dev, status.st_ino);
}

bool isNothingAt(const std::string &path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

std::string folderOf(const std::string &path) {
  return path.substr(0, path.rfind('/') + 1);
}

} // namespace tessary
