#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessary {

/// Which places of a row are covered by runs. Any number of runs may cover a place, and a run may be as long
/// as the row: each question and each change costs the logarithm of the row's length. Places count from 1,
/// and are fewer than 2^32.
///
/// Places have weights, and those that no run covers are summed up.
class RunCover final {
public:
  /// Forgets everything: so many places, without runs and without weight. Nothing may be asked until
  /// endMany(), which sums up once for all changes made between the two.
  void beginMany(std::uint64_t count);
  void endMany();

  // A run from `first` to `last`; what lies behind the row plays no part. A run is removed with the same two
  // numbers with which it was added.
  void add(std::uint64_t first, std::uint64_t last) { change(first, last, 1); }
  void remove(std::uint64_t first, std::uint64_t last) { change(first, last, -1); }
  void setWeight(std::uint64_t place, std::uint64_t weight);

  [[nodiscard]] bool isCovered(std::uint64_t place) const;
  /// The lowest place from this one on that no run covers; behind the last when there is none.
  [[nodiscard]] std::uint64_t nextUncovered(std::uint64_t from) const;
  /// What the places weigh that no run covers.
  [[nodiscard]] std::uint64_t uncoveredWeight() const { return nodes_[1].weight; }

private:
  /// A part of the row, halved by the two nodes below it. Its figures leave out the runs counted at nodes
  /// above.
  struct Node {
    std::uint32_t runs = 0;   ///< that cover all of it, and not all of the node above
    std::uint32_t open = 0;   ///< places that no run covers
    std::uint64_t weight = 0; ///< of these
  };

  void change(std::uint64_t first, std::uint64_t last, int runs);
  void changeNode(std::size_t node, int runs);
  void update(std::size_t node);
  void updateFrom(std::size_t node);
  void sumUpPlaces(std::size_t node);
  [[nodiscard]] std::size_t nodeOf(std::uint64_t place) const;
  [[nodiscard]] std::uint64_t next(std::size_t node, std::uint64_t begin, std::uint64_t size,
                                   std::uint64_t from) const;

  bool isSummedUp_ = true;
  std::uint64_t count_ = 0;
  std::size_t lowest_ = 1;             ///< the first of the lowest nodes, and their number, a power of 2
  std::vector<Node> nodes_ = {{}, {}}; ///< the uppermost is 1, those below `n` are 2n and 2n + 1
  // By place, from 1. A lowest node stands for several places, so that the nodes take little memory.
  std::vector<std::uint32_t> runs_;    ///< that cover the place, and have an end in its lowest node
  std::vector<std::uint64_t> weights_; ///< whether covered or not
};

} // namespace tessary
