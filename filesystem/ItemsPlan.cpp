#include "filesystem/ItemsPlan.h"

#include <utility>

namespace tessary {

std::size_t ItemsPlan::addItem(Item item) {
  ++progress_.items;
  progress_.bytes += item.bytes;
  items_.push_back({std::move(item)});
  return items_.size() - 1;
}

void ItemsPlan::addStep(std::size_t item, std::unique_ptr<ItemStep> step, std::uint64_t bytes) {
  ++items_[item].stepsLeft;
  steps_.push_back({item, std::move(step), bytes});
}

std::size_t ItemsPlan::add(Item item, std::unique_ptr<ItemStep> step) {
  const std::uint64_t bytes = item.bytes;
  const std::size_t number = addItem(std::move(item));
  addStep(number, std::move(step), bytes);
  return number;
}

std::vector<ItemTurn> ItemsPlan::takeGroup(std::size_t mostSteps, std::uint64_t mostBytes) {
  std::vector<ItemTurn> group;
  std::uint64_t bytes = 0;
  while (!steps_.empty() && group.size() < mostSteps) {
    Step &step = steps_.front();
    if (items_[step.item].stepsLeft > 0) {
      const bool isFirst = group.empty();
      if (!isFirst && (bytes + step.bytes > mostBytes || !step.step->joins(*group.front().step))) break;
      bytes += step.bytes;
      group.push_back({std::move(step.step), step.bytes});
      group.back().end.item = step.item;
    }
    steps_.pop_front();
  }
  return group;
}

bool ItemsPlan::isItemOver(const ItemTurn &turn) {
  Planned &planned = items_[turn.end.item];
  if (turn.error)
    planned.stepsLeft = 0;
  else if (planned.stepsLeft > 0)
    --planned.stepsLeft;
  if (planned.stepsLeft > 0) return false;
  ++progress_.itemsEnded;
  progress_.bytesDone += planned.item.bytes;
  return true;
}

} // namespace tessary
