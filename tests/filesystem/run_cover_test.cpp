#include "filesystem/RunCover.h"
#include "tests/writing/Random.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace tessary::test {
namespace {

TEST(RunCover, AgreesWithCountingEachPlace) {
  Random random(7);
  for (const std::uint64_t count : {0U, 1U, 2U, 3U, 8U, 15U, 16U, 17U, 21U, 33U, 64U, 300U}) {
    RunCover cover;
    cover.beginMany(count);
    cover.endMany();
    std::vector<int> runsAt(count + 1);
    std::vector<std::uint64_t> weights(count + 1);
    std::vector<std::pair<std::uint64_t, std::uint64_t>> runs;
    const auto apply = [&](std::pair<std::uint64_t, std::uint64_t> run, int change) {
      change > 0 ? cover.add(run.first, run.second) : cover.remove(run.first, run.second);
      for (std::uint64_t place = run.first; place <= run.second && place <= count; ++place)
        runsAt[place] += change;
    };
    for (int step = 0; step < 200; ++step) {
      if (count > 0 && random.chance(30)) {
        const std::uint64_t place = random.between(1, count);
        weights[place] = random.below(100);
        cover.setWeight(place, weights[place]);
      } else if (!runs.empty() && random.chance(50)) {
        const std::size_t which = random.below(runs.size());
        apply(runs[which], -1);
        runs.erase(runs.begin() + static_cast<std::ptrdiff_t>(which));
      } else { // also runs without a place, and behind the row
        runs.emplace_back(random.between(1, count + 3), random.below(count + 70));
        apply(runs.back(), 1);
      }
      std::uint64_t weight = 0;
      std::uint64_t next = count + 1;
      for (std::uint64_t place = count; place > 0; --place) {
        ASSERT_EQ(cover.isCovered(place), runsAt[place] > 0);
        if (runsAt[place] == 0) {
          weight += weights[place];
          next = place;
        }
        ASSERT_EQ(cover.nextUncovered(place), next);
      }
      ASSERT_EQ(cover.uncoveredWeight(), weight);
      ASSERT_EQ(cover.nextUncovered(count + 1), count + 1);
    }
  }
}

TEST(RunCover, ManyChangesAtOnceComeToTheSameAsOneByOne) {
  Random random(11);
  for (const std::uint64_t count : {0U, 1U, 3U, 8U, 21U, 64U, 1000U}) {
    RunCover one;
    RunCover many;
    one.beginMany(count);
    one.endMany();
    many.beginMany(70); // of which nothing is left
    many.endMany();
    many.add(2, 50);
    many.setWeight(60, 5);
    many.beginMany(count);
    std::vector<std::pair<std::uint64_t, std::uint64_t>> runs;
    for (int step = 0; step < 100; ++step) {
      if (count > 0) {
        const std::uint64_t place = random.between(1, count);
        const std::uint64_t weight = random.below(100);
        one.setWeight(place, weight);
        many.setWeight(place, weight);
      }
      const std::uint64_t first = random.between(1, count + 3);
      runs.emplace_back(first, first + random.below(5));
      one.add(runs.back().first, runs.back().second);
      many.add(runs.back().first, runs.back().second);
    }
    many.endMany();
    for (const auto &[first, last] : runs) {
      ASSERT_EQ(many.uncoveredWeight(), one.uncoveredWeight());
      for (std::uint64_t place = 1; place <= count; ++place)
        ASSERT_EQ(many.nextUncovered(place), one.nextUncovered(place));
      one.remove(first, last);
      many.remove(first, last);
    }
    ASSERT_EQ(many.uncoveredWeight(), one.uncoveredWeight());
  }
}

} // namespace
} // namespace tessary::test
