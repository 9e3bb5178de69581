#pragma once

#include "filesystem/EMU3Filesystem.h"

namespace tessary {

/// Whether the image can be changed now, or as soon as another program lets go of it. Only asking for the
/// claim tells.
bool mayBecomeChangeable(const EMU3Filesystem &filesystem);

} // namespace tessary
