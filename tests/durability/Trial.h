#pragma once

#include "tests/durability/BarrierRecorder.h"
#include "tests/durability/CutCount.h"
#include "tests/durability/Judge.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessary::test {

/// Volumes that can be asked for something, once.
struct Attempt {
  std::vector<std::string> images; ///< paths
  std::shared_ptr<const StateJudge> judge;
  /// Asks; whether all of it was done. The recorder may be told of what is reported.
  std::function<bool(BarrierRecorder &recorder)> ask;
  /// What failed; as the program says it.
  std::function<std::string()> complaint;
  /// Whether the volumes refuse further changes, where that can be asked.
  std::function<bool()> isReadOnly = [] { return true; };
};
using Attempts = std::function<Attempt()>;

/// Asks for it while the barriers are recorded, and judges what power cuts leave.
class Trial final {
public:
  explicit Trial(Attempt attempt) : attempt_(std::move(attempt)), recorder_(attempt_.images) {}

  void leaveOut(std::size_t barrier, Omission how) { recorder_.leaveOut(barrier, how); }
  [[nodiscard]] CutCount run();
  /// The same for the cuts from the time before this barrier on, up to the first fault.
  [[nodiscard]] CutCount runFrom(std::size_t barrier);
  /// For each barrier, whether it is in use.
  [[nodiscard]] std::vector<bool> barriers();

  [[nodiscard]] bool isDone() const { return isDone_; }
  [[nodiscard]] const Attempt &attempt() const { return attempt_; }

private:
  void ask() { isDone_ = attempt_.ask(recorder_); }

  const Attempt attempt_;
  BarrierRecorder recorder_;
  bool isDone_ = false;
};

// What must hold; each is tried on new attempts of one kind.

/// Nothing is lost, whatever the moment of the cut.
void expectNothingIsLost(const Attempts &attempts);
/// Where a barrier is left out, a cut can lose something: every barrier is needed.
void expectEachBarrierIsNeeded(const Attempts &attempts);
/// Where two barriers become one, the order between the steps on both sides is gone, and a cut can lose
/// something: that is so for at least `ordered` pairs.
void expectOrderIsNeeded(const Attempts &attempts, std::size_t ordered);
/// Where the medium refuses a barrier, the program says so, tries no flush again, and nothing is lost.
void expectRefusalsLoseNothing(const Attempts &attempts);

} // namespace tessary::test
