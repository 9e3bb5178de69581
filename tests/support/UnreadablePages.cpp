#include "tests/support/UnreadablePages.h"

#include "tests/support/Mappings.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace tessary::test {
namespace {

struct Page {
  dev_t device;
  ino_t inode;
  off_t begin;
  off_t end;
};

std::mutex pagesMutex;
std::vector<Page> pages;

off_t pageSize() {
  return ::sysconf(_SC_PAGESIZE);
}

// Where a read of a host that begins at `from` ends: what stands before the unreadable page is still read.
off_t readableEnd(int descriptor, off_t from, off_t end) {
  struct stat status {};
  const std::lock_guard lock(pagesMutex);
  if (pages.empty() || ::fstat(descriptor, &status) != 0) return end;
  for (const Page &page : pages) {
    if (page.device == status.st_dev && page.inode == status.st_ino && page.end > from)
      end = std::min(end, std::max(page.begin, from));
  }
  return end;
}

} // namespace

UnreadablePage::UnreadablePage(const std::string &path, std::uint64_t offset) {
  const std::vector<std::uintptr_t> mappings = mappingsOf(path);
  if (mappings.size() != 1) throw std::logic_error("not one mapping of " + path);
  const TemporaryFolder folder;
  const int fd = ::open(folder.path("empty").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
  const auto page = static_cast<std::size_t>(pageSize());
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the address comes as text
  void *const place = reinterpret_cast<void *>(mappings.front() + offset / page * page);
  struct stat status {};
  const bool done = ::stat(path.c_str(), &status) == 0 &&
                    ::mmap(place, page, PROT_READ, MAP_SHARED | MAP_FIXED, fd, 0) == place;
  const int reason = errno;
  ::close(fd);
  if (!done) throw std::system_error(reason, std::generic_category(), path);
  const auto begin = static_cast<off_t>(offset / page * page);
  const std::lock_guard lock(pagesMutex);
  pages.push_back({status.st_dev, status.st_ino, begin, begin + pageSize()});
}

// Objects of this class end in the reverse of the order in which they were made.
UnreadablePage::~UnreadablePage() {
  const std::lock_guard lock(pagesMutex);
  pages.pop_back();
}

} // namespace tessary::test

// The linker (--wrap) has calls of the host's function go to the wrapper, which reaches the host's own as
// __real_….
extern "C" {
ssize_t __real_pread(int descriptor, void *to, std::size_t length, off_t offset);
ssize_t __wrap_pread(int descriptor, void *to, std::size_t length, off_t offset);

ssize_t __wrap_pread(int descriptor, void *to, std::size_t length, off_t offset) {
  const off_t end = tessary::test::readableEnd(descriptor, offset, offset + static_cast<off_t>(length));
  if (end > offset || length == 0)
    return __real_pread(descriptor, to, static_cast<std::size_t>(end - offset), offset);
  errno = EIO;
  return -1;
}
}
