#include "tessary/HostTree.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

namespace tessary {

HostListing listHostFolder(const std::string &path) {
  namespace fs = std::filesystem;
  HostListing listing;
  std::error_code problem;
  for (fs::directory_iterator entry(path, problem), end; !problem && entry != end; entry.increment(problem)) {
    std::error_code unknown;
    const bool isFolder = entry->symlink_status(unknown).type() == fs::file_type::directory;
    (isFolder ? listing.folders : listing.files).push_back(entry->path().native());
  }
  if (problem) listing.failure = hostError(problem.value(), path);
  std::sort(listing.files.begin(), listing.files.end());
  std::sort(listing.folders.begin(), listing.folders.end());
  return listing;
}

std::uint64_t sizeOfHostFile(const std::string &path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  return static_cast<std::uint64_t>(status.st_size);
}

} // namespace tessary
