#include "filesystem/ExportTargets.h"

#include "filesystem/Text.h"

#include <sys/stat.h>

namespace tessary {
namespace {

std::string joined(const std::string &folder, const std::string &name) {
  if (folder.empty()) return name;
  return folder + (folder.ends_with('/') ? "" : "/") + name;
}

} // namespace

bool ExportTargets::identify(const std::string &path, FileId *id) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  *id = {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)};
  return true;
}

std::string ExportTargets::claim(const std::string &folder, const HostName &name) {
  const std::string base = joined(folder, name.stem);
  std::size_t &number = lastTried_[base + name.extension];
  while (true) {
    ++number;
    std::string path = base;
    if (number > 1) path.append(" (").append(std::to_string(number)).append(")");
    path += name.extension;
    if (isWritten(path)) continue;
    if (claimed_.insert(path).second) return path;
  }
}

std::string ExportTargets::freeBeside(const std::string &path) {
  const std::string whole = lastPathComponent(path);
  const std::string stem = withoutExtension(whole);
  const std::string folder = path.substr(0, path.size() - whole.size());
  struct stat status {};
  while (true) {
    std::string candidate = claim(folder, {stem, whole.substr(stem.size())});
    if (candidate != path && ::lstat(candidate.c_str(), &status) != 0) return candidate;
  }
}

bool ExportTargets::isWritten(const std::string &path) const {
  FileId existing;
  return identify(path, &existing) && written_.contains(existing);
}

void ExportTargets::wrote(const std::string &path) {
  FileId id;
  if (identify(path, &id)) written_.insert(id);
}

} // namespace tessary
