#include "filesystem/RunCover.h"

#include <algorithm>

namespace tessary {
namespace {

constexpr std::uint64_t kPlacesOfLowestNode = 16;

} // namespace

void RunCover::beginMany(std::uint64_t count) {
  isSummedUp_ = false;
  count_ = count;
  lowest_ = 1;
  while (lowest_ * kPlacesOfLowestNode < count)
    lowest_ *= 2;
  nodes_.assign(2 * lowest_, {});
  runs_.assign(count + 1, 0);
  weights_.assign(count + 1, 0);
}

void RunCover::endMany() {
  isSummedUp_ = true;
  for (std::size_t node = nodes_.size() - 1; node > 0; --node)
    update(node);
}

void RunCover::setWeight(std::uint64_t place, std::uint64_t weight) {
  if (weights_[place] == weight) return;
  weights_[place] = weight;
  if (isSummedUp_) updateFrom(nodeOf(place));
}

std::size_t RunCover::nodeOf(std::uint64_t place) const {
  return lowest_ + (place - 1) / kPlacesOfLowestNode;
}

void RunCover::updateFrom(std::size_t node) {
  for (; node > 0; node /= 2)
    update(node);
}

// The lowest nodes sum up their places; every other node sums up the two below it.
void RunCover::update(std::size_t node) {
  Node &own = nodes_[node];
  if (own.runs > 0) {
    own.open = 0;
    own.weight = 0;
  } else if (node >= lowest_) {
    sumUpPlaces(node);
  } else {
    own.open = nodes_[2 * node].open + nodes_[2 * node + 1].open;
    own.weight = nodes_[2 * node].weight + nodes_[2 * node + 1].weight;
  }
}

void RunCover::sumUpPlaces(std::size_t node) {
  Node &own = nodes_[node];
  own.open = 0;
  own.weight = 0;
  const std::uint64_t first = (node - lowest_) * kPlacesOfLowestNode + 1;
  const std::uint64_t end = std::min(first + kPlacesOfLowestNode, count_ + 1);
  for (std::uint64_t place = first; place < end; ++place) {
    if (runs_[place] > 0) continue;
    ++own.open;
    own.weight += weights_[place];
  }
}

// Takes the fewest nodes that make up the run: at each level at most one at its left end and one at its
// right. What is left at the two ends is counted place by place. All nodes that sum these up lie above the
// two ends of the run.
void RunCover::change(std::uint64_t first, std::uint64_t last, int runs) {
  last = std::min(last, count_);
  if (first > last) return;
  const auto changePlaces = [&](std::uint64_t from, std::uint64_t to) {
    for (std::uint64_t place = from; place <= to; ++place)
      runs_[place] += static_cast<std::uint32_t>(runs);
  };
  const std::size_t firstNode = nodeOf(first);
  const std::size_t lastNode = nodeOf(last);
  const std::uint64_t firstBehind = (firstNode - lowest_ + 1) * kPlacesOfLowestNode + 1;
  if (firstNode == lastNode) {
    changePlaces(first, last);
  } else {
    changePlaces(first, firstBehind - 1);
    changePlaces((lastNode - lowest_) * kPlacesOfLowestNode + 1, last);
    for (std::size_t left = firstNode + 1, end = lastNode; left < end; left /= 2, end /= 2) {
      if (left % 2 != 0) changeNode(left++, runs);
      if (end % 2 != 0) changeNode(--end, runs);
    }
  }
  if (!isSummedUp_) return;
  updateFrom(firstNode);
  updateFrom(lastNode);
}

void RunCover::changeNode(std::size_t node, int runs) {
  nodes_[node].runs += static_cast<std::uint32_t>(runs);
  if (isSummedUp_) update(node);
}

bool RunCover::isCovered(std::uint64_t place) const {
  if (runs_[place] > 0) return true;
  for (std::size_t node = nodeOf(place); node > 0; node /= 2) {
    if (nodes_[node].runs > 0) return true;
  }
  return false;
}

std::uint64_t RunCover::nextUncovered(std::uint64_t from) const {
  return next(1, 0, lowest_, from);
}

// `begin` is the first of the `size` lowest nodes that make up the node, counted from 0.
std::uint64_t RunCover::next(std::size_t node, std::uint64_t begin, std::uint64_t size,
                             std::uint64_t from) const {
  if (nodes_[node].open == 0 || (begin + size) * kPlacesOfLowestNode < from) return count_ + 1;
  if (size == 1) {
    const std::uint64_t end = std::min((begin + 1) * kPlacesOfLowestNode, count_);
    std::uint64_t place = std::max(begin * kPlacesOfLowestNode + 1, from);
    while (place <= end && runs_[place] > 0)
      ++place;
    return place <= end ? place : count_ + 1;
  }
  const std::uint64_t found = next(2 * node, begin, size / 2, from);
  return found <= count_ ? found : next(2 * node + 1, begin + size / 2, size / 2, from);
}

} // namespace tessary
