#pragma once

#include "filesystem/ItemsPlan.h"
#include "tessary/ItemsWatcher.h"

#include <vector>

namespace tessary {

/// Does steps that go to the medium together, and then what is left to do for their items. False when the
/// watcher stopped it; turns that were not begun are taken off the list then.
[[nodiscard]] bool doTogether(std::vector<ItemTurn> *turns, const ItemsWatcher &watcher);

} // namespace tessary
