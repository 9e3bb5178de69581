#include "filesystem/MountedImage.h"

#include <cerrno>
#include <condition_variable>
#include <fcntl.h>
#include <map>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tessary {
namespace {

using Identity = std::pair<std::uint64_t, std::uint64_t>; // device and inode

// All images that this process has mounted. An entry goes only after its record has let go of the claim, so
// whoever opens the image meanwhile is not refused by a claim of its own process.
struct Registry {
  Mutex mutex;
  std::condition_variable released;
  std::map<Identity, std::weak_ptr<MountedImage>> images TESSARY_GUARDED_BY(mutex);
};

// Never destroyed: filesystems can be released while the process ends.
Registry &registry() {
  static auto *instance = new Registry;
  return *instance;
}

void release(const Identity &identity, const MountedImage *image) {
  delete image;
  Registry &known = registry();
  {
    const MutexLock lock(known.mutex);
    known.images.erase(identity);
  }
  known.released.notify_all();
}

} // namespace

std::shared_ptr<MountedImage> MountedImage::of(std::uint64_t device, std::uint64_t inode, MountRules rules) {
  Registry &known = registry();
  const Identity identity(device, inode);
  std::shared_ptr<MountedImage> image; // released after the lock, should it be the last owner by then
  MutexLock lock(known.mutex);
  for (auto entry = known.images.find(identity); entry != known.images.end();
       entry = known.images.find(identity)) {
    image = entry->second.lock();
    if (image) return image->rules() == rules ? image : nullptr;
    lock.wait(known.released); // its last owner is about to let go of the claim
  }
  image.reset(new MountedImage(rules), [identity](const MountedImage *last) { release(identity, last); });
  known.images[identity] = image;
  return image;
}

bool MountedImage::isMounted(const std::string &path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  const Identity identity(static_cast<std::uint64_t>(status.st_dev),
                          static_cast<std::uint64_t>(status.st_ino));
  Registry &known = registry();
  const MutexLock lock(known.mutex);
  return known.images.contains(identity);
}

// The lock belongs to the open file, which the image's mapping still holds, so closing is not enough. Nobody
// else can refer to what is being destroyed.
MountedImage::~MountedImage() TESSARY_NO_THREAD_SAFETY_ANALYSIS {
  if (claim_ < 0) return;
  ::flock(claim_, LOCK_UN);
  ::close(claim_);
}

bool MountedImage::claimForWriting(int descriptor) {
  const MutexLock lock(claimMutex_);
  if (claim_ >= 0) return true;
  const int own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (own < 0) return false;
  if (::flock(own, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    ::close(own);
    return false;
  }
  claim_ = own;
  return true;
}

} // namespace tessary
