#include "filesystem/RunCover.h"

#include <algorithm>

namespace tessary {

void RunCover::beginMany(std::uint64_t count) {
  isSummedUp_ = false;
  count_ = count;
  size_ = 1;
  while (size_ < count)
    size_ *= 2;
  nodes_.assign(2 * size_, {});
  weights_.assign(size_ + 1, 0);
}

void RunCover::endMany() {
  isSummedUp_ = true;
  for (std::size_t node = nodes_.size() - 1; node > 0; --node)
    update(node);
}

void RunCover::setWeight(std::uint64_t place, std::uint64_t weight) {
  if (weights_[place] == weight) return;
  weights_[place] = weight;
  if (isSummedUp_) updateFrom(size_ + place - 1);
}

void RunCover::updateFrom(std::size_t node) {
  for (; node > 0; node /= 2)
    update(node);
}

// The lowest nodes stand for one place each; every other node sums up the two below it.
void RunCover::update(std::size_t node) {
  Node &own = nodes_[node];
  if (own.runs > 0) {
    own.open = 0;
    own.weight = 0;
  } else if (node >= size_) {
    const std::uint64_t place = node - size_ + 1;
    own.open = place <= count_ ? 1 : 0;
    own.weight = weights_[place];
  } else {
    own.open = nodes_[2 * node].open + nodes_[2 * node + 1].open;
    own.weight = nodes_[2 * node].weight + nodes_[2 * node + 1].weight;
  }
}

// Takes the fewest nodes that make up the run: at each level at most one at its left end and one at its
// right. All nodes that sum these up lie above the two ends of the run.
void RunCover::change(std::uint64_t first, std::uint64_t last, int runs) {
  if (first > last || first > size_) return;
  const std::size_t firstNode = size_ + first - 1;
  const std::size_t lastNode = size_ + std::min(last, size_) - 1;
  for (std::size_t left = firstNode, end = lastNode + 1; left < end; left /= 2, end /= 2) {
    if (left % 2 != 0) changeNode(left++, runs);
    if (end % 2 != 0) changeNode(--end, runs);
  }
  if (!isSummedUp_) return;
  updateFrom(firstNode / 2);
  updateFrom(lastNode / 2);
}

void RunCover::changeNode(std::size_t node, int runs) {
  nodes_[node].runs += static_cast<std::uint32_t>(runs);
  if (isSummedUp_) update(node);
}

bool RunCover::isCovered(std::uint64_t place) const {
  for (std::size_t node = size_ + place - 1; node > 0; node /= 2) {
    if (nodes_[node].runs > 0) return true;
  }
  return false;
}

std::uint64_t RunCover::nextUncovered(std::uint64_t from) const {
  return next(1, 1, size_, from);
}

std::uint64_t RunCover::next(std::size_t node, std::uint64_t begin, std::uint64_t size,
                             std::uint64_t from) const {
  if (nodes_[node].open == 0 || begin + size <= from) return count_ + 1;
  if (size == 1) return begin;
  const std::uint64_t found = next(2 * node, begin, size / 2, from);
  return found <= count_ ? found : next(2 * node + 1, begin + size / 2, size / 2, from);
}

} // namespace tessary
