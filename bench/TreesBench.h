#pragma once

namespace tessary::bench {

/// Tells how long the window stands still while a tree of 1,000 files is imported, stopped, continued, undone
/// and redone. The exit status.
int measureTrees();

/// The same while 100 files are deleted, moved, copied inside the image and to another window's, while one is
/// renamed and a tree is copied; each change undone, redone and undone again.
int measureChanges();

} // namespace tessary::bench
