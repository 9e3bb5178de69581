#pragma once

#include "tests/durability/Asked.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace tessary::test {

/// Judges what a power cut left.
class StateJudge {
public:
  StateJudge() = default;
  virtual ~StateJudge() = default;
  StateJudge(const StateJudge &) = delete;
  StateJudge &operator=(const StateJudge &) = delete;

  /// What is wrong; empty when nothing is.
  [[nodiscard]] virtual std::string faultOf(const Bytes &state) const = 0;
  /// The same of what is on the medium once all of it was reported as done: then all of it is there.
  [[nodiscard]] virtual std::string faultWhenDone(const Bytes &state) const = 0;
};

/// Judges an image that a power cut left, by its bytes alone: nothing is lost, nothing half there.
///
/// - What was not to be touched is there: entry, contents, marks. A folder may have grown.
/// - What was moved is in one place or in both, whole, with its marks.
/// - What is new, or was deleted, is there whole, with its marks, or not at all.
/// - What was renamed has one name or the other.
/// - Nothing else is there, no two files have one block, and a folder's new block holds new entries alone.
class Judge final : public StateJudge {
public:
  /// `before` is on the medium when the volume is asked.
  Judge(const Bytes &before, Asked asked);

  [[nodiscard]] std::string faultOf(const Bytes &state) const override { return faultOf(state, {}); }
  [[nodiscard]] std::string faultWhenDone(const Bytes &state) const override;
  /// The same where of the new files those with these indices must be there.
  [[nodiscard]] std::string faultOf(const Bytes &state, const std::set<std::size_t> &newFiles) const;

private:
  class Look;
  void addFoldersBack();
  void addFolderBack(std::uint64_t block);

  const Bytes before_;
  const ImageReading was_;
  const Asked asked_;
  std::map<Place, RawEntry> back_; ///< entries inside of folders that are to be brought back
};

/// Judges two images, one behind the other: things go from the first to the second. Of each file that is gone
/// from the first, the new one of the second must be there.
class PairJudge final : public StateJudge {
public:
  /// `newFile`: for a place of the first, the index of the second's new file.
  PairJudge(const Bytes &before, const Asked &asked, const Bytes &otherBefore, const Asked &otherAsked,
            std::map<Place, std::size_t> newFile)
      : from_(before, asked), to_(otherBefore, otherAsked), size_(before.size()), was_(before),
        newFile_(std::move(newFile)) {}

  [[nodiscard]] std::string faultOf(const Bytes &state) const override;
  [[nodiscard]] std::string faultWhenDone(const Bytes &state) const override;

private:
  const Judge from_;
  const Judge to_;
  const std::size_t size_;
  const ImageReading was_;
  const std::map<Place, std::size_t> newFile_;
};

} // namespace tessary::test
