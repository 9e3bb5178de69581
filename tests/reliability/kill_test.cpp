#include "tests/reliability/VolumeModel.h"
#include "tests/support/HostFiles.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tessary::test {
namespace {

using Kind = ModelChange::Kind;

/// How many times the worker is killed. TESSARY_KILLS asks for more than the short run.
int killCount() {
  const char *const asked = std::getenv("TESSARY_KILLS");
  return asked ? std::atoi(asked) : 150;
}

/// Runs the worker on the image and kills it after `microseconds`; returns what it said.
std::string runAndKill(const std::string &image, const TemporaryFolder &scratch, std::uint32_t seed,
                       unsigned microseconds) {
  const std::string said = scratch.path("said");
  const std::string seedText = std::to_string(seed);
  ::unlink(said.c_str()); // what the last worker said is not this one's
  const pid_t worker = ::fork();
  if (worker == 0) {
    const int out = ::open(said.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(out, STDOUT_FILENO);
    ::execl(TESSARY_KILL_WORKER, "kill_worker", image.c_str(), scratch.path().c_str(), seedText.c_str(),
            nullptr);
    ::_exit(127);
  }
  while (::access(said.c_str(), F_OK) != 0)
    std::this_thread::yield();
  // The clock runs from the worker's first word on, so that starting up takes no part of it.
  for (int tries = 0; readText(said).empty() && tries < 20000; ++tries)
    ::usleep(100);
  ::usleep(microseconds);
  ::kill(worker, SIGKILL);
  int status = 0;
  ::waitpid(worker, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status)) << "the worker ended by itself";
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

TEST(KilledAtAnyMoment, NothingThatWasCompleteIsLost) {
  const TemporaryFolder folder;
  const std::string image = folder.path("volume.hda");
  int changes = 0;
  int pending = 0;
  for (int round = 0; round < killCount(); ++round) {
    if (round % 10 == 0) { // a fresh volume now and then, so that it is not always full
      ImageBuilder builder({.sizeBytes = 16 * kMiB, .slotSizeBlocks = 64});
      builder.root().addFolder("Old", {.blockCount = 7});
      builder.writeTo(image);
    }
    const VolumeModel before = modelOf(*EMU3Filesystem::initWithURL(image));
    const auto seed = static_cast<std::uint32_t>(round) * 7919 + 17;
    const Story story = storyOf(before, runAndKill(image, folder, seed, seed * 31 % 25000));
    const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image);
    ASSERT_TRUE(volume) << "round " << round;
    const VolumeModel found = modelOf(*volume);
    ASSERT_TRUE(isAllowed(found, story))
        << "round " << round << ", killed in: " << (story.pending ? lineOf(*story.pending) : "nothing")
        << "\nfound:\n"
        << described(found) << "settled:\n"
        << described(story.settled);
    for (const VolumeFinding &finding : volume->check())
      ASSERT_FALSE(finding.isHarm()) << finding.message;
    changes += story.changes;
    pending += story.pending ? 1 : 0;
  }
  std::printf("%d kills survived, %d of them inside a change, %d changes in all\n", killCount(), pending,
              changes);
}

} // namespace
} // namespace tessary::test
