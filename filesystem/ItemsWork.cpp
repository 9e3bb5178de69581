#include "filesystem/ItemsWork.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace tessary {
namespace {

bool isForLackOfRoom(const EMU3Error &error) {
  return error.domain == kEngineErrorDomain &&
         (error.code == kErrorOutOfSpace || error.code == kErrorDirectoryFull) &&
         error.message != engineError(EngineError::fileTooLarge).message;
}

/// A group of steps on its way to the medium.
class GroupInHand final {
public:
  /// For a step and those that join it.
  explicit GroupInHand(const ItemStep &first) : group_(first.startGroup()) {}

  // A step that finds no room is tried again once the others of the group are done: they may have made some.
  void begin(ItemTurn *turn) {
    EMU3Error error;
    bool isBegun = turn->step->begin(*group_, &error);
    if (!isBegun && group_->size() > 0 && isForLackOfRoom(error)) {
      complete();
      isBegun = turn->step->begin(*group_, &error);
    }
    if (!isBegun) turn->error = std::move(error);
    if (group_->size() > begun_.size()) begun_.push_back(turn); // otherwise it is done already
  }

  void complete() {
    group_->complete();
    for (std::size_t i = 0; i < begun_.size(); ++i)
      begun_[i]->error = group_->failure(i);
    begun_.clear();
  }

private:
  const std::unique_ptr<StepGroup> group_;
  std::vector<ItemTurn *> begun_;
};

// What is read of the host and of other volumes is read before the group begins.
void prepare(std::vector<ItemTurn> *turns) {
  for (ItemTurn &turn : *turns) {
    EMU3Error error;
    if (!turn.step->prepare(&error)) turn.error = std::move(error);
  }
}

// False when it was stopped.
bool doSteps(std::vector<ItemTurn> *turns, const ItemsWatcher &watcher) {
  std::unique_ptr<GroupInHand> group;
  std::size_t taken = 0;
  for (ItemTurn &turn : *turns) {
    if (watcher.isToStop && watcher.isToStop()) break;
    ++taken;
    if (watcher.began) watcher.began(turn.end.item);
    if (turn.error) continue;
    if (!group) group = std::make_unique<GroupInHand>(*turn.step);
    group->begin(&turn);
  }
  if (group) group->complete();
  const bool isWhole = taken == turns->size();
  turns->erase(turns->begin() + static_cast<std::ptrdiff_t>(taken), turns->end());
  return isWhole;
}

// The turns of the items for which something is left to do, with the step that does it.
std::vector<ItemTurn *> takeRest(const std::vector<ItemTurn *> &turns) {
  std::vector<ItemTurn *> rest;
  for (ItemTurn *turn : turns) {
    turn->step->ended(turn->error, &turn->end);
    if (turn->error) continue;
    std::unique_ptr<ItemStep> next = turn->step->rest();
    turn->step = std::move(next);
    if (turn->step) rest.push_back(turn);
  }
  return rest;
}

// These steps belong to items that are in progress, so a stop does not reach them.
void doRest(const std::vector<ItemTurn *> &rest) {
  std::unique_ptr<GroupInHand> group;
  const ItemStep *first = nullptr;
  for (ItemTurn *turn : rest) {
    if (first == nullptr || !turn->step->joins(*first)) {
      if (group) group->complete();
      group.reset(); // one group at a time holds a volume
      first = turn->step.get();
      group = std::make_unique<GroupInHand>(*first);
    }
    group->begin(turn);
  }
  if (group) group->complete();
}

} // namespace

bool doTogether(std::vector<ItemTurn> *turns, const ItemsWatcher &watcher) {
  prepare(turns);
  const bool isWhole = doSteps(turns, watcher);
  std::vector<ItemTurn *> ended;
  for (ItemTurn &turn : *turns)
    ended.push_back(&turn);
  for (ended = takeRest(ended); !ended.empty(); ended = takeRest(ended))
    doRest(ended);
  return isWhole;
}

} // namespace tessary
