#include "tests/durability/CutCount.h"

#include "tests/durability/PowerCuts.h"
#include "tests/support/AskedNumber.h"

#include <algorithm>
#include <utility>

namespace tessary::test {
namespace {

std::string faultOfMedium(const PowerCuts &cuts, const StateJudge &judge, bool isDone) {
  if (cuts.earlyReport() != 0)
    return "report " + std::to_string(cuts.earlyReport()) + " came before its bytes were on the medium";
  if (!isDone) return "";
  const Bytes &medium = cuts.medium(cuts.spans() - 1);
  if (std::string fault = judge.faultWhenDone(medium); !fault.empty()) return fault;
  const auto [there, wanted] = std::mismatch(medium.begin(), medium.end(), cuts.image().begin());
  if (there == medium.end()) return "";
  const auto at = static_cast<std::uint64_t>(there - medium.begin());
  return "done, but block " + std::to_string(at / kBlockBytes) + " is not on the medium from its byte " +
         std::to_string(at % kBlockBytes) + " on";
}

// Every other image is an extreme one, as long as there are any.
Bytes imageOf(const PowerCuts &cuts, std::size_t span, std::size_t pageBytes, std::uint32_t number,
              Random &random) {
  if (number % 2 == 0 && number / 2 < cuts.extremes(span, pageBytes))
    return cuts.extreme(span, pageBytes, number / 2);
  return cuts.drawn(span, pageBytes, random);
}

/// Judges the cuts of one span.
void countSpan(CutCount &count, const PowerCuts &cuts, std::size_t span, const StateJudge &judge,
               bool isAfterAll, std::uint32_t seed) {
  const std::uint32_t states = cuts.isOpen(span) ? askedNumber("TESSARY_STATES", 80) : 1;
  for (std::uint32_t number = 0; number < states; ++number) {
    Random random(seed * 7919 + static_cast<std::uint32_t>(span) * 104729 + number);
    const std::size_t pageBytes = number % 2 == 0 ? 512 : 4096;
    const Bytes state = imageOf(cuts, span, pageBytes, number / 2, random);
    const std::string fault = isAfterAll ? judge.faultWhenDone(state) : judge.faultOf(state);
    ++count.states;
    if (fault.empty() || count.faulty++ != 0) continue;
    count.firstFault = "after " + std::to_string(span) + " of " + std::to_string(count.barriers) +
                       " barriers, pages of " + std::to_string(pageBytes) + ", state " +
                       std::to_string(number) + " of seed " + std::to_string(seed) + ": " + fault;
  }
}

CutCount countWithoutStates(const PowerCuts &cuts, const StateJudge &judge, bool isDone) {
  CutCount count;
  count.barriers = cuts.spans() - 1;
  count.faultOfMedium = faultOfMedium(cuts, judge, isDone);
  return count;
}

} // namespace

std::string CutCount::faults() const {
  std::string text;
  if (faulty > 0)
    text = std::to_string(faulty) + " of " + std::to_string(states) +
           " states are bad, the first: " + firstFault;
  if (!faultOfMedium.empty()) text += (text.empty() ? "" : "; ") + faultOfMedium;
  return text;
}

CutCount countCuts(std::vector<Moment> moments, const StateJudge &judge, bool isDone, std::uint32_t seed) {
  const PowerCuts cuts(std::move(moments));
  CutCount count = countWithoutStates(cuts, judge, isDone);
  for (std::size_t span = 0; span < cuts.spans(); ++span)
    countSpan(count, cuts, span, judge, isDone && span + 1 == cuts.spans(), seed);
  return count;
}

CutCount countCutsFrom(std::size_t barrier, std::vector<Moment> moments, const StateJudge &judge,
                       bool isDone) {
  const PowerCuts cuts(std::move(moments));
  CutCount count = countWithoutStates(cuts, judge, isDone);
  for (std::size_t span = barrier; span < cuts.spans() && count.faulty == 0; ++span)
    countSpan(count, cuts, span, judge, isDone && span + 1 == cuts.spans(), 1);
  return count;
}

} // namespace tessary::test
