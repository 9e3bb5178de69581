#include "filesystem/SharedVolume.h"

#include <cerrno>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace tessary {

SharedVolume::~SharedVolume() {
  if (claim_ >= 0) ::close(claim_);
}

bool SharedVolume::claimForWriting(int descriptor) {
  const std::lock_guard lock(claimMutex_);
  if (claim_ >= 0) return true;
  const int own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (own >= 0 && ::flock(own, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    ::close(own);
    return false;
  }
  claim_ = own;
  return true;
}

std::shared_ptr<SharedVolume> sharedVolumeFor(std::uint64_t device, std::uint64_t inode) {
  using Identity = std::pair<std::uint64_t, std::uint64_t>;
  static auto *mutex = new std::mutex;
  static auto *volumes = new std::map<Identity, std::weak_ptr<SharedVolume>>;
  const std::lock_guard lock(*mutex);
  std::erase_if(*volumes, [](const auto &entry) { return entry.second.expired(); });
  std::weak_ptr<SharedVolume> &known = (*volumes)[{device, inode}];
  std::shared_ptr<SharedVolume> volume = known.lock();
  if (!volume) {
    volume = std::make_shared<SharedVolume>();
    known = volume;
  }
  return volume;
}

} // namespace tessary
