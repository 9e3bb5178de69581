#include "tessary/EMU3Filesystem.h"
#include "tests/compare/RandomImage.h"
#include "tests/reliability/Losses.h"
#include "tests/support/AskedNumber.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageReading.h"
#include "tests/support/PlacedObjects.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/writing/DamagedVolumes.h"
#include "tests/writing/Operation.h"
#include "tests/writing/RandomVolumes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

// Operations of both kinds of mount on crafted and mutated volumes: what an operation destroyed without being
// asked to, a check must have warned of.
namespace tessary::test {
namespace {

constexpr std::size_t kTries = 20; // operations on each volume, each on the volume as it stands

// Bytes changed where the volume's own ones lie, on a volume that was sound.
Bytes mutatedVolume(Random &random, MountRules rules) {
  Bytes image = randomVolume(random, rules).build();
  const ImageReading sound(image);
  std::vector<std::uint64_t> blocks{sound.tableStart};
  for (const auto &[place, named] : sound.folders)
    blocks.insert(blocks.end(), named.begin(), named.end());
  for (std::size_t i = random.between(0, 3); i > 0; --i) {
    const std::size_t at = random.chance(10) ? 8 + random.below(40)
                                             : random.pick(blocks) * kBlockBytes + random.below(kBlockBytes);
    image[at] = random.chance(50) ? static_cast<std::uint8_t>(random.below(256))
                                  : static_cast<std::uint8_t>(image[at] ^ (1U << random.below(8)));
  }
  return image;
}

Bytes anyVolume(Random &random, MountRules rules) {
  switch (random.below(4)) {
  case 0:
    return damagedVolume(random);
  case 1:
    return compare::randomImage(random).build();
  case 2:
    return slightlyDamagedVolume(random, rules);
  default:
    return mutatedVolume(random, rules);
  }
}

/// What was seen on all volumes under one kind of rules.
struct Figures {
  std::size_t volumes = 0;
  std::size_t operations = 0;
  std::size_t losses = 0;  ///< operations that lost something
  std::size_t named = 0;   ///< of these those that a check had warned of
  std::size_t harmful = 0; ///< volumes of which a check named harm
  // Of these, the first reason that holds:
  std::size_t shown = 0;       ///< one of the operations, or several in a row, lost something
  std::size_t damaged = 0;     ///< something is damaged or missing already
  std::size_t unprotected = 0; ///< a sampler can destroy something
  std::size_t other = 0;       ///< none of them
  std::map<std::string, std::size_t> kindsOfOther;

  void print(const char *rules) const {
    std::cout << rules << ": " << volumes << " volumes, " << operations << " operations, " << losses
              << " lost something, " << named << " of them named before; harm named on " << harmful
              << " volumes: " << shown << " lost something, " << damaged << " are damaged already, "
              << unprotected << " are not protected from samplers, " << other << " none of these";
    for (const auto &[kind, count] : kindsOfOther)
      std::cout << "\n  " << kind << " " << count;
    std::cout << "\n";
  }
};

class Trials {
public:
  Trials(std::uint32_t seed, Figures (&figures)[2])
      : random_(seed), rules_(seed % 2 == 0 ? MountRules::guarded : MountRules::bare),
        figures_(figures[rules_ == MountRules::guarded ? 1 : 0]) {}

  void run() {
    image_ = anyVolume(random_, rules_);
    writeBytes(path_, image_);
    if (random_.chance(30)) use();
    EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(path_, rules_);
    if (!volume) return; // its signature was damaged
    lost_ = volume->lostFolders();
    findings_ = volume->check();
    for (const VolumeFinding &finding : findings_)
      if (finding.isHarm()) harm_.insert(finding.kind);
    volume.reset();
    const ImageReading before(image_, rules_);
    bool isAnythingLost = false;
    for (std::size_t i = 0; i < kTries && !testing::Test::HasFailure(); ++i)
      isAnythingLost = tryOperation(before) || isAnythingLost;
    ++figures_.volumes;
    countHarm(before, isAnythingLost);
  }

private:
  // What a volume looks like after some use.
  void use() {
    EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(path_, rules_);
    for (std::size_t i = random_.between(1, 6); volume && i > 0; --i) {
      const Operation operation = anyOperation(ImageReading(image_, rules_), volume->lostFolders());
      perform(*volume, operation, folder_.path());
      image_ = readBytes(path_);
      volume.reset(); // what is seen from now on is what a fresh mount shows
      volume = EMU3Filesystem::initWithURL(path_, rules_);
    }
  }

  Operation anyOperation(const ImageReading &now, const std::vector<LostFolder> &lost) {
    Operation operation = randomOperation(random_, now, lost);
    if (operation.kind == OperationKind::importFile && random_.chance(30)) // as long as there may be room
      operation.contents = patternBytes(random_.below(now.totalBlocks * kBlockBytes), 5);
    return operation;
  }

  bool tryOperation(const ImageReading &before) {
    const Operation operation = anyOperation(before, lost_);
    writeBytes(path_, image_);
    perform(*EMU3Filesystem::initWithURL(path_, rules_), operation, folder_.path());
    ++figures_.operations;
    const Bytes changed = readBytes(path_);
    if (changed == image_) return false;
    const std::vector<Loss> lost = lossesOf(before, ImageReading(changed, rules_), operation);
    if (lost.empty()) return false;
    ++figures_.losses;
    for (const Loss &loss : lost) {
      if (isWarnedOf(loss, operation, before, findings_)) continue;
      ADD_FAILURE() << "nothing warned that by " << operation.description() << " " << loss.words;
      return true;
    }
    ++figures_.named;
    return true;
  }

  // Whether new entries, as many as there is room for, destroy something in the end.
  bool isLostByFilling(const ImageReading &before) {
    for (const auto &[place, blocks] : before.folders) {
      writeBytes(path_, image_);
      const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(path_, rules_);
      const EMU3DirectoryPtr folder = folderAt(*volume, place);
      const std::string url = folder_.path("x.E4B");
      writeBytes(url, bytesOf("x"));
      for (std::size_t i = 0; i < blocks.size() * 16; ++i)
        if (!volume->createDirectoryNamed("n", folder) && !volume->importFileAtURL(url, folder)) break;
      const Operation operation{
          .item = {0, 0}, .parent = {}, .folder = place, .name = {}, .contents = {}, .inside = {}};
      if (!lossesOf(before, ImageReading(readBytes(path_), rules_), operation).empty()) return true;
    }
    return false;
  }

  void countHarm(const ImageReading &volume, bool isAnythingLost) {
    if (harm_.empty()) return;
    ++figures_.harmful;
    if (isAnythingLost || isLostByFilling(volume)) {
      ++figures_.shown;
    } else if (!damageOf(volume).empty()) {
      ++figures_.damaged;
    } else if (!unprotectedIn(volume).empty()) {
      ++figures_.unprotected;
    } else {
      ++figures_.other;
      for (const std::string &kind : harm_)
        ++figures_.kindsOfOther[kind];
    }
  }

  Random random_;
  const MountRules rules_;
  Figures &figures_;
  TemporaryFolder folder_;
  const std::string path_ = folder_.path("disk.hda");
  Bytes image_;
  std::vector<LostFolder> lost_;
  std::vector<VolumeFinding> findings_;
  std::set<std::string> harm_; ///< of its kinds
};

TEST(LossProperties, WhatAnOperationDestroysUnaskedACheckHadNamed) {
  const std::uint32_t first = askedNumber("TESSARY_FIRST_SEED", 1);
  const std::uint32_t count = askedNumber("TESSARY_SEEDS", 100);
  Figures figures[2];
  for (std::uint32_t seed = first; seed < first + count && !testing::Test::HasFailure(); ++seed) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "seed " + std::to_string(seed));
    Trials(seed, figures).run();
  }
  figures[0].print("bare");
  figures[1].print("guarded");
  if (count < 100) return;
  EXPECT_GT(figures[0].losses, 0U) << "nothing was put to the test";
}

} // namespace
} // namespace tessary::test
