#include "cli/HostFolders.h"

#include "cli/CliError.h"

#include <cerrno>
#include <sys/stat.h>

namespace tessary::cli {

void requireHostFolder(const std::string &path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) throw CommandFailure{hostError(errno, path), path};
  if (!S_ISDIR(status.st_mode)) throw CommandFailure{hostError(ENOTDIR, path), path};
}

} // namespace tessary::cli
