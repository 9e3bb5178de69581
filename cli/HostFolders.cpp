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

bool makeHostFolder(const std::string &path, EMU3Error *error) {
  if (::mkdir(path.c_str(), 0777) == 0) return true;
  const int problem = errno;
  struct stat status {};
  if (problem == EEXIST && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return true;
  return fail(error, hostError(problem, path));
}

} // namespace tessary::cli
