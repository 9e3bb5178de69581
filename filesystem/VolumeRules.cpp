#include "filesystem/VolumeRules.h"

#include "filesystem/BareRules.h"
#include "filesystem/GuardedRules.h"

namespace tessary {

const VolumeRules &rulesFor(MountRules kind) {
  static const BareRules bare;
  static const GuardedRules guarded;
  if (kind == MountRules::guarded) return guarded;
  return bare;
}

} // namespace tessary
