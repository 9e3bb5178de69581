// A file system of one folder, "Slow", whose files are read slowly. Usage: slow_folder FILES MILLISECONDS
// FOLDER. So many files, "FILE 0001" and so on, of 2000 bytes each that say their number; opening one takes
// so long. Mounted on FOLDER until that is unmounted.

#define FUSE_USE_VERSION 31
#include <fuse3/fuse.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <thread>

namespace {

constexpr const char *kFolder = "/Slow";
constexpr std::size_t kBytes = 2000;
int files = 0;
std::chrono::milliseconds delay{0};

std::string nameOf(int number) {
  std::string digits = std::to_string(number);
  return "FILE " + std::string(4 - std::min<std::size_t>(4, digits.size()), '0') + digits;
}

/// From 1; 0 for none.
int numberOf(const char *path) {
  const std::string prefix = std::string(kFolder) + "/FILE ";
  if (std::strncmp(path, prefix.c_str(), prefix.size()) != 0) return 0;
  const int number = std::atoi(path + prefix.size());
  return number <= files && path == std::string(kFolder) + "/" + nameOf(number) ? number : 0;
}

std::string contentsOf(int number) {
  std::string contents;
  while (contents.size() < kBytes)
    contents += nameOf(number) + "\n";
  contents.resize(kBytes);
  return contents;
}

int getattr(const char *path, struct stat *status, fuse_file_info *) {
  std::memset(status, 0, sizeof *status);
  if (std::strcmp(path, "/") == 0 || std::strcmp(path, kFolder) == 0) {
    status->st_mode = S_IFDIR | 0755;
    status->st_nlink = 2;
    return 0;
  }
  if (numberOf(path) == 0) return -ENOENT;
  status->st_mode = S_IFREG | 0644;
  status->st_nlink = 1;
  status->st_size = kBytes;
  return 0;
}

int readdir(const char *path, void *buffer, fuse_fill_dir_t fill, off_t, fuse_file_info *,
            fuse_readdir_flags) {
  constexpr auto none = static_cast<fuse_fill_dir_flags>(0);
  if (std::strcmp(path, "/") == 0) {
    fill(buffer, kFolder + 1, nullptr, 0, none);
    return 0;
  }
  for (int number = 1; number <= files; ++number)
    fill(buffer, nameOf(number).c_str(), nullptr, 0, none);
  return 0;
}

int open(const char *path, fuse_file_info *) {
  if (numberOf(path) == 0) return -ENOENT;
  std::this_thread::sleep_for(delay);
  return 0;
}

int read(const char *path, char *to, std::size_t length, off_t offset, fuse_file_info *) {
  const std::string contents = contentsOf(numberOf(path));
  if (offset >= static_cast<off_t>(contents.size())) return 0;
  const std::size_t count = std::min(length, contents.size() - static_cast<std::size_t>(offset));
  std::memcpy(to, contents.data() + offset, count);
  return static_cast<int>(count);
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 4) {
    std::fputs("slow_folder FILES MILLISECONDS FOLDER\n", stderr);
    return 2;
  }
  files = std::atoi(argv[1]);
  delay = std::chrono::milliseconds(std::atoi(argv[2]));
  fuse_operations operations{};
  operations.getattr = getattr;
  operations.readdir = readdir;
  operations.open = open;
  operations.read = read;
  char foreground[] = "-f";
  char *arguments[] = {argv[0], foreground, argv[3], nullptr};
  return fuse_main(3, arguments, &operations, nullptr);
}
