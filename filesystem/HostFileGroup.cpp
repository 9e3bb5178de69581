#include "filesystem/HostFileGroup.h"

#include "filesystem/VolumeRules.h"
#include "tessary/HostPath.h"

#include <cerrno>
#include <map>
#include <numeric>
#include <sys/stat.h>
#include <utility>

namespace tessary {
namespace {

// A link to a folder is not taken for one: what it leads to is not the command's to write into.
bool isFolder(const std::string &path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The engine's own words leave out the host's reason, which is kept beside them.
EMU3Error reasonFor(const HostTarget &target, EMU3Error reason) {
  if (!target.failure) return reason;
  EMU3Error error = engineError(*target.failure);
  error.reason = std::move(reason.message);
  return error;
}

} // namespace

NewHostFile::Standing HostFileGroup::choosePath(HostTarget &target) {
  if (!target.name) return NewHostFile::Standing::unknown;
  ExportTargets::Claim claim = target.existing == ExistingFile::isKept
                                   ? targets_.claimFree(target.folder, *target.name)
                                   : targets_.claim(target.folder, *target.name);
  target.isLeftOut = !claim.isFree && target.existing == ExistingFile::leavesOut;
  target.path = std::move(claim.path);
  return claim.isFree ? NewHostFile::Standing::nothing : NewHostFile::Standing::unknown;
}

bool HostFileGroup::mayWrite(const std::string &path, EMU3Error *error) const {
  return rules_.mayWriteHostFile(path) ||
         fail(error, {kHostErrorDomain, EBUSY, path + ": This is a mounted image"});
}

bool HostFileGroup::beginFile(HostTarget &target, const HostFileParts &parts, EMU3Error *error) {
  const NewHostFile::Standing standing = choosePath(target);
  if (target.isLeftOut) return true;
  Begun begun{&target};
  EMU3Error reason;
  if (!write(begun, standing, parts, &reason)) return fail(error, reasonFor(target, std::move(reason)));
  begun_.push_back(std::move(begun));
  return true;
}

NewHostFile::Earlier HostFileGroup::earlier() const {
  const ExportOptions &options = targets_.options();
  if (!options.replacesEarlier) return NewHostFile::Earlier::refused;
  return options.followsLinks ? NewHostFile::Earlier::replaced : NewHostFile::Earlier::linkReplaced;
}

bool HostFileGroup::isInFolderToBe(const HostTarget &target) const {
  return target.name && !target.folder.empty() && isNothingAt(target.folder);
}

bool HostFileGroup::makeFolder(const HostTarget &target, EMU3Error *error) const {
  const std::string &path = target.path;
  if (isFolder(path) || (mode_ == Mode::trial && isInFolderToBe(target))) return true;
  if (mode_ == Mode::writing && ::mkdir(path.c_str(), 0777) == 0) return true;
  if (mode_ == Mode::writing) return fail(error, hostError(errno, path));
  if (!isNothingAt(path)) return fail(error, hostError(EEXIST, path));
  const std::string above = folderOf(path);
  return ::access(above.empty() ? "." : above.c_str(), W_OK | X_OK) == 0 ||
         fail(error, hostError(errno, path));
}

bool HostFileGroup::write(Begun &begun, NewHostFile::Standing standing, const HostFileParts &parts,
                          EMU3Error *error) {
  const std::string &path = begun.target->path;
  begun.target->bytes =
      std::accumulate(parts.begin(), parts.end(), std::uint64_t{0},
                      [](std::uint64_t sum, const auto &part) { return sum + part.size(); });
  if (standing != NewHostFile::Standing::nothing && !mayWrite(path, error)) return false;
  if (mode_ == Mode::trial && isInFolderToBe(*begun.target)) return true;
  if (!begun.file.create(path, earlier(), error, standing)) return false;
  if (mode_ == Mode::trial) begun.file = NewHostFile();
  if (mode_ == Mode::trial) return true;
  for (const std::span<const std::uint8_t> part : parts)
    if (!begun.file.write(part, error)) return false;
  return true;
}

bool HostFileGroup::beginFolder(HostTarget &target, EMU3Error *error) {
  choosePath(target);
  if (!makeFolder(target, error)) return false;
  targets_.wrote(target.path);
  begun_.push_back({&target, {}, true});
  return true;
}

void HostFileGroup::complete() {
  ended_ = std::exchange(begun_, {});
  if (mode_ == Mode::trial) return;
  for (Begun &begun : ended_)
    if (!begun.isFolder) begun.file.startFlush();
  for (Begun &begun : ended_) {
    EMU3Error error;
    if (!begun.isFolder && !begun.file.flush(&error)) begun.error = std::move(error);
  }
  for (Begun &begun : ended_)
    if (!begun.isFolder && !begun.error) publish(begun);
  flushFolders();
  for (Begun &begun : ended_)
    if (begun.error) begun.error = reasonFor(*begun.target, *std::exchange(begun.error, std::nullopt));
}

// In most cases no file has the name yet, and one call of the host gives it.
void HostFileGroup::publish(Begun &begun) {
  EMU3Error error;
  if ((begun.file.takeName() || mayTakeOver(begun, &error)) && begun.file.publish(&error))
    targets_.wrote(begun.file.id());
  else
    begun.error = std::move(error);
}

// Whether what stands at the path may be replaced. Where that is an earlier result of the same command, since
// the host takes two names for one (letter case, say), this result gets the next number instead.
bool HostFileGroup::mayTakeOver(Begun &begun, EMU3Error *error) {
  HostTarget &target = *begun.target;
  if (targets_.isWritten(target.path)) {
    target.path =
        target.name ? targets_.claim(target.folder, *target.name).path : targets_.freeBeside(target.path);
    if (!begun.file.redirect(target.path, error)) return false;
  }
  return mayWrite(target.path, error);
}

// Flushes each folder in which a new file or folder has got its name, once.
void HostFileGroup::flushFolders() {
  std::map<std::string, std::optional<EMU3Error>> folders;
  for (Begun &begun : ended_) {
    if (begun.error) continue;
    const auto [folder, isNew] = folders.try_emplace(folderOf(begun.target->path));
    EMU3Error error;
    if (isNew && !flushFolderOf(begun.target->path, &error)) folder->second = std::move(error);
    if (folder->second) begun.error = folder->second;
  }
}

bool HostFileGroup::writeOne(const VolumeRules &rules, const std::string &path, const HostFileParts &parts,
                             EMU3Error *error) {
  ExportTargets targets;
  HostTarget target{.folder = "", .path = path};
  HostFileGroup group(rules, targets);
  if (!group.beginFile(target, parts, error)) return false;
  group.complete();
  return !group.failure(0) || fail(error, *group.failure(0));
}

} // namespace tessary
