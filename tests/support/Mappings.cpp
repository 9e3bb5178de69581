#include "tests/support/Mappings.h"

#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace tessary::test {

std::vector<std::uintptr_t> mappingsOf(const std::string &path) {
  std::vector<std::uintptr_t> found;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.ends_with(" " + path)) found.push_back(std::stoull(line, nullptr, 16));
  }
  return found;
}

void makeUnreadable(const std::string &path, std::uint64_t offset) {
  const std::vector<std::uintptr_t> mappings = mappingsOf(path);
  if (mappings.size() != 1) throw std::logic_error("not one mapping of " + path);
  const TemporaryFolder folder;
  const int fd = ::open(folder.path("empty").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the address comes as text
  void *const place = reinterpret_cast<void *>(mappings.front() + offset / page * page);
  const bool done = ::mmap(place, page, PROT_READ, MAP_SHARED | MAP_FIXED, fd, 0) == place;
  const int reason = errno;
  ::close(fd);
  if (!done) throw std::system_error(reason, std::generic_category(), path);
}

} // namespace tessary::test
