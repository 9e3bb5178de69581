#include "filesystem/SharedVolume.h"

#include <cerrno>
#include <condition_variable>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace tessary {

namespace {

using Identity = std::pair<std::uint64_t, std::uint64_t>;

// The volumes of all images that are open. An entry goes only after its volume has let go of the claim, so
// whoever opens the image meanwhile is not refused by a claim of its own process.
struct Registry {
  std::mutex mutex;
  std::condition_variable released;
  std::map<Identity, std::weak_ptr<SharedVolume>> volumes;
};

// Never destroyed: filesystems can be released while the process ends.
Registry &registry() {
  static auto *instance = new Registry;
  return *instance;
}

void release(const Identity &identity, const SharedVolume *volume) {
  delete volume;
  {
    const std::lock_guard lock(registry().mutex);
    registry().volumes.erase(identity);
  }
  registry().released.notify_all();
}

} // namespace

// The lock belongs to the open file, which the image's mapping still holds, so closing is not enough.
SharedVolume::~SharedVolume() {
  if (claim_ < 0) return;
  ::flock(claim_, LOCK_UN);
  ::close(claim_);
}

bool SharedVolume::claimForWriting(int descriptor) {
  const std::lock_guard lock(claimMutex_);
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

std::shared_ptr<SharedVolume> sharedVolumeFor(std::uint64_t device, std::uint64_t inode) {
  Registry &known = registry();
  const Identity identity(device, inode);
  std::unique_lock lock(known.mutex);
  std::shared_ptr<SharedVolume> volume;
  known.released.wait(lock, [&] {
    const auto entry = known.volumes.find(identity);
    if (entry == known.volumes.end()) return true;
    volume = entry->second.lock();
    return volume != nullptr;
  });
  if (!volume) {
    volume.reset(new SharedVolume, [identity](const SharedVolume *last) { release(identity, last); });
    known.volumes[identity] = volume;
  }
  return volume;
}

} // namespace tessary
