#include "tests/writing/HostConditions.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/mount.h>
#endif

namespace tessary::test {

namespace {

void require(bool done, const std::string &what) {
  if (!done) throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

#ifdef __linux__
MountedDisk::MountedDisk(std::uint64_t sizeBytes) {
  const std::string options = "mode=0755,size=" + std::to_string(sizeBytes);
  mounted_ = ::mount("tessary-test", folder_.path().c_str(), "tmpfs", 0, options.c_str()) == 0;
}

MountedDisk::~MountedDisk() {
  if (mounted_) ::umount2(folder_.path().c_str(), MNT_DETACH);
}

bool MountedDisk::makeReadOnly() {
  return mounted_ &&
         ::mount("tessary-test", folder_.path().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
}
#else
MountedDisk::MountedDisk(std::uint64_t) {}
MountedDisk::~MountedDisk() = default;
bool MountedDisk::makeReadOnly() {
  return false;
}
#endif

FileSizeLimit::FileSizeLimit(std::uint64_t bytes) {
  earlierHandler_ = std::signal(SIGXFSZ, SIG_IGN);
  require(::getrlimit(RLIMIT_FSIZE, &earlier_) == 0, "getrlimit");
  rlimit limit = earlier_;
  limit.rlim_cur = bytes;
  require(::setrlimit(RLIMIT_FSIZE, &limit) == 0, "setrlimit");
}

FileSizeLimit::~FileSizeLimit() {
  ::setrlimit(RLIMIT_FSIZE, &earlier_);
  std::signal(SIGXFSZ, earlierHandler_);
}

Umask::Umask(mode_t mask) : earlier_(::umask(mask)) {}

Umask::~Umask() {
  ::umask(earlier_);
}

void openToEveryone(const std::string &path) {
  struct stat status {};
  require(::stat(path.c_str(), &status) == 0, path);
  setPermissions(path, S_ISDIR(status.st_mode) ? 0755 : 0644);
}

mode_t permissionsOf(const std::string &path) {
  struct stat status {};
  require(::stat(path.c_str(), &status) == 0, path);
  return status.st_mode & 07777;
}

void setPermissions(const std::string &path, mode_t permissions) {
  require(::chmod(path.c_str(), permissions) == 0, path);
}

void makeFifo(const std::string &path) {
  require(::mkfifo(path.c_str(), 0666) == 0, path);
}

void makeSocket(const std::string &path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) throw std::system_error(ENAMETOOLONG, std::generic_category());
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
  require(descriptor >= 0, "socket");
  const bool bound = ::bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
  ::close(descriptor);
  require(bound, path);
}

} // namespace tessary::test
