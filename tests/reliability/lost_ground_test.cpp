#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/UnreadablePages.h"

#include <gtest/gtest.h>

#include <optional>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessary::test {
namespace {

/// A mounted volume whose file can be cut short underneath. The parts lie pages apart, so that a cut takes
/// some of them and leaves others.
class LostGround : public testing::Test {
protected:
  LostGround() {
    ImageBuilder image({.sizeBytes = 8 * kMiB, .slotSizeBlocks = 64});
    FolderBuilder folder = image.root().addFolder("Banks", {.blockCount = 2});
    folder.addFile("KICK", patternBytes(20000, 1));
    folder.addFile("SNARE", patternBytes(20000, 2));
    rootBlock_ = image.rootDirBlock();
    dataBlock_ = image.dataAreaBlock();
    fatBlock_ = image.fatStartBlock();
    slotBlocks_ = image.slotSizeBlocks();
    image.writeTo(path_);
    writeBytes(hostFile_, patternBytes(20000, 3));
    mount(MountRules::guarded);
  }

  void mount(const ImageBuilder &image) {
    volume_.reset();
    image.writeTo(path_);
    volume_ = EMU3Filesystem::initWithURL(path_, MountRules::guarded, ImageClaim::whenMounted);
  }
  // Mounts the image again by these rules; the mount before ends.
  void mount(MountRules rules) {
    volume_.reset();
    volume_ = EMU3Filesystem::initWithURL(path_, rules, ImageClaim::whenMounted);
    root_ = volume_->rootDirectory();
    banks_ = root_->subdirectories().front();
    kick_ = banks_->files().front();
  }

  void cutAtBlock(std::uint64_t block) const {
    ASSERT_EQ(::truncate(path_.c_str(), static_cast<off_t>(block * 512)), 0);
  }
  void expectFailure(bool succeeded, const char *message) const {
    EXPECT_FALSE(succeeded);
    EXPECT_EQ(error_.domain, "com.tessary.error");
    EXPECT_EQ(error_.code, 3);
    EXPECT_EQ(error_.message, message);
  }

  TemporaryFolder folder_;
  std::string path_ = folder_.path("volume.hda");
  std::string hostFile_ = folder_.path("NEW.e4b");
  std::uint64_t rootBlock_ = 0;
  std::uint64_t dataBlock_ = 0;
  std::uint64_t fatBlock_ = 0;
  std::uint64_t slotBlocks_ = 0;
  EMU3FilesystemPtr volume_;
  EMU3DirectoryPtr root_;
  EMU3DirectoryPtr banks_;
  EMU3FilePtr kick_;
  EMU3Error error_;
};

TEST_F(LostGround, ReadingEndsWhereTheFileWasCut) {
  cutAtBlock(dataBlock_ + 8); // on a page
  const ByteBufferPtr bytes = volume_->dataForFile(kick_);
  ASSERT_GE(bytes->size(), 8U * 512);
  ASSERT_LT(bytes->size(), 20000U);
  EXPECT_EQ(bytes->size() % 512, 0U);
  const Bytes expected = patternBytes(20000, 1);
  EXPECT_TRUE(std::equal(bytes->begin(), bytes->begin() + 8 * 512, expected.begin()));
}

TEST_F(LostGround, EverythingThatReadsSurvivesAnEmptyFile) {
  cutAtBlock(0);
  EXPECT_TRUE(volume_->dataForFile(kick_)->empty());
  EXPECT_FALSE(volume_->populateBankMetadata(kick_));
  EXPECT_TRUE(volume_->samplesFromBankFile(banks_->files()[1]).empty());
  EXPECT_FALSE(volume_->exportSampleAtIndex(0, banks_->files()[1], folder_.path("x.wav")));
  EXPECT_FALSE(volume_->exportFile(banks_->files()[1], folder_.path("x.E4B"), &error_));
  EXPECT_EQ(error_.message, "File contents are incomplete");
  EXPECT_FALSE(volume_->reload(&error_));
  EXPECT_TRUE(volume_->lostFolders().empty());
  static_cast<void>(volume_->check());
}

TEST_F(LostGround, ImportReportsThatDataCouldNotBeWritten) {
  cutAtBlock(dataBlock_ + 2 * slotBlocks_);
  const std::uint64_t freeBefore = volume_->freeBlocks();
  expectFailure(volume_->importFileAtURL(hostFile_, banks_, &error_), "Data write failed");
  EXPECT_EQ(volume_->freeBlocks(), freeBefore);
  EXPECT_EQ(banks_->files().size(), 2U);
}

TEST_F(LostGround, CopyReportsThatDataCouldNotBeWritten) {
  cutAtBlock(dataBlock_ + 2 * slotBlocks_);
  expectFailure(volume_->copyFile(kick_, banks_, &error_), "Data write failed");
  EXPECT_EQ(banks_->files().size(), 2U);
  EXPECT_TRUE(root_->files().empty());
  EXPECT_TRUE(volume_->moveFile(kick_, banks_, root_)) << "it writes no data";
}

TEST_F(LostGround, BareMoveReportsThatDataCouldNotBeWritten) {
  mount(MountRules::bare);
  cutAtBlock(dataBlock_ + 2 * slotBlocks_);
  expectFailure(volume_->moveFile(kick_, banks_, root_, &error_), "Data write failed");
  EXPECT_EQ(banks_->files().size(), 2U);
  EXPECT_TRUE(root_->files().empty());
}

class UnreadableMiddle : public LostGround, public testing::WithParamInterface<MountRules> {
protected:
  // A page in the middle of KICK's 20000 bytes.
  void SetUp() override {
    mount(GetParam());
    damaged_.emplace(path_, (dataBlock_ + 16) * 512);
  }

  void expectRefused(const std::function<bool(EMU3Error *)> &change) {
    const Bytes before = readBytes(path_);
    const std::uint64_t used = volume_->usedBlocks();
    const std::uint64_t free = volume_->freeBlocks();
    EXPECT_FALSE(change(&error_));
    EXPECT_EQ(error_.description(), GetParam() == MountRules::bare
                                        ? "Error Domain=com.tessary.error Code=3 \"Data write failed\""
                                        : "Error Domain=com.tessary.error Code=2 "
                                          "\"File contents are incomplete\"");
    EXPECT_FALSE(change(nullptr));
    EXPECT_EQ(readBytes(path_), before);
    EXPECT_EQ(volume_->usedBlocks(), used);
    EXPECT_EQ(volume_->freeBlocks(), free);
    EXPECT_TRUE(root_->files().empty());
    EXPECT_EQ(banks_->files().size(), 2U);
    EXPECT_TRUE(banks_->containsFile(kick_));
  }

  std::optional<UnreadablePage> damaged_;
};

INSTANTIATE_TEST_SUITE_P(Volume, UnreadableMiddle, testing::Values(MountRules::bare, MountRules::guarded),
                         [](const auto &rules) {
                           return rules.param == MountRules::bare ? "Bare" : "Guarded";
                         });

TEST_P(UnreadableMiddle, OfAFileRefusesItsCopyAndChangesNothing) {
  expectRefused([&](EMU3Error *error) { return volume_->copyFile(kick_, root_, error); });
}

TEST_P(UnreadableMiddle, OfAFileRefusesItsMoveOnlyByTheBareRulesWhichCopyIt) {
  if (GetParam() == MountRules::bare)
    expectRefused([&](EMU3Error *error) { return volume_->moveFile(kick_, banks_, root_, error); });
  else
    EXPECT_TRUE(volume_->moveFile(kick_, banks_, root_));
}

TEST_P(UnreadableMiddle, OfAFileIsNoReasonToRefuseAnother) {
  EXPECT_TRUE(volume_->copyFile(banks_->files()[1], root_));
  EXPECT_TRUE(volume_->moveFile(banks_->files()[1], banks_, root_));
  EXPECT_EQ(root_->files().size(), 2U);
}

TEST_F(LostGround, EntryChangesReportThatTheBlockCouldNotBeWritten) {
  cutAtBlock(0);
  expectFailure(volume_->renameFile(kick_, "NAME", banks_, &error_), "Block write failed");
  EXPECT_EQ(kick_->name(), "KICK");
  expectFailure(volume_->deleteFile(kick_, banks_, &error_), "Block write failed");
  EXPECT_EQ(banks_->files().size(), 2U);
}

TEST_F(LostGround, FolderChangesReportThatTheBlockCouldNotBeWritten) {
  mount(MountRules::bare);
  // The place for the entry is read before the blocks are lost: only the new folder's block is gone.
  cutAtBlock((rootBlock_ / 8 + 1) * 8);
  std::vector<std::string> made;
  bool succeeded = true;
  for (int i = 0; i < 14 && succeeded; ++i) {
    succeeded = volume_->createDirectoryNamed("N" + std::to_string(i), root_, &error_);
  }
  expectFailure(succeeded, "Block write failed");
  cutAtBlock(0);
  expectFailure(volume_->deleteDirectory(banks_, root_, &error_), "Block write failed");
}

TEST_F(LostGround, BlockThatCannotBeReadIsNoPlaceForAFolder) {
  cutAtBlock((rootBlock_ / 8 + 1) * 8);
  while (volume_->createDirectoryNamed("N", root_, &error_)) {
  }
  EXPECT_EQ(error_.message, "No free directory block available");
  cutAtBlock(0);
  expectFailure(volume_->deleteDirectory(banks_, root_, &error_), "Block write failed");
}

// The rest of the page can be stored to without a fault, but is no part of the file.
TEST_F(LostGround, ContentsBehindACutInsideAPageAreNotReportedAsStored) {
  mount(ImageBuilder({.sizeBytes = 8 * kMiB, .rootDirBlock = 40, .dataAreaBlock = 64, .slotSizeBlocks = 64}));
  writeBytes(hostFile_, patternBytes(700, 3)); // two blocks of one page
  cutAtBlock(65);
  expectFailure(volume_->importFileAtURL(hostFile_, volume_->rootDirectory(), &error_), "Data write failed");
  EXPECT_TRUE(volume_->rootDirectory()->files().empty());
}

TEST_F(LostGround, EntryBehindACutInsideAPageIsNotReportedAsWritten) {
  ImageBuilder image({.sizeBytes = 8 * kMiB, .rootDirBlock = 40, .dataAreaBlock = 64, .slotSizeBlocks = 64});
  image.root().addFolder("Banks", {.blockList = {42}}).addFile("KICK", patternBytes(700, 1));
  mount(image);
  const EMU3DirectoryPtr banks = volume_->rootDirectory()->subdirectories().front();
  const EMU3FilePtr kick = banks->files().front();
  cutAtBlock(41); // the page has blocks 40 to 47
  expectFailure(volume_->renameFile(kick, "SNARE", banks, &error_), "Data write failed");
  EXPECT_EQ(kick->name(), "KICK");
  EXPECT_EQ(volume_->readOnlyReason(), ReadOnlyReason::mediumFailed);
}

// What cannot be read may be in use. That it cannot is seen when the volume is read, here once more.
TEST_F(LostGround, VolumeWhoseTableCannotBeReadIsReadOnly) {
  ImageBuilder image({.sizeBytes = 8 * kMiB,
                      .fatStartBlock = 8192,
                      .rootDirBlock = 16,
                      .dataAreaBlock = 64,
                      .slotSizeBlocks = 64,
                      .marksBlocks = false});
  image.root().addFile("KICK", patternBytes(700, 1));
  mount(image);
  EXPECT_FALSE(volume_->isReadOnly());
  cutAtBlock(8192);
  ASSERT_TRUE(volume_->reload());
  EXPECT_EQ(volume_->readOnlyReason(), ReadOnlyReason::unreadableTable);
  expectFailure(volume_->createDirectoryNamed("New", volume_->rootDirectory(), &error_),
                "Image is read-only: its allocation table cannot be read");
  EXPECT_TRUE(volume_->exportFile(volume_->rootDirectory()->files().front(), folder_.path("out")));
}

TEST_F(LostGround, VolumeWithAFolderThatCannotBeReadIsReadOnly) {
  ImageBuilder image({.sizeBytes = 8 * kMiB, .rootDirBlock = 40, .dataAreaBlock = 64, .slotSizeBlocks = 64});
  image.root().addFile("KICK", patternBytes(700, 1));
  image.root().addFolder("Banks", {.blockList = {56}}).addFile("SNARE", patternBytes(700, 2));
  mount(image);
  EXPECT_FALSE(volume_->isReadOnly());
  cutAtBlock(56); // a page of its own
  ASSERT_TRUE(volume_->reload());
  EXPECT_EQ(volume_->readOnlyReason(), ReadOnlyReason::unreadableFolder);
  expectFailure(volume_->importFileAtURL(hostFile_, volume_->rootDirectory(), &error_),
                "Image is read-only: a folder of it cannot be read");
  const std::vector<VolumeFinding> findings = volume_->check();
  EXPECT_TRUE(std::any_of(findings.begin(), findings.end(), [](const VolumeFinding &finding) {
    return finding.kind == finding::kFolderUnreadable.word;
  }));
}

TEST_F(LostGround, MarksThatCannotBeWrittenLeaveNoEntry) {
  // A table behind the data: the blocks for contents and entry stand, the marks are gone.
  ImageBuilder image({.sizeBytes = 8 * kMiB,
                      .fatStartBlock = 8192,
                      .rootDirBlock = 16,
                      .dataAreaBlock = 64,
                      .slotSizeBlocks = 64,
                      .marksBlocks = false});
  const std::string path = folder_.path("late-table.hda");
  image.writeTo(path);
  const EMU3FilesystemPtr volume =
      EMU3Filesystem::initWithURL(path, MountRules::guarded, ImageClaim::whenMounted);
  ASSERT_EQ(::truncate(path.c_str(), 8192 * 512), 0);
  const std::uint64_t freeBefore = volume->freeBlocks();
  expectFailure(volume->importFileAtURL(hostFile_, volume->rootDirectory(), &error_), "Block write failed");
  EXPECT_EQ(volume->freeBlocks(), freeBefore - 64) << "a slot whose marks cannot be read counts as taken";
  EXPECT_TRUE(volume->rootDirectory()->files().empty());
  EXPECT_EQ(readBytes(path, 16 * 512, 32), Bytes(32)) << "no entry names what is not marked";
}

TEST_F(LostGround, FullDiskUnderASparseImageIsReported) {
  const std::string mountPoint = folder_.path("tmpfs");
  ASSERT_EQ(::mkdir(mountPoint.c_str(), 0700), 0);
  if (::mount("tmpfs", mountPoint.c_str(), "tmpfs", 0, "size=256k") != 0)
    GTEST_SKIP() << "mounting is refused here";
  {
    const std::string path = mountPoint + "/volume.hda";
    ImageBuilder image({.sizeBytes = 8 * kMiB, .slotSizeBlocks = 2048});
    image.root().addFile("KICK", patternBytes(1000, 1));
    image.writeTo(path);
    const EMU3FilesystemPtr volume =
        EMU3Filesystem::initWithURL(path, MountRules::guarded, ImageClaim::whenMounted);
    writeBytes(hostFile_, patternBytes(600000, 4));
    expectFailure(volume->importFileAtURL(hostFile_, volume->rootDirectory(), &error_), "Data write failed");
    EXPECT_EQ(volume->rootDirectory()->files().size(), 1U);
    const ByteBufferPtr kick = volume->dataForFile(volume->rootDirectory()->files().front());
    const Bytes expected = patternBytes(1000, 1);
    EXPECT_TRUE(std::equal(kick->begin(), kick->end(), expected.begin(), expected.end()));
  }
  ::umount2(mountPoint.c_str(), MNT_DETACH);
}

TEST(LostGroundOfOthers, HostFileThatBecomesShorterIsNotImported) {
  // A file of the host whose status says 4096 bytes while a few can be read, as if the rest had gone.
  const char *const shrinking = "/sys/devices/system/cpu/online";
  if (::access(shrinking, R_OK) != 0) GTEST_SKIP() << "no such file here";
  const TemporaryFolder folder;
  ImageBuilder().writeTo(folder.path("volume.hda"));
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(folder.path("volume.hda"));
  const Bytes before = readBytes(folder.path("volume.hda"));
  EMU3Error error;
  EXPECT_FALSE(volume->importFileAtURL(shrinking, volume->rootDirectory(), &error));
  EXPECT_EQ(error.domain, "posix");
  EXPECT_NE(error.message.find("became shorter"), std::string::npos);
  EXPECT_EQ(readBytes(folder.path("volume.hda")), before);
}

/// Exit status or signal of a process that runs `body`.
int outcomeOf(const std::function<void()> &body) {
  const pid_t child = ::fork();
  if (child == 0) {
    body();
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status) + 1000;
}

// A page of a file mapped by somebody else in the process, and cut away.
void touchLostPage(const TemporaryFolder &folder) {
  const std::string path = folder.path("other");
  writeBytes(path, Bytes(8192));
  const int fd = ::open(path.c_str(), O_RDWR);
  auto *bytes = static_cast<volatile char *>(::mmap(nullptr, 8192, PROT_READ, MAP_SHARED, fd, 0));
  if (::ftruncate(fd, 0) != 0) ::_exit(9);
  static_cast<void>(bytes[5000]);
}

TEST(LostGroundOfOthers, FaultElsewhereStillEndsTheProgram) {
  const TemporaryFolder folder;
  ImageBuilder().writeTo(folder.path("volume.hda"));
  EXPECT_EQ(outcomeOf([&] {
              std::signal(SIGBUS, SIG_DFL); // a sanitizer's own handler aside
              const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(folder.path("volume.hda"));
              touchLostPage(folder);
            }),
            SIGBUS);
}

TEST(LostGroundOfOthers, FaultElsewhereReachesTheHandlerThatWasThereBefore) {
  const TemporaryFolder folder;
  ImageBuilder().writeTo(folder.path("volume.hda"));
  EXPECT_EQ(outcomeOf([&] {
              std::signal(SIGBUS, [](int) { ::_exit(42); });
              const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(folder.path("volume.hda"));
              touchLostPage(folder);
            }),
            1042);
}

} // namespace
} // namespace tessary::test
