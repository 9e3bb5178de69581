#pragma once

#include <cstddef>
#include <functional>

namespace tessary::test {

/// Runs `body` on a thread with a stack of `bytes` and waits for its end. A body that needs more ends the
/// process, and thereby the test.
void runOnSmallStack(std::size_t bytes, const std::function<void()> &body);

} // namespace tessary::test
