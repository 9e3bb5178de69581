// A file system of one file, "image", whose pages fail when told so. Usage: failing_fs BACKING FAULTS FOLDER.
// The bytes are those of the file BACKING; mounted on FOLDER until that is unmounted. FAULTS is a file, read
// anew for each request, with a line for each range that fails: "read BEGIN END" or "write BEGIN END", in
// bytes.

#define FUSE_USE_VERSION 31
#include <fuse3/fuse.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int backing = -1;
std::string faultsPath;
constexpr const char *kImage = "/image";
constexpr ino_t kImageInode = 2;

bool fails(const std::string &kind, off_t offset, std::size_t length) {
  std::ifstream faults(faultsPath);
  std::string what;
  off_t begin = 0;
  off_t end = 0;
  while (faults >> what >> begin >> end)
    if (what == kind && offset < end && offset + static_cast<off_t>(length) > begin) return true;
  return false;
}

// Inode numbers that stay the same, by which a program knows a file again.
void *start(fuse_conn_info *, fuse_config *config) {
  config->use_ino = 1;
  return nullptr;
}

int getattr(const char *path, struct stat *status, fuse_file_info *) {
  std::memset(status, 0, sizeof *status);
  if (std::strcmp(path, "/") == 0) {
    status->st_mode = S_IFDIR | 0755;
    status->st_nlink = 2;
    status->st_ino = 1;
    return 0;
  }
  if (std::strcmp(path, kImage) != 0) return -ENOENT;
  if (::fstat(backing, status) != 0) return -errno;
  status->st_ino = kImageInode;
  return 0;
}

int readdir(const char *, void *buffer, fuse_fill_dir_t fill, off_t, fuse_file_info *, fuse_readdir_flags) {
  fill(buffer, kImage + 1, nullptr, 0, static_cast<fuse_fill_dir_flags>(0));
  return 0;
}

int open(const char *path, fuse_file_info *) {
  return std::strcmp(path, kImage) == 0 ? 0 : -ENOENT;
}

int read(const char *, char *to, std::size_t length, off_t offset, fuse_file_info *) {
  if (fails("read", offset, length)) return -EIO;
  const ssize_t got = ::pread(backing, to, length, offset);
  return got < 0 ? -errno : static_cast<int>(got);
}

int write(const char *, const char *from, std::size_t length, off_t offset, fuse_file_info *) {
  if (fails("write", offset, length)) return -EIO;
  const ssize_t done = ::pwrite(backing, from, length, offset);
  return done < 0 ? -errno : static_cast<int>(done);
}

int fsync(const char *, int, fuse_file_info *) {
  return ::fsync(backing) == 0 ? 0 : -errno;
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 4) return 2;
  backing = ::open(argv[1], O_RDWR | O_CLOEXEC);
  faultsPath = argv[2];
  fuse_operations operations{};
  operations.init = start;
  operations.getattr = getattr;
  operations.readdir = readdir;
  operations.open = open;
  operations.read = read;
  operations.write = write;
  operations.fsync = fsync;
  char foreground[] = "-f";
  char single[] = "-s";
  char *arguments[] = {argv[0], foreground, single, argv[3], nullptr};
  return backing < 0 ? 1 : fuse_main(4, arguments, &operations, nullptr);
}
