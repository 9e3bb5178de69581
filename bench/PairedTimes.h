#pragma once

#include "bench/Median.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <vector>

namespace tessary::bench {

/// Runs a piece of work and the plain copy it is compared with by turns, so that both meet the same
/// load of the machine, and reports the medians: `ours_us`, `copy_us`, `ratio` = ours / copy. `prepare` runs
/// before each pair and is not timed. The benchmark needs UseManualTime().
class PairedTimes {
public:
  template <typename Work, typename Copy>
  void measure(benchmark::State &state, const Work &work, const Copy &copy) {
    measure(state, work, copy, [] {});
  }
  template <typename Work, typename Copy, typename Prepare>
  void measure(benchmark::State &state, const Work &work, const Copy &copy, const Prepare &prepare) {
    for (auto _ : state) {
      prepare();
      copyTimes_.push_back(secondsOf(copy));
      workTimes_.push_back(secondsOf(work));
      state.SetIterationTime(workTimes_.back());
    }
    const double ours = median(workTimes_);
    const double plain = median(copyTimes_);
    state.counters["ours_us"] = ours * 1e6;
    state.counters["copy_us"] = plain * 1e6;
    state.counters["ratio"] = ours / plain;
  }

private:
  template <typename Call> static double secondsOf(const Call &call) {
    const auto begin = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  }

  std::vector<double> workTimes_;
  std::vector<double> copyTimes_;
};

} // namespace tessary::bench
