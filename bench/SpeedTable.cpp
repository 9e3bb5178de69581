#include "bench/SpeedTable.h"

#include "bench/Median.h"

#include <cstdio>
#include <vector>

namespace tessary::bench {
namespace {

constexpr std::size_t kPairs = 15;

const char *verdict(double value, double aim) {
  return value <= aim ? "" : "  missed";
}

} // namespace

void compare(const Comparison &comparison) {
  std::vector<double> ours, others, ratios;
  for (std::size_t pair = 0; pair <= kPairs; ++pair) {
    comparison.prepare();
    const double own = comparison.ours();
    comparison.prepare();
    const double other = comparison.other();
    if (pair == 0) continue; // the first pair only brings programs and files into memory
    ours.push_back(own);
    others.push_back(other);
    ratios.push_back(own / other);
  }
  const double ratio = median(ratios);
  std::printf("%-42s %-36s %10.3f %10.3f %7.2f %6.2f%s\n", comparison.work.c_str(), comparison.beside.c_str(),
              median(ours) * 1e3, median(others) * 1e3, ratio, comparison.aim,
              verdict(ratio, comparison.aim));
  std::fflush(stdout);
}

void printMemory(const std::string &work, double mebibytes, double aim) {
  std::printf("%-42s %-36s %6.1f MiB %10s %7s %3.0f MiB%s\n", work.c_str(), "", mebibytes, "", "", aim,
              verdict(mebibytes, aim));
}

void printLeftOut(const std::string &work, const std::string &beside, const std::string &reason) {
  std::printf("%-42s %-36s left out: %s\n", work.c_str(), beside.c_str(), reason.c_str());
}

void printHeading() {
  std::printf("%-42s %-36s %10s %10s %7s %6s\n", "work", "beside", "ours ms", "other ms", "ratio", "aim");
}

} // namespace tessary::bench
