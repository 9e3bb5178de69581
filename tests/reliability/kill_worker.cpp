// Changes a volume again and again, until it is killed. Usage: kill_worker IMAGE SCRATCH SEED [KIND WAY
// SHARE]. Every change is announced on standard output ("begin CHANGE") and its end is told ("done",
// "failed").
//
// With KIND, WAY and SHARE it ends by itself, inside a change of that kind: it makes some changes of any
// kind, then of this one alone, and lies in wait for each once it knows the course of the one before. SHARE
// says how far a change gets, in thousandths of that. The WAY "flush" counts how often the image is flushed,
// which the engine does behind every store. The way "alarm" measures time: nothing handles the alarm, so the
// process ends there and then. Both ends are a kill's, but do not depend on when another process gets a
// processor.

#include "tests/reliability/VolumeModel.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

namespace {

using namespace tessary;
using test::ModelChange;

// One write for a line: the reader never sees half of one from a process that was not killed in it.
void say(const std::string &line) {
  const std::string whole = line + "\n";
  if (::write(STDOUT_FILENO, whole.data(), whole.size()) < 0) std::_Exit(3);
}

void setAlarm(std::chrono::microseconds delay) {
  constexpr long microsecondsInASecond = 1'000'000;
  itimerval timer{};
  timer.it_value.tv_sec = delay.count() / microsecondsInASecond;
  timer.it_value.tv_usec =
      static_cast<decltype(timer.it_value.tv_usec)>(delay.count() % microsecondsInASecond);
  ::setitimer(ITIMER_REAL, &timer, nullptr);
}

using Clock = std::chrono::steady_clock;

int flushes = 0;        ///< since the change began
int lastFlushToSee = 0; ///< the process ends in this one; 0 is none

/// Ends the process inside a change of one kind.
class Ambush {
public:
  Ambush(ModelChange::Kind kind, std::string way, int share)
      : kind_(kind), byAlarm_(way == "alarm"), share_(share) {}

  /// A move to where the file is changes nothing.
  bool isFor(const ModelChange &change, const test::VolumeModel &model) const {
    return change.kind == kind_ && model.after(change) != model;
  }
  void begin() {
    flushes = 0;
    begin_ = Clock::now();
    if (!last_) return;
    constexpr int tries = 50; // a clock may be too coarse for some changes
    if (byAlarm_ && ++alarms_ <= tries)
      setAlarm(std::max(last_->time * share_ / 1000, std::chrono::microseconds(1)));
    else
      lastFlushToSee = 1 + last_->flushes * share_ / 1000;
  }
  void end(bool done) {
    setAlarm({});
    lastFlushToSee = 0;
    if (done) last_ = {std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin_), flushes};
  }

private:
  struct Course {
    std::chrono::microseconds time;
    int flushes;
  };
  ModelChange::Kind kind_;
  bool byAlarm_;
  int alarms_ = 0;
  int share_;
  Clock::time_point begin_;
  std::optional<Course> last_;
};

/// Draws changes that make sense in the state of the volume.
class Draw {
public:
  explicit Draw(std::uint32_t seed) : random_(seed), serial_(seed % 1000 * 1000) {}

  ModelChange any(const test::VolumeModel &model) {
    random_ = random_ * 1103515245 + 12345;
    return test::drawChange(model, random_, serial_++);
  }
  /// One that the ambush is for; another one when there is nothing to be changed in that way.
  ModelChange of(const Ambush &ambush, const test::VolumeModel &model) {
    constexpr int tries = 1000;
    ModelChange change = any(model);
    for (int i = 0; i < tries && !ambush.isFor(change, model); ++i)
      change = any(model);
    return change;
  }

private:
  std::uint32_t random_;
  std::uint32_t serial_;
};

} // namespace

// In place of the C library's. Whether anything reaches the medium makes no difference to a process that is
// killed.
extern "C" int msync(void *, std::size_t, int) noexcept {
  if (++flushes == lastFlushToSee) ::kill(::getpid(), SIGKILL);
  return 0;
}

int main(int argc, char **argv) {
  if (argc != 4 && argc != 7) return 2;
  const auto numberAt = [argv](int place) { return std::atoi(argv[place]); };
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(argv[1], MountRules::guarded);
  if (!volume) return 1;
  const int seed = numberAt(3);
  Draw draw(static_cast<std::uint32_t>(seed));
  std::optional<Ambush> ambush;
  ::signal(SIGALRM, SIG_DFL); // whatever was inherited
  if (argc == 7) ambush.emplace(static_cast<ModelChange::Kind>(numberAt(4)), argv[5], numberAt(6));

  test::VolumeModel model = test::modelOf(*volume);
  const pid_t parent = ::getppid();
  int ofAnyKind = seed % 8; // changes to make before those of one kind
  for (int changes = 0; ::getppid() == parent; ++changes) {
    constexpr int tooMany = 2000;
    if (ambush && changes == tooMany) return 4;
    const ModelChange change = ambush && ofAnyKind-- <= 0 ? draw.of(*ambush, model) : draw.any(model);
    const bool lying = ambush && ambush->isFor(change, model);
    const std::function<bool()> operation = test::prepared(change, *volume, argv[2]);
    say("begin " + test::lineOf(change));
    if (lying) ambush->begin();
    const bool done = operation();
    if (lying) ambush->end(done);
    say(done ? "done" : "failed");
    if (done)
      model = test::modelOf(*volume);
    else
      ofAnyKind = 1; // may make room
  }
}
