#pragma once

namespace tessary::bench {

/// Measures how the panel of a bank's contents follows a held key, and how long the wave of a long sample
/// takes; prints both. Returns the exit status.
int measurePanel();

} // namespace tessary::bench
