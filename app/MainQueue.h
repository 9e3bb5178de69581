#pragma once

#include <functional>

namespace tessary {

/// Runs `block` on the main thread, after what waits there already. Any thread; returns at once. A block
/// given when the application is ending is dropped.
void onMainQueue(std::function<void()> block);

} // namespace tessary
