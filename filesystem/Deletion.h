#pragma once

#include "filesystem/VolumeChange.h"
#include "filesystem/VolumeRules.h"
#include "tessary/EMU3File.h"

#include <vector>

namespace tessary {

/// A change that clears entries and then the marks of what they led to.
class Deletion : public VolumeChange {
public:
  [[nodiscard]] bool freeOld(Volume &volume, EMU3Error *error) TESSARY_REQUIRES(volume.lock) final;
  void takeBackBegun(Volume &) final {}
  void takeBackEntered(Volume &) final {}

protected:
  /// The files whose entries were cleared.
  [[nodiscard]] std::vector<EMU3FileFields> *erased() { return &erased_; }
  /// Not all entries could be cleared: the deletion fails, after the marks of the cleared ones were.
  void isIncomplete() { isComplete_ = false; }

private:
  std::vector<EMU3FileFields> erased_;
  bool isComplete_ = true;
};

} // namespace tessary
