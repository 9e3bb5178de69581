#pragma once

class QMenu;
class QMenuBar;

namespace tessary {

class MainWindowController;
class WindowList;

/// Gives a window's menu bar a menu of all windows by their images, which brings the one that is chosen to
/// the front. The list and the window must live longer than the bar, which owns the menu.
QMenu *addWindowMenu(QMenuBar *bar, const WindowList &windows, const MainWindowController &shownIn);

} // namespace tessary
