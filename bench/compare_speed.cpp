// compare_speed          runs the whole table: our work beside another program's, or a plain copy
// compare_speed WORD     the lines alone whose work has this in it
// compare_speed growth   how the cost of some work grows with files, folders and bytes
//
// CPU, user and system, of whole processes; of what would end too soon to be told from the start of a
// process, in this one with the image mounted. It works in a folder in memory, where flushes cost nothing:
// what is waited for on a disk is measured by writing_bench. Lines are left out whose other program is
// missing. docs/performance.md tells what came of it.

#include "bench/PlainMapping.h"
#include "bench/Workplace.h"
#include "tessary/FreedMemory.h"
#include "tests/support/HostFiles.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <unistd.h>

namespace tessary::bench {

void copyIntoMapping(const std::string &image, const Words &hostFiles) {
  constexpr std::uint64_t blocksOfFile = 4096;
  PlainMapping mapping(image, PlainMapping::For::writing);
  test::Bytes buffer(blocksOfFile * 512);
  std::uint64_t block = blocksOfFile; // well behind table and folders
  for (const std::string &path : hostFiles) {
    const int fd = ::open(path.c_str(), O_RDONLY);
    const ssize_t length = ::read(fd, buffer.data(), buffer.size());
    ::close(fd);
    if (length < 0) throw std::runtime_error("cannot read " + path);
    std::memcpy(mapping.block(block), buffer.data(), static_cast<std::size_t>(length));
    block += blocksOfFile;
  }
}

} // namespace tessary::bench

int main(int argc, char **argv) {
  using namespace tessary::bench;
  try {
    const Words words(argv + 1, argv + argc);
    if (words.size() > 2 && words[0] == "copy-into-mapping") {
      copyIntoMapping(words[1], Words(words.begin() + 2, words.end()));
      return 0;
    }
    if (words.size() > 1) throw std::runtime_error("compare_speed [WORD]");
    tessary::keepFreedMemory(); // as the command line does
    if (::access("/dev/shm", W_OK) == 0) ::setenv("TMPDIR", "/dev/shm", 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const std::string programs = std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
    const Workplace place(programs, words.empty() ? "" : words[0]);
    if (!words.empty() && words[0] == "growth") {
      showGrowth(place);
      return 0;
    }
    printHeading();
    compareProcesses(place);
    compareMountedWork(place);
    return 0;
  } catch (const std::exception &problem) {
    std::fprintf(stderr, "compare_speed: %s\n", problem.what());
    return 1;
  }
}
