#pragma once

#include <functional>

namespace tessary {

/// The system beep: how a command says that it can do nothing now. Main thread.
void beep();

/// Called instead of the system's beep; an empty function restores it. For tests.
void setBeepHandler(std::function<void()> handler);

} // namespace tessary
