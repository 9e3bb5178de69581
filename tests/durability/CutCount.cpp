#include "tests/durability/CutCount.h"

#include "tests/durability/PowerCuts.h"
#include "tests/support/AskedNumber.h"

#include <algorithm>

namespace tessary::test {
namespace {

std::string faultOfMedium(const Bytes &medium, const Bytes &image, const Judge &judge) {
  if (std::string fault = judge.faultWhenDone(medium); !fault.empty()) return fault;
  const auto [there, wanted] = std::mismatch(medium.begin(), medium.end(), image.begin());
  if (there == medium.end()) return "";
  const auto at = static_cast<std::uint64_t>(there - medium.begin());
  return "done, but block " + std::to_string(at / kBlockBytes) + " is not on the medium from its byte " +
         std::to_string(at % kBlockBytes) + " on";
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

CutCount countCuts(const std::vector<Moment> &moments, const Judge &judge, bool isDone, std::uint32_t seed) {
  const PowerCuts cuts(moments);
  const std::uint32_t wanted = askedNumber("TESSARY_STATES", 60);
  CutCount count;
  for (std::size_t barrier = 0; barrier + 1 < cuts.spans(); ++barrier)
    count.isInUse.push_back(cuts.endsInUse(barrier));
  for (std::size_t span = 0; span < cuts.spans(); ++span) {
    const bool isAfterAll = isDone && span + 1 == cuts.spans();
    const std::uint32_t states = cuts.isOpen(span) ? wanted : 1;
    for (std::uint32_t number = 0; number < states; ++number) {
      Random random(seed * 7919 + static_cast<std::uint32_t>(span) * 104729 + number);
      const std::size_t pageBytes = number % 2 == 0 ? 512 : 4096;
      const Bytes state = cuts.drawn(span, pageBytes, random);
      const std::string fault = isAfterAll ? judge.faultWhenDone(state) : judge.faultOf(state);
      ++count.states;
      if (fault.empty()) continue;
      if (count.faulty++ == 0)
        count.firstFault = "after " + std::to_string(span) + " of " + std::to_string(count.barriers()) +
                           " barriers, pages of " + std::to_string(pageBytes) + ", state " +
                           std::to_string(number) + " of seed " + std::to_string(seed) + ": " + fault;
    }
  }
  if (isDone) count.faultOfMedium = faultOfMedium(cuts.medium(cuts.spans() - 1), moments.back().image, judge);
  return count;
}

} // namespace tessary::test
