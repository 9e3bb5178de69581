#pragma once

class QMainWindow;

namespace tessary {

class CommandItems;

/// Adds the toolbar to the window, which owns it, and its items to `items`. Main thread only.
void addToolbar(QMainWindow *window, CommandItems *items);

} // namespace tessary
