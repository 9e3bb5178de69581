// Changes a volume again and again, until it is killed. Usage: kill_worker IMAGE SCRATCH SEED. Every change
// is announced on standard output ("begin CHANGE") and its end is told ("done", "failed").

#include "tests/reliability/VolumeModel.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

// One write for a line: the reader never sees half of one from a process that was not killed in it.
void say(const std::string &line) {
  const std::string whole = line + "\n";
  if (::write(STDOUT_FILENO, whole.data(), whole.size()) < 0) std::_Exit(3);
}

} // namespace

int main(int argc, char **argv) {
  using namespace tessary;
  if (argc != 4) return 2;
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(argv[1], MountRules::guarded);
  if (!volume) return 1;
  test::VolumeModel model = test::modelOf(*volume);
  std::uint32_t random = static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 10));
  for (std::uint32_t serial = random % 1000 * 1000;; ++serial) {
    random = random * 1103515245 + 12345;
    const test::ModelChange change = test::drawChange(model, random, serial);
    say("begin " + test::lineOf(change));
    const bool done = test::apply(change, *volume, argv[2]);
    say(done ? "done" : "failed");
    if (done) model = test::modelOf(*volume);
  }
}
