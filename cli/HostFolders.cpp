#include "cli/HostFolders.h"

#include "cli/CliError.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tessary::cli {

void provideHostFolder(const std::string &path, bool isTrial) {
  namespace fs = std::filesystem;
  std::error_code problem;
  const fs::file_status status = fs::status(path, problem);
  if (fs::is_directory(status)) return;
  const auto fail = [&](int errnum) { throw CommandFailure{hostError(errnum, path), path}; };
  if (path.empty()) fail(ENOENT);
  if (fs::exists(status)) fail(ENOTDIR);
  if (status.type() != fs::file_type::not_found) fail(problem.value());
  if (isTrial) return;
  fs::create_directories(path, problem);
  if (problem) fail(problem.value());
}

} // namespace tessary::cli
