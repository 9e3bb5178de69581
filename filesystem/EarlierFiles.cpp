#include "filesystem/EarlierFiles.h"

#include "filesystem/DirectoryEntry.h"
#include "filesystem/VolumeRules.h"

#include <utility>

namespace tessary {

std::vector<EMU3FilePtr> &EarlierFiles::filesOf(const EMU3DirectoryPtr &folder, const std::string &name) {
  const auto [known, isNew] = folders_.try_emplace(folder);
  if (isNew) {
    for (EMU3FilePtr &file : folder->allFiles()) {
      std::string each = file->name();
      known->second[std::move(each)].push_back(std::move(file));
    }
  }
  return known->second[name];
}

bool EarlierFiles::leavesOut(const EMU3DirectoryPtr &folder, const std::string &name) {
  std::vector<EMU3FilePtr> &files = filesOf(folder, name);
  if (existing_ != ExistingFile::leavesOut || files.empty()) return false;
  files.pop_back();
  return true;
}

std::vector<EMU3FilePtr> EarlierFiles::takeReplaced(const EMU3DirectoryPtr &folder, const std::string &name) {
  if (existing_ != ExistingFile::isReplaced) return {};
  return std::exchange(filesOf(folder, name), {});
}

std::string nameOnceStored(const Volume &volume, const std::string &name) {
  const VolumeRules &rules = volume.rules();
  if (!rules.mayStoreName(name)) return name;
  return rules.nameAfterStoring(name, dentryForFolder(rules.storedName(name), 0).data());
}

} // namespace tessary
