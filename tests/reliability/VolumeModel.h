#pragma once

#include "tessary/EMU3Filesystem.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tessary::test {

/// A file as the tests know it: its name, and its bytes by the seed and length they were made from.
struct ModelFile {
  std::string name;
  std::uint32_t seed = 0;
  std::uint32_t length = 0;
  auto operator<=>(const ModelFile &) const = default;
};

/// One change of a volume, as a line of a journal.
struct ModelChange {
  enum class Kind { importFile, copy, move, rename, remove, makeFolder, removeFolder };
  Kind kind = Kind::importFile;
  std::string folder;  ///< where the file is or goes; the folder made or removed
  std::string target;  ///< folder that a copy or move goes to
  ModelFile file;      ///< the file changed
  std::string newName; ///< of a rename
};

/// Folders of the root by name, the root itself as "/", each with the files it holds.
struct VolumeModel {
  std::map<std::string, std::multiset<ModelFile>> folders;

  /// The state after the change.
  VolumeModel after(const ModelChange &change) const;
  bool operator==(const VolumeModel &) const = default;
};

/// Reads a volume into a model, telling each file's seed and length from its bytes. A file whose bytes are
/// none of these tests' is named with seed 0 and its length, so that a comparison fails on it.
VolumeModel modelOf(EMU3Filesystem &volume);

/// The bytes of a model's file: they begin with seed and length.
std::vector<std::uint8_t> contentsOf(const ModelFile &file);

/// Looks up what the change is about and returns the one operation that makes it. The volume must outlive
/// that. `scratch` is a host folder for what is imported.
std::function<bool()> prepared(const ModelChange &change, EMU3Filesystem &volume, const std::string &scratch);

/// A change that makes sense in the state, drawn with `random`; `serial` makes names and contents unique.
ModelChange drawChange(const VolumeModel &model, std::uint32_t random, std::uint32_t serial);

std::string lineOf(const ModelChange &change);
std::optional<ModelChange> changeOf(const std::string &line);

} // namespace tessary::test
