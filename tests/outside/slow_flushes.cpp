#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

// slow_flushes
// Loaded before a program (LD_PRELOAD): each flush of a file takes as many milliseconds more as the file says
// that SLOW_FLUSHES names, as on a slow disk. Read anew each time, so that a test can change it.

namespace {

void waitAsLongAsSaid() {
  const char *path = std::getenv("SLOW_FLUSHES");
  std::FILE *file = path ? std::fopen(path, "r") : nullptr;
  if (!file) return;
  unsigned milliseconds = 0;
  if (std::fscanf(file, "%u", &milliseconds) == 1) ::usleep(milliseconds * 1000);
  std::fclose(file);
}

int flush(const char *call, int descriptor) {
  waitAsLongAsSaid();
  return reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, call))(descriptor);
}

} // namespace

extern "C" int fsync(int descriptor) {
  return flush("fsync", descriptor);
}

extern "C" int fdatasync(int descriptor) {
  return flush("fdatasync", descriptor);
}
