#include "app/PrivateFolder.h"

#include <QUuid>
#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tessary {
namespace {

constexpr mode_t kOwnerOnly = S_IRWXU;
constexpr mode_t kPermissionBits = S_IRWXU | S_IRWXG | S_IRWXO;

bool refuse(const std::string &path, int errnum, const char *reason, EMU3Error *error) {
  return fail(error, {kHostErrorDomain, errnum, path + ": " + reason});
}

bool isOfThisUserAlone(const std::string &path, EMU3Error *error) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return fail(error, hostError(errno, path));
  if (!S_ISDIR(status.st_mode)) return refuse(path, ENOTDIR, "Not a folder", error);
  if (status.st_uid != ::geteuid()) return refuse(path, EPERM, "Belongs to another user", error);
  if ((status.st_mode & kPermissionBits) != kOwnerOnly)
    return refuse(path, EPERM, "Is open to other users", error);
  return true;
}

/// A folder that stands there already will do when it is this user's alone.
bool makeIntermediateFolder(const std::string &path, EMU3Error *error) {
  if (::mkdir(path.c_str(), kOwnerOnly) != 0 && errno != EEXIST) return fail(error, hostError(errno, path));
  return isOfThisUserAlone(path, error);
}

std::string freshUuid() {
  return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
}

} // namespace

std::optional<std::string> makePrivateFolder(const char *kind, EMU3Error *error) {
  std::error_code problem;
  const std::filesystem::path temporary = std::filesystem::temp_directory_path(problem);
  if (problem) {
    fail(error, hostError(problem.value(), "Temporary directory"));
    return std::nullopt;
  }
  return makePrivateFolder(temporary.native(), kind, error);
}

std::optional<std::string> makePrivateFolder(const std::string &above, const char *kind, EMU3Error *error) {
  const std::filesystem::path ours =
      std::filesystem::path(above) / ("tessary-" + std::to_string(::geteuid()));
  const std::filesystem::path ofKind = ours / kind;
  if (!makeIntermediateFolder(ours, error) || !makeIntermediateFolder(ofKind, error)) return std::nullopt;
  const std::string folder = ofKind / freshUuid();
  if (::mkdir(folder.c_str(), kOwnerOnly) != 0) {
    fail(error, hostError(errno, folder));
    return std::nullopt;
  }
  return folder;
}

} // namespace tessary
