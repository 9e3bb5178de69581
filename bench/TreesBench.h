#pragma once

namespace tessary::bench {

/// Tells how long the window stands still while a tree of 1,000 files is imported, stopped, continued, undone
/// and redone. The exit status.
int measureTrees();

} // namespace tessary::bench
