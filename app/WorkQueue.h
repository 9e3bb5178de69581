#pragma once

class QThreadPool;

namespace tessary {

/// Threads for work that belongs to no mounted image yet: opening images, side by side.
///
/// Not the toolkit's global pool. Painting takes threads from there and waits for them, so the window would
/// stand still as long as slow openings hold them all.
QThreadPool &workQueue();

} // namespace tessary
