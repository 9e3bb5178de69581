#include "filesystem/SharedVolume.h"

#include <map>
#include <mutex>
#include <utility>

namespace tessary {

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
