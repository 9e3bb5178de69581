#pragma once

#include "filesystem/VolumeChange.h"
#include "tessary/EMU3Directory.h"
#include "tessary/EMU3File.h"
#include "tessary/ItemsWatcher.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace tessary {

/// The files that were in the folders of a volume before an operation put something there, by their names.
class EarlierFiles final {
public:
  explicit EarlierFiles(ExistingFile existing) : existing_(existing) {}

  /// Whether a file of this name is left out of the folder, since one that was there before stands for it.
  /// Each stands for one: of three files of one name the third is not left out where two were there.
  [[nodiscard]] bool leavesOut(const EMU3DirectoryPtr &folder, const std::string &name);
  /// The files that a new one of this name replaces. The first that asks gets all of them.
  [[nodiscard]] std::vector<EMU3FilePtr> takeReplaced(const EMU3DirectoryPtr &folder,
                                                      const std::string &name);

private:
  using ByName = std::unordered_map<std::string, std::vector<EMU3FilePtr>>;
  [[nodiscard]] std::vector<EMU3FilePtr> &filesOf(const EMU3DirectoryPtr &folder, const std::string &name);

  const ExistingFile existing_;
  std::unordered_map<EMU3DirectoryPtr, ByName> folders_; ///< as they were when first asked for
};

/// What a name is once an entry has it; `name` where no entry can.
[[nodiscard]] std::string nameOnceStored(const Volume &volume, const std::string &name);

} // namespace tessary
