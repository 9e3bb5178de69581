#pragma once

#include "filesystem/ItemStep.h"
#include "filesystem/VolumeChange.h"
#include "tessary/EMU3Error.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tessary {

/// Changes of one volume that go to the medium together: they share the barriers, and each change's own order
/// holds. While a group lives, no other change of the image begins; readers are kept out for one step of one
/// change at a time, and never while the group waits for the medium.
///
///     ChangeGroup group(volume, path);
///     for (VolumeChange &change : changes)
///       group.begin(change, &error);
///     group.complete();
///
/// Bare, each change goes through all its steps when it begins, and nothing is waited for.
class ChangeGroup final : public StepGroup {
public:
  /// `path` leads to the image; it must still do so when a change begins. The volume outlives the group.
  ChangeGroup(Volume &volume, std::string path);
  /// Completes what has begun.
  ~ChangeGroup() override;

  /// Begins a change, which outlives the group's completion. False, with nothing changed, where it is refused
  /// or fails.
  [[nodiscard]] bool begin(VolumeChange &change, EMU3Error *error);
  void complete() override;
  [[nodiscard]] const std::optional<EMU3Error> &failure(std::size_t index) const override {
    return ended_[index];
  }
  [[nodiscard]] std::size_t size() const override { return changes_.size(); }

  /// One change by itself, from beginning to end.
  [[nodiscard]] static bool run(Volume &volume, const std::string &path, VolumeChange &change,
                                EMU3Error *error);

private:
  using Step = bool (VolumeChange::*)(Volume &, EMU3Error *);
  using TakingBack = void (VolumeChange::*)(Volume &);

  [[nodiscard]] bool runAtOnce(VolumeChange &change, EMU3Error *error) TESSARY_REQUIRES(volume_.lock);
  void runStep(Step step);
  [[nodiscard]] bool waitForMedium(TakingBack takeBack);
  void lookForSharedBlocks() TESSARY_REQUIRES_SHARED(volume_.lock);
  void followSharedBlocks();

  Volume &volume_;
  const std::string path_;
  std::vector<VolumeChange *> changes_;
  std::vector<std::optional<EMU3Error>> ended_;
  bool metSharedBlocks_ = false; ///< folders have named one block since the last completion
};

} // namespace tessary
