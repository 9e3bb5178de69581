#include "tests/writing/RandomSession.h"

#include <gtest/gtest.h>

namespace tessary::test {
namespace {

void runSessions(std::uint32_t firstSeed, std::uint32_t count, MountRules rules) {
  for (std::uint32_t seed = firstSeed; seed < firstSeed + count && !testing::Test::HasFailure(); ++seed) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "seed " + std::to_string(seed));
    RandomSession(seed, rules).run(25);
  }
}

TEST(VolumeProperties, GuardedImageAndTreeAgreeAfterEveryOperation) {
  runSessions(1, 150, MountRules::guarded);
}

TEST(VolumeProperties, BareImageAndTreeAgreeWhereTheRulesKeepThemTogether) {
  runSessions(10001, 100, MountRules::bare);
}

} // namespace
} // namespace tessary::test
