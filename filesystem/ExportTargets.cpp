#include "tessary/ExportTargets.h"

#include "tessary/Text.h"

#include <optional>
#include <sys/stat.h>
#include <utility>

namespace tessary {
namespace {

std::string joined(const std::string &folder, const std::string &name) {
  if (folder.empty()) return name;
  return folder + (folder.ends_with('/') ? "" : "/") + name;
}

} // namespace

ExportTargets::Claim ExportTargets::claim(const std::string &folder, const HostName &name) {
  const std::string base = joined(folder, name.stem);
  std::size_t &number = lastTried_[base + name.extension];
  while (true) {
    ++number;
    std::string path = base;
    if (number > 1) path.append(" (").append(std::to_string(number)).append(")");
    path += name.extension;
    const bool isFree = isNothingAt(path);
    if (!isFree && isWritten(path)) continue;
    if (claimed_.insert(path).second) return {std::move(path), isFree};
  }
}

ExportTargets::Claim ExportTargets::claimFree(const std::string &folder, const HostName &name) {
  struct stat status {};
  while (true) {
    Claim candidate = claim(folder, name);
    if (candidate.isFree || ::lstat(candidate.path.c_str(), &status) != 0) return candidate;
  }
}

std::string ExportTargets::freeBeside(const std::string &path) {
  const std::string whole = lastPathComponent(path);
  const std::string stem = withoutExtension(whole);
  const std::string folder = path.substr(0, path.size() - whole.size());
  while (true) {
    Claim candidate = claimFree(folder, {stem, whole.substr(stem.size())});
    if (candidate.path != path) return std::move(candidate.path);
  }
}

bool ExportTargets::isWritten(const std::string &path) const {
  const std::optional<HostFileId> existing = fileAt(path);
  return existing && written_.contains(*existing);
}

void ExportTargets::wrote(const std::string &path) {
  if (const std::optional<HostFileId> made = fileAt(path)) written_.insert(*made);
}

} // namespace tessary
