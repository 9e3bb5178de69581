#include "filesystem/ChangeGroup.h"

#include "filesystem/VolumeRules.h"

#include <utility>

namespace tessary {

// The lock lives as long as the group does, which clang's analysis of scopes cannot follow.
ChangeGroup::ChangeGroup(Volume &volume, std::string path) TESSARY_NO_THREAD_SAFETY_ANALYSIS
    : volume_(volume),
      path_(std::move(path)) {
  volume_.changing.lock();
}

ChangeGroup::~ChangeGroup() TESSARY_NO_THREAD_SAFETY_ANALYSIS {
  complete();
  volume_.changing.unlock();
}

bool ChangeGroup::begin(VolumeChange &change, EMU3Error *error) {
  volume_.changing.assertHeldAlone();
  const WriteLock lock(volume_.lock);
  if (!volume_.prepareForChange(path_, error)) return false;
  if (!volume_.rules().waitsForMedium()) return runAtOnce(change, error);
  lookForSharedBlocks();
  if (!change.begin(volume_, error)) return false;
  changes_.push_back(&change);
  return true;
}

bool ChangeGroup::runAtOnce(VolumeChange &change, EMU3Error *error) {
  const bool done = change.begin(volume_, error) && change.enter(volume_, error) &&
                    change.clearOld(volume_, error) && change.freeOld(volume_, error);
  volume_.entries.forgetPlans();
  return done;
}

// Waits for the medium between two steps, so that they reach it in this order.
void ChangeGroup::complete() {
  ended_.assign(changes_.size(), std::nullopt);
  if (changes_.empty()) return;
  if (waitForMedium(&VolumeChange::takeBackBegun)) {
    runStep(&VolumeChange::enter);
    {
      const WriteLock lock(volume_.lock);
      volume_.entries.forgetPlans();
    }
    if (waitForMedium(&VolumeChange::takeBackEntered)) {
      for (const Step step : {&VolumeChange::clearOld, &VolumeChange::freeOld}) {
        runStep(step);
        if (!waitForMedium(nullptr)) break;
      }
    }
  }
  changes_.clear();
  followSharedBlocks();
}

void ChangeGroup::lookForSharedBlocks() {
  metSharedBlocks_ = metSharedBlocks_ || (volume_.index && volume_.index->hasSharedBlocks());
}

// On a damaged volume two folders can have the same block, and what was written into it for one of them
// stands in the other too. The tree is then read anew from the image, which shows each entry in the folder
// that reaches the block first.
void ChangeGroup::followSharedBlocks() {
  const WriteLock lock(volume_.lock);
  lookForSharedBlocks();
  if (std::exchange(metSharedBlocks_, false)) volume_.followImage();
}

// Readers come in between two changes.
void ChangeGroup::runStep(Step step) {
  for (std::size_t i = 0; i < changes_.size(); ++i) {
    if (ended_[i]) continue;
    const WriteLock lock(volume_.lock);
    EMU3Error error;
    if (volume_.isReadOnly()) // since the change before it
      ended_[i] = volume_.rules().readOnlyError(volume_.readOnlyReason());
    else if (!(changes_[i]->*step)(volume_, &error))
      ended_[i] = std::move(error);
  }
}

// What the medium did not take is not written again: nobody knows how much of it is there.
bool ChangeGroup::waitForMedium(TakingBack takeBack) {
  if (volume_.image.barrier()) return true;
  const WriteLock lock(volume_.lock);
  for (std::size_t i = changes_.size(); i-- > 0;) {
    if (ended_[i]) continue;
    ended_[i] = engineError(EngineError::dataWriteFailed);
    if (takeBack != nullptr) (changes_[i]->*takeBack)(volume_);
  }
  volume_.entries.forgetPlans();
  volume_.makeReadOnly(ReadOnlyReason::mediumFailed);
  return false;
}

bool ChangeGroup::run(Volume &volume, const std::string &path, VolumeChange &change, EMU3Error *error) {
  ChangeGroup group(volume, path);
  if (!group.begin(change, error)) return false;
  group.complete();
  if (group.ended_.empty() || !group.failure(0)) return true;
  return fail(error, *group.failure(0));
}

} // namespace tessary
