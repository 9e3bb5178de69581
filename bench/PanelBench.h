#pragma once

namespace tessary::bench {

/// Tells how the panel of a bank's contents follows a held key, and how long a long sample's wave takes. The
/// exit status.
int measurePanel();

} // namespace tessary::bench
