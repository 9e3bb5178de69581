#include "app/UndoManager.h"

#include <utility>

namespace tessary {

void UndoManager::setLevelsOfUndo(std::size_t levels) {
  levels_ = levels;
  dropOldest(undoCalls_);
  dropOldest(redoCalls_);
  emit changed();
}

void UndoManager::registerUndo(Call call) {
  redoCalls_.clear();
  push(undoCalls_, std::move(call));
}

void UndoManager::registerCounterpart(Side side, Call call) {
  push(callsOf(side), std::move(call));
}

void UndoManager::registerBelow(Side side, Call call) {
  std::deque<Call> &calls = callsOf(side);
  calls.push_front(std::move(call));
  dropOldest(calls);
  emit changed();
}

void UndoManager::undo() {
  runNewest(undoCalls_, Side::Redo);
}

void UndoManager::redo() {
  runNewest(redoCalls_, Side::Undo);
}

void UndoManager::push(std::deque<Call> &calls, Call call) {
  calls.push_back(std::move(call));
  dropOldest(calls);
  emit changed();
}

void UndoManager::runNewest(std::deque<Call> &calls, Side counterpart) {
  if (calls.empty()) return;
  const Call call = std::move(calls.back());
  calls.pop_back();
  emit changed();
  call(counterpart);
}

void UndoManager::dropOldest(std::deque<Call> &calls) const {
  while (levels_ != 0 && calls.size() > levels_)
    calls.pop_front();
}

} // namespace tessary
