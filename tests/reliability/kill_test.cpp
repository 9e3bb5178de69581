#include "tests/reliability/VolumeModel.h"
#include "tests/support/AskedNumber.h"
#include "tests/support/HostFiles.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <optional>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tessary::test {
namespace {

using Kind = ModelChange::Kind;

/// How many times the worker is killed. TESSARY_KILLS asks for more than the short run.
int killCount() {
  return static_cast<int>(askedNumber("TESSARY_KILLS", 150));
}

/// When a worker is killed.
struct Moment {
  std::optional<Kind> inside; ///< in a change of this kind; none: whatever it is doing
  const char *way = "";       ///< how the worker finds the moment in a change
  unsigned when = 0;          ///< thousandths of the change; else microseconds after the worker's first word

  static constexpr int kKinds = static_cast<int>(Kind::removeFolder) + 1;
  /// As many rounds as it takes to have all kinds in both ways, and a moment no matter what.
  static constexpr int kTurns = 2 * kKinds + 1;

  static Moment ofRound(int round) {
    const auto number = static_cast<unsigned>(round);
    const int turn = round % kTurns;
    if (turn == kTurns - 1) return {std::nullopt, "", number * 7919 % 25000};
    // Spread over the whole change, closer together towards its end: contents are most of a change, and the
    // steps that decide come after them.
    const unsigned toTheEnd = number * 618 % 1000;
    return {static_cast<Kind>(turn / 2), turn % 2 == 0 ? "flush" : "alarm", 999 - toTheEnd * toTheEnd / 1000};
  }
};

/// The worker's process, whose output goes to a file.
pid_t startWorker(const std::vector<std::string> &words, const std::string &said) {
  std::vector<const char *> arguments{"kill_worker"};
  for (const std::string &word : words)
    arguments.push_back(word.c_str());
  arguments.push_back(nullptr);
  ::unlink(said.c_str()); // what the last worker said is not this one's
  const int out = ::open(said.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const pid_t worker = ::fork();
  if (worker == 0) {
    ::dup2(out, STDOUT_FILENO);
    ::execv(TESSARY_KILL_WORKER, const_cast<char **>(arguments.data()));
    ::_exit(127);
  }
  ::close(out);
  return worker;
}

/// Runs the worker on the image until it is killed; returns what it said.
std::string runAndKill(const std::string &image, const TemporaryFolder &scratch, std::uint32_t seed,
                       const Moment &moment) {
  const std::string said = scratch.path("said");
  std::vector<std::string> words{image, scratch.path(), std::to_string(seed)};
  if (moment.inside) {
    words.push_back(std::to_string(static_cast<int>(*moment.inside)));
    words.emplace_back(moment.way);
    words.push_back(std::to_string(moment.when));
  }
  const pid_t worker = startWorker(words, said);
  if (!moment.inside) {
    // The clock runs from the worker's first word on, so that starting up takes no part of it.
    for (int tries = 0; readText(said).empty() && tries < 20000; ++tries)
      ::usleep(100);
    ::usleep(moment.when);
    ::kill(worker, SIGKILL);
  }
  int status = 0;
  ::waitpid(worker, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && (WTERMSIG(status) == SIGKILL || WTERMSIG(status) == SIGALRM))
      << "the worker ended by itself: " << status;
  return readText(said);
}

struct Story {
  VolumeModel settled;                ///< after every change that had ended
  std::optional<ModelChange> pending; ///< the change that was killed
  int changes = 0;
};

Story storyOf(const VolumeModel &before, const std::string &said) {
  Story story{before, std::nullopt, 0};
  std::istringstream lines(said);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("begin ", 0) == 0) {
      story.pending = changeOf(line.substr(6));
      ++story.changes;
    } else {
      if (line == "done") story.settled = story.settled.after(*story.pending);
      story.pending.reset();
    }
  }
  return story;
}

// Every state in which a killed change may leave the volume.
bool isAllowed(const VolumeModel &found, const Story &story) {
  if (found == story.settled) return true;
  if (!story.pending) return false;
  const ModelChange &change = *story.pending;
  if (found == story.settled.after(change)) return true;
  if (change.kind == Kind::move) { // in both places, never in neither
    VolumeModel both = story.settled;
    both.folders[change.target].insert(change.file);
    return found == both;
  }
  if (change.kind == Kind::removeFolder) { // some of its files gone already, all others as they were
    VolumeModel rest = story.settled;
    VolumeModel foundRest = found;
    const std::multiset<ModelFile> before = rest.folders[change.folder];
    const std::multiset<ModelFile> after = foundRest.folders[change.folder];
    rest.folders.erase(change.folder);
    foundRest.folders.erase(change.folder);
    return rest == foundRest && std::includes(before.begin(), before.end(), after.begin(), after.end());
  }
  return false;
}

std::string described(const VolumeModel &model) {
  std::ostringstream text;
  for (const auto &[folder, files] : model.folders) {
    text << folder << ":";
    for (const ModelFile &file : files)
      text << ' ' << file.name << '(' << file.seed << ',' << file.length << ')';
    text << '\n';
  }
  return text.str();
}

/// How often a killed change was found not made, made in part, made.
struct Outcomes {
  int inside = 0;
  int notMade = 0;
  int made = 0;

  void count(const VolumeModel &found, const Story &story) {
    if (!story.pending) return;
    ++inside;
    if (found == story.settled)
      ++notMade;
    else if (found == story.settled.after(*story.pending))
      ++made;
  }
};

TEST(KilledAtAnyMoment, NothingThatWasCompleteIsLost) {
  const TemporaryFolder folder;
  const std::string image = folder.path("volume.hda");
  const int kills = killCount();
  int changes = 0;
  bool hasFileInTwoPlaces = false;
  Outcomes outcomes;
  for (int round = 0; round < kills; ++round) {
    if (round % 10 == 0) { // a fresh volume now and then, so that it is not always full
      ImageBuilder builder({.sizeBytes = 16 * kMiB, .slotSizeBlocks = 64});
      builder.root().addFolder("Old", {.blockCount = 7});
      builder.writeTo(image);
    }
    const VolumeModel before = modelOf(*EMU3Filesystem::initWithURL(image));
    const auto seed = static_cast<std::uint32_t>(round) * 7919 + 17;
    const Moment moment = Moment::ofRound(round);
    const Story story = storyOf(before, runAndKill(image, folder, seed, moment));
    if (moment.inside) {
      ASSERT_TRUE(story.pending && story.pending->kind == *moment.inside) << "round " << round;
    }
    const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image);
    ASSERT_TRUE(volume) << "round " << round;
    const VolumeModel found = modelOf(*volume);
    ASSERT_TRUE(isAllowed(found, story))
        << "round " << round << ", killed in: " << (story.pending ? lineOf(*story.pending) : "nothing")
        << "\nfound:\n"
        << described(found) << "settled:\n"
        << described(story.settled);
    // A move that is killed half-way leaves the file in both places, its contents shared.
    if (round % 10 == 0) hasFileInTwoPlaces = false;
    if (story.pending && story.pending->kind == Kind::move) hasFileInTwoPlaces = true;
    for (const VolumeFinding &finding : volume->check()) {
      if (hasFileInTwoPlaces && finding.kind == "harm-overlap") continue;
      ASSERT_FALSE(finding.isHarm() && !finding.kind.starts_with("harm-bare-")) << finding.message;
    }
    changes += story.changes;
    outcomes.count(found, story);
  }
  std::printf("%d kills survived, %d of them inside a change: %d left it not made, %d made, %d in part; "
              "%d changes in all\n",
              kills, outcomes.inside, outcomes.notMade, outcomes.made,
              outcomes.inside - outcomes.notMade - outcomes.made, changes);
  if (kills < Moment::kTurns) return;
  EXPECT_GE(outcomes.inside * 10, kills * 9);
  EXPECT_GE(outcomes.notMade * 10, kills);
  EXPECT_GE(outcomes.made * 10, kills);
}

} // namespace
} // namespace tessary::test
