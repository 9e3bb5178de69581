#include "app/UndoManager.h"

#include <algorithm>
#include <utility>

namespace tessary {

void UndoManager::setLevelsOfUndo(std::size_t levels) {
  levels_ = levels;
  dropOldest(undoCalls_);
  dropOldest(redoCalls_);
  emit changed();
}

void UndoManager::registerUndo(Call call, const QString &name) {
  redoCalls_.clear();
  push(undoCalls_, {std::move(call), name});
}

void UndoManager::registerCounterpart(Side side, Call call, const QString &name) {
  push(callsOf(side), {std::move(call), name});
}

void UndoManager::registerBelow(Side side, Call call, const QString &name) {
  callsOf(side).push_front({std::move(call), name, true});
  emit changed();
}

void UndoManager::clear() {
  undoCalls_.clear();
  redoCalls_.clear();
  emit changed();
}

void UndoManager::setAvailable(bool available) {
  available_ = available;
  emit changed();
}

void UndoManager::undo() {
  runNewest(undoCalls_, Side::Redo);
}

void UndoManager::redo() {
  runNewest(redoCalls_, Side::Undo);
}

void UndoManager::push(Calls &calls, Named call) {
  calls.push_back(std::move(call));
  dropOldest(calls);
  emit changed();
}

void UndoManager::runNewest(Calls &calls, Side counterpart) {
  if (calls.empty() || !available_) return;
  const Call call = std::move(calls.back().call);
  calls.pop_back();
  emit changed();
  call(counterpart);
}

void UndoManager::dropOldest(Calls &calls) const {
  if (levels_ == 0) return;
  const auto counts = [](const Named &call) { return !call.isBelow; };
  auto counted = static_cast<std::size_t>(std::count_if(calls.begin(), calls.end(), counts));
  for (; counted > levels_; --counted)
    calls.erase(std::find_if(calls.begin(), calls.end(), counts));
}

} // namespace tessary
