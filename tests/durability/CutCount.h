#pragma once

#include "tests/durability/BarrierRecorder.h"
#include "tests/durability/Judge.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tessary::test {

/// What was found in the images that power cuts leave.
struct CutCount {
  std::uint64_t states = 0; ///< that were judged
  std::uint64_t faulty = 0; ///< of them
  std::size_t barriers = 0;
  std::string firstFault;    ///< of a state
  std::string faultOfMedium; ///< what is wrong with the medium after it all was reported as done

  [[nodiscard]] bool isFaulty() const { return faulty > 0 || !faultOfMedium.empty(); }
  /// Of both kinds; empty when there is none.
  [[nodiscard]] std::string faults() const;
};

/// Makes images for cuts at any time of what was recorded, of pages of 512 and of 4,096 bytes in turn, and
/// judges each. What was reported as done must be on the medium, to the byte; `isDone`: all of it was, at the
/// end. TESSARY_STATES: how many images for the time between two barriers.
CutCount countCuts(std::vector<Moment> moments, const StateJudge &judge, bool isDone, std::uint32_t seed = 1);
/// The same from the time before the barrier with this number on, up to where the first fault is found.
CutCount countCutsFrom(std::size_t barrier, std::vector<Moment> moments, const StateJudge &judge,
                       bool isDone);

} // namespace tessary::test
