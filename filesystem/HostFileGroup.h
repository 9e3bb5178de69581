#pragma once

#include "filesystem/ItemStep.h"
#include "filesystem/NewHostFile.h"
#include "tessary/EMU3Error.h"
#include "tessary/ExportNames.h"
#include "tessary/ExportTargets.h"
#include "tessary/ItemsWatcher.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessary {

class VolumeRules;

/// The parts, one after another, of a host file.
using HostFileParts = std::vector<std::span<const std::uint8_t>>;

/// Where a result goes on the host.
struct HostTarget {
  std::string folder;                   ///< empty for the current one
  std::optional<HostName> name{};       ///< in that folder; none where the path was asked for
  std::string path{};                   ///< the path that the result gets
  std::optional<std::uint64_t> bytes{}; ///< of a file, once it has begun
  /// The error where it cannot be written; none for the host's own.
  std::optional<EngineError> failure{};
  /// What becomes of it where its name is there; none: what the export options say.
  std::optional<ExistingFile> existing{};
  bool isLeftOut = false; ///< since its name is there
};

/// Host files that are written together: the contents of all are on the medium before the first gets its
/// name, and the names are before any is done. On failure an earlier file is untouched and nothing is left
/// behind; where the host can make files without a name, a kill leaves nothing either.
class HostFileGroup final : public StepGroup {
public:
  enum class Mode {
    writing,
    trial, ///< finds out whether it could be written, and leaves the host as it is
  };

  /// By the rules of the mount, never over a mounted image. Both outlive the group.
  HostFileGroup(const VolumeRules &rules, ExportTargets &targets, Mode mode = Mode::writing)
      : rules_(rules), targets_(targets), mode_(mode) {}

  /// Writes a file that has no name yet, or leaves it out, where its target says so. The target, which
  /// outlives the completion, gets its path. False with the error.
  [[nodiscard]] bool beginFile(HostTarget &target, const HostFileParts &parts, EMU3Error *error);
  /// Makes a folder, or takes one that is there; not what a link leads to.
  [[nodiscard]] bool beginFolder(HostTarget &target, EMU3Error *error);

  void complete() override;
  [[nodiscard]] const std::optional<EMU3Error> &failure(std::size_t index) const override {
    return ended_[index].error;
  }
  [[nodiscard]] std::size_t size() const override { return begun_.size(); }

  /// One file by itself, to `path`.
  [[nodiscard]] static bool writeOne(const VolumeRules &rules, const std::string &path,
                                     const HostFileParts &parts, EMU3Error *error);

private:
  struct Begun {
    HostTarget *target = nullptr;
    NewHostFile file{}; ///< none for a folder
    bool isFolder = false;
    std::optional<EMU3Error> error{};
  };

  /// Gives the target its path; returns what was seen to stand there.
  NewHostFile::Standing choosePath(HostTarget &target);
  [[nodiscard]] bool mayWrite(const std::string &path, EMU3Error *error) const;
  [[nodiscard]] NewHostFile::Earlier earlier() const;
  /// Whether the target's folder is one that this trial would have made.
  [[nodiscard]] bool isInFolderToBe(const HostTarget &target) const;
  [[nodiscard]] bool makeFolder(const HostTarget &target, EMU3Error *error) const;
  [[nodiscard]] bool write(Begun &begun, NewHostFile::Standing standing, const HostFileParts &parts,
                           EMU3Error *error);
  void publish(Begun &begun);
  [[nodiscard]] bool mayTakeOver(Begun &begun, EMU3Error *error);
  void flushFolders();

  const VolumeRules &rules_;
  ExportTargets &targets_;
  const Mode mode_;
  std::vector<Begun> begun_;
  std::vector<Begun> ended_; ///< of the last completion
};

} // namespace tessary
