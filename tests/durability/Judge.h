#pragma once

#include "tests/durability/Asked.h"

#include <map>
#include <string>

namespace tessary::test {

/// Judges an image that a power cut left, by its bytes alone: nothing is lost, nothing half there.
///
/// - What was not to be touched is there: entry, contents, marks. A folder may have grown.
/// - What was moved is in one place or in both, whole, with its marks.
/// - What is new, or was deleted, is there whole, with its marks, or not at all. What was renamed has one
/// name or the
///   other.
/// - Nothing else is there, no two files have one block, and a folder's new block holds nothing but what is
/// new.
class Judge {
public:
  /// `before` is on the medium when the volume is asked.
  Judge(const Bytes &before, Asked asked);

  /// What is wrong; empty when nothing is.
  [[nodiscard]] std::string faultOf(const Bytes &state) const;
  /// The same of what is on the medium once all of it was reported as done: then all of it is there.
  [[nodiscard]] std::string faultWhenDone(const Bytes &state) const;

private:
  class Look;
  void addFoldersBack();
  void addFolderBack(std::uint64_t block);

  const Bytes before_;
  const ImageReading was_;
  const Asked asked_;
  std::map<Place, RawEntry> back_; ///< entries inside of folders that are to be brought back
};

} // namespace tessary::test
