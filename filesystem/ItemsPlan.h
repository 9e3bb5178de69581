#pragma once

#include "filesystem/ItemStep.h"
#include "tessary/ItemsWatcher.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace tessary {

/// A step whose turn it is.
struct ItemTurn {
  std::unique_ptr<ItemStep> step;
  std::uint64_t bytes = 0; ///< of contents
  std::optional<EMU3Error> error{};
  ItemEnd end{}; ///< of its item; complete when the item has no step left
};

/// The items of an operation, and the steps that they take, in order.
class ItemsPlan final {
public:
  /// Adds an item and returns its number; a step of it must be added next.
  std::size_t addItem(Item item);
  /// `bytes` are those that the step reads or writes.
  void addStep(std::size_t item, std::unique_ptr<ItemStep> step, std::uint64_t bytes = 0);
  /// Adds an item that takes one step, which reads or writes all its bytes.
  std::size_t add(Item item, std::unique_ptr<ItemStep> step);

  [[nodiscard]] const Item &item(std::size_t number) const { return items_[number].item; }
  [[nodiscard]] const ItemsProgress &progress() const { return progress_; }
  [[nodiscard]] bool isDone() const { return steps_.empty(); }

  /// The next steps that go to the medium together: at most `mostSteps` with at most `mostBytes` in all; at
  /// least one, unless all is done. Steps of items that have ended are left out.
  [[nodiscard]] std::vector<ItemTurn> takeGroup(std::size_t mostSteps, std::uint64_t mostBytes);
  /// Says that a step is over. Returns whether its item is too: it failed, or has no step left.
  [[nodiscard]] bool isItemOver(const ItemTurn &turn);

private:
  struct Planned {
    Item item;
    std::size_t stepsLeft = 0;
  };
  struct Step {
    std::size_t item = 0;
    std::unique_ptr<ItemStep> step;
    std::uint64_t bytes = 0;
  };

  std::deque<Planned> items_;
  std::deque<Step> steps_;
  ItemsProgress progress_;
};

} // namespace tessary
