#include "tessary/FreedMemory.h"

#include <cstdlib> // tells whether the library is glibc
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace tessary {

void keepFreedMemory() {
#ifdef __GLIBC__
  constexpr int mostKept = 64 << 20;
  constexpr int largestKept = 32 << 20; // glibc takes no larger value, and no file of a volume is larger
  ::mallopt(M_TRIM_THRESHOLD, mostKept);
  ::mallopt(M_MMAP_THRESHOLD, largestKept);
#endif
}

} // namespace tessary
