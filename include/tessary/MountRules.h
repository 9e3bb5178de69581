#pragma once

namespace tessary {

/// By which rules an image is mounted, chosen when it is, for that mount as a whole. While a process has an
/// image mounted by one set, asking for the other is refused.
enum class MountRules {
  bare,    ///< the samplers' own rules, just as they are; some of them destroy what they do not look at
  guarded, ///< refuses or avoids what the bare rules would destroy (docs/what-may-surprise.md)
};

/// When an image is claimed for changes, which keeps other programs from changing it.
enum class ImageClaim {
  whenMounted,   ///< where another program has it, the mount is read-only until that lets go
  atFirstChange, ///< a mount that only reads claims nothing
  never,         ///< changes stay in this mount, as a trial: nobody else sees them, the image does not change
};

} // namespace tessary
