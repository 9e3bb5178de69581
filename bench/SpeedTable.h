#pragma once

#include <functional>
#include <string>

namespace tessary::bench {

/// One line of the table: a work of ours and another's that it is compared with. Each of the two returns CPU
/// seconds; `prepare` runs before each of them.
struct Comparison {
  std::string work;
  std::string beside;
  double aim = 0; ///< the largest ratio that will do
  std::function<double()> ours;
  std::function<double()> other;
  std::function<void()> prepare = [] {};
};

/// Does both by turns, so that both meet the same load of the machine, and prints the line: the medians,
/// their ratio, the aim.
void compare(const Comparison &comparison);

/// A line that has no counterpart.
void printMemory(const std::string &work, double mebibytes, double aim);
void printLeftOut(const std::string &work, const std::string &beside, const std::string &reason);
void printHeading();

} // namespace tessary::bench
