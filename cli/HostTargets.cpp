#include "cli/HostTargets.h"

#include "cli/CliError.h"

#include <cerrno>
#include <sys/stat.h>

namespace tessary::cli {
namespace {

std::string joined(const std::string &folder, const std::string &name) {
  if (folder.empty()) return name;
  return folder + (folder.ends_with('/') ? "" : "/") + name;
}

} // namespace

HostTargets::HostTargets(const EMU3Filesystem &volume) {
  identify(volume.imageURL(), &image_);
}

bool HostTargets::identify(const std::string &path, FileId *id) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  *id = {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)};
  return true;
}

std::string HostTargets::claim(const std::string &folder, const HostName &name) {
  const std::string base = joined(folder, name.stem);
  std::size_t &number = lastTried_[base + name.extension];
  while (true) {
    ++number;
    std::string path = base;
    if (number > 1) path.append(" (").append(std::to_string(number)).append(")");
    path += name.extension;
    FileId existing;
    if (identify(path, &existing) && written_.contains(existing)) continue;
    if (claimed_.insert(path).second) return path;
  }
}

bool HostTargets::mayWrite(const std::string &path, EMU3Error *error) const {
  FileId existing;
  if (!identify(path, &existing) || existing != image_) return true;
  return fail(error, cliError(kCliRefused, path + ": This is the image itself"));
}

void HostTargets::wrote(const std::string &path) {
  FileId id;
  if (identify(path, &id)) written_.insert(id);
}

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
