// Who may change an image when several programs use it, and what readers beside them get.

#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/MountedVolume.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessary::test {
namespace {

constexpr const char *kTakenError = "Image is read-only: another program has it open";

/// What another program does to have the image to itself.
class ForeignClaim final {
public:
  explicit ForeignClaim(const std::string &path) : fd_(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    isHeld_ = ::flock(fd_, LOCK_EX | LOCK_NB) == 0;
  }
  ~ForeignClaim() { ::close(fd_); }
  ForeignClaim(const ForeignClaim &) = delete;
  ForeignClaim &operator=(const ForeignClaim &) = delete;

  bool isHeld() const { return isHeld_; }

private:
  int fd_;
  bool isHeld_ = false;
};

/// Runs `body` in another process and waits for it.
bool inAnotherProcess(const std::function<bool()> &body) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(body() ? 0 : 1);
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class Claims : public testing::Test {
protected:
  Claims() {
    ImageBuilder image;
    image.root().addFile("KICK", patternBytes(1000, 1));
    image.root().addFile("SNARE", patternBytes(1000, 2));
    image.root().addFolder("Drums").addFile("HAT", patternBytes(700, 3));
    image.writeTo(path_);
  }

  EMU3FilesystemPtr mount(ImageClaim claim = ImageClaim::atFirstChange) const {
    return EMU3Filesystem::initWithURL(path_, MountRules::guarded, claim);
  }
  bool isFree() const { return ForeignClaim(path_).isHeld(); }
  std::string hostFile(const std::string &name, const Bytes &bytes) const {
    const std::string path = folder_.path(name);
    writeBytes(path, bytes);
    return path;
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.path("volume.hda");
  EMU3Error error_;
};

TEST_F(Claims, ReadingTakesNone) {
  const EMU3FilesystemPtr volume = mount();
  const EMU3FilePtr kick = fileNamed(volume->rootDirectory(), "KICK");
  EXPECT_TRUE(volume->exportFile(kick, folder_.path("out")));
  EXPECT_TRUE(volume->populateBankMetadata(kick));
  EXPECT_TRUE(volume->check().empty());
  EXPECT_TRUE(volume->lostFolders().empty());
  EXPECT_TRUE(isFree());
}

TEST_F(Claims, ReadingNeverFailsForOne) {
  const ForeignClaim other(path_);
  ASSERT_TRUE(other.isHeld());
  const EMU3FilesystemPtr volume = mount();
  EXPECT_FALSE(volume->isReadOnly());
  EXPECT_TRUE(volume->exportFile(fileNamed(volume->rootDirectory(), "KICK"), folder_.path("out")));
  EXPECT_EQ(readBytes(folder_.path("out")), patternBytes(1000, 1));
}

TEST_F(Claims, FirstChangeTakesOneUntilTheImageIsLetGo) {
  EMU3FilesystemPtr volume = mount();
  ASSERT_TRUE(volume->createDirectoryNamed("New", volume->rootDirectory()));
  EXPECT_FALSE(isFree());
  volume.reset();
  EXPECT_TRUE(isFree());
}

TEST_F(Claims, MountingForChangesTakesOne) {
  const EMU3FilesystemPtr volume = mount(ImageClaim::whenMounted);
  EXPECT_FALSE(volume->isReadOnly());
  EXPECT_FALSE(isFree());
}

TEST_F(Claims, RefusedOneSaysThatAnotherProgramHasTheImage) {
  const ForeignClaim other(path_);
  const Bytes before = readBytes(path_);
  const EMU3FilesystemPtr volume = mount(ImageClaim::whenMounted);
  EXPECT_TRUE(volume->isReadOnly());
  EXPECT_EQ(volume->readOnlyReason(), ReadOnlyReason::otherProgram);
  EXPECT_FALSE(
      volume->deleteFile(fileNamed(volume->rootDirectory(), "KICK"), volume->rootDirectory(), &error_));
  EXPECT_EQ(error_.code, kErrorWriteRefused);
  EXPECT_EQ(error_.message, kTakenError);
  EXPECT_EQ(volume->rootDirectory()->files().size(), 2U);
  EXPECT_EQ(readBytes(path_), before);
}

TEST_F(Claims, IsAskedForAgainBeforeEachChange) {
  auto other = std::make_unique<ForeignClaim>(path_);
  const EMU3FilesystemPtr volume = mount(ImageClaim::whenMounted);
  EXPECT_FALSE(volume->createDirectoryNamed("New", volume->rootDirectory()));
  other.reset();
  EXPECT_TRUE(volume->createDirectoryNamed("New", volume->rootDirectory()));
  EXPECT_FALSE(volume->isReadOnly());
  EXPECT_FALSE(isFree());
}

TEST_F(Claims, WindowAsksForOneWithoutAChange) {
  auto other = std::make_unique<ForeignClaim>(path_);
  const EMU3FilesystemPtr volume = mount(ImageClaim::whenMounted);
  EXPECT_FALSE(volume->claimForChanges(&error_));
  EXPECT_EQ(error_.message, kTakenError);
  other.reset();
  EXPECT_TRUE(volume->claimForChanges());
  EXPECT_FALSE(volume->isReadOnly());
}

TEST_F(Claims, OfAnotherHandleOfThisProcessIsNoConflict) {
  const EMU3FilesystemPtr first = mount(ImageClaim::whenMounted);
  const EMU3FilesystemPtr second = mount(ImageClaim::whenMounted);
  EXPECT_FALSE(second->isReadOnly());
  EXPECT_TRUE(second->createDirectoryNamed("New", second->rootDirectory()));
  EXPECT_EQ(first->rootDirectory(), second->rootDirectory());
}

// ---- A claim that comes after another program's changes

class LateClaim : public Claims {
protected:
  /// Another program's change, made after the image was mounted here.
  void changeElsewhere(const std::function<bool(EMU3Filesystem &)> &change) {
    ASSERT_TRUE(inAnotherProcess([&] {
      // Of the image as a program sees it that has not inherited this one's mount.
      const std::string other = folder_.path("other.hda");
      std::filesystem::copy_file(path_, other);
      const bool done = change(*EMU3Filesystem::initWithURL(other, MountRules::guarded));
      patchBytes(path_, 0, readBytes(other));
      return done;
    }));
  }

  const EMU3FilesystemPtr volume_ = mount();
  const EMU3DirectoryPtr root_ = volume_->rootDirectory();
};

TEST_F(LateClaim, ReadsTheTreeAnew) {
  changeElsewhere([&](EMU3Filesystem &other) {
    return other.createDirectoryNamed("Theirs", other.rootDirectory()) &&
           other.importFileAtURL(hostFile("theirs", patternBytes(600, 5)), other.rootDirectory());
  });
  ASSERT_TRUE(volume_->createDirectoryNamed("Mine", root_));
  EXPECT_EQ(namesOf(volume_->rootDirectory()->subdirectories()),
            (std::vector<std::string>{"Drums", "Theirs", "Mine"}));
  EXPECT_EQ(namesOf(volume_->rootDirectory()->files()),
            (std::vector<std::string>{"KICK", "SNARE", "theirs"}));
}

TEST_F(LateClaim, TakesNoRoomThatAnotherProgramHasGivenAway) {
  const Bytes theirs = patternBytes(1500, 6);
  changeElsewhere([&](EMU3Filesystem &other) {
    return other.importFileAtURL(hostFile("theirs", theirs), other.rootDirectory());
  });
  ASSERT_TRUE(volume_->importFileAtURL(hostFile("mine", patternBytes(900, 7)), root_));
  EXPECT_EQ(*volume_->dataForFile(fileNamed(root_, "theirs")), ByteBuffer(theirs.begin(), theirs.end()));
  EXPECT_TRUE(volume_->check().empty());
}

TEST_F(LateClaim, FindsWhatWasChosenBeforeByItsEntry) {
  const EMU3FilePtr snare = fileNamed(root_, "SNARE");
  const EMU3DirectoryPtr drums = folderNamed(root_, "Drums");
  const EMU3FilePtr hat = fileNamed(drums, "HAT");
  changeElsewhere([&](EMU3Filesystem &other) {
    return other.deleteFile(fileNamed(other.rootDirectory(), "KICK"), other.rootDirectory());
  });
  ASSERT_TRUE(volume_->moveFile(snare, root_, drums, &error_)) << error_.message;
  ASSERT_TRUE(volume_->renameFile(hat, "OPEN HAT", drums, &error_)) << error_.message;
  EXPECT_EQ(namesOf(drums->files()), (std::vector<std::string>{"OPEN HAT", "SNARE"}));
  EXPECT_TRUE(root_->files().empty());
}

TEST_F(LateClaim, RefusesWhatAnotherProgramHasDeletedOrReplaced) {
  const EMU3FilePtr kick = fileNamed(root_, "KICK");
  const EMU3FilePtr snare = fileNamed(root_, "SNARE");
  changeElsewhere([&](EMU3Filesystem &other) {
    const EMU3DirectoryPtr root = other.rootDirectory();
    return other.deleteFile(fileNamed(root, "KICK"), root) &&
           other.importFileAtURL(hostFile("theirs", patternBytes(600, 5)), root) &&
           other.renameFile(fileNamed(root, "SNARE"), "THEIR SNARE", root);
  });
  for (const EMU3FilePtr &file : {kick, snare}) {
    EXPECT_FALSE(volume_->deleteFile(file, root_, &error_));
    EXPECT_EQ(error_.code, kErrorEntryNotFound);
    EXPECT_EQ(error_.message, "Dentry block not found");
  }
  EXPECT_EQ(namesOf(root_->files()), (std::vector<std::string>{"theirs", "THEIR SNARE"}));
}

TEST_F(LateClaim, ReadingGivesNoOtherFilesBytesUnderAnOldEntry) {
  const EMU3FilePtr kick = fileNamed(root_, "KICK");
  changeElsewhere([&](EMU3Filesystem &other) {
    const EMU3DirectoryPtr root = other.rootDirectory();
    return other.deleteFile(fileNamed(root, "KICK"), root) &&
           other.importFileAtURL(hostFile("theirs", patternBytes(600, 5)), root);
  });
  EXPECT_FALSE(volume_->exportFile(kick, folder_.path("out"), &error_));
  EXPECT_EQ(error_.code, kErrorEntryNotFound);
  EXPECT_FALSE(std::filesystem::exists(folder_.path("out")));
}

// ---- An image that is no longer where it was

TEST_F(Claims, ReplacedImageIsNotChanged) {
  const EMU3FilesystemPtr volume = mount(ImageClaim::whenMounted);
  const Bytes before = readBytes(path_);
  const std::string kept = folder_.path("kept"); // another name for the file that is mounted
  std::filesystem::create_hard_link(path_, kept);
  std::filesystem::copy_file(path_, folder_.path("new"));
  std::filesystem::rename(folder_.path("new"), path_);
  const EMU3DirectoryPtr root = volume->rootDirectory();
  const EMU3FilePtr kick = fileNamed(root, "KICK");
  const EMU3DirectoryPtr drums = folderNamed(root, "Drums");
  const auto refused = [&](bool done) {
    EXPECT_FALSE(done);
    EXPECT_EQ(error_.code, kErrorWriteRefused);
    EXPECT_EQ(error_.message, "The image was replaced");
  };
  refused(volume->deleteFile(kick, root, &error_));
  refused(volume->renameFile(kick, "NEW", root, &error_));
  refused(volume->copyFile(kick, drums, &error_));
  refused(volume->moveFile(kick, root, drums, &error_));
  refused(volume->createDirectoryNamed("New", root, &error_));
  refused(volume->renameDirectory(drums, "New", &error_));
  refused(volume->deleteDirectory(drums, root, &error_));
  refused(volume->importFileAtURL(hostFile("mine", patternBytes(10)), root, &error_));
  EXPECT_EQ(readBytes(kept), before);
  EXPECT_EQ(readBytes(path_), before);
  EXPECT_TRUE(volume->exportFile(kick, folder_.path("out")));
}

TEST_F(Claims, ImageThatIsPutBackIsChangedAgain) {
  const EMU3FilesystemPtr volume = mount(ImageClaim::whenMounted);
  std::filesystem::rename(path_, folder_.path("elsewhere"));
  EXPECT_FALSE(volume->createDirectoryNamed("New", volume->rootDirectory()));
  std::filesystem::rename(folder_.path("elsewhere"), path_);
  EXPECT_TRUE(volume->createDirectoryNamed("New", volume->rootDirectory()));
}

// ---- A reader beside a writer

/// How often the file is replaced; TESSARY_ROUNDS asks for a long run.
int rounds() {
  const char *asked = std::getenv("TESSARY_ROUNDS");
  return asked ? std::atoi(asked) : 100;
}

/// Deletes the file and imports one of the same name and size in its place, again and again, in another
/// process.
class Writer final {
public:
  Writer(const std::string &image, const std::vector<std::string> &hostFiles, int rounds) : child_(::fork()) {
    if (child_ != 0) return;
    const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image, MountRules::guarded);
    const EMU3DirectoryPtr root = volume->rootDirectory();
    for (int round = 0; round < rounds; ++round) {
      const std::string &next = hostFiles[static_cast<std::size_t>(round) % hostFiles.size()];
      if (!volume->deleteFile(fileNamed(root, "LOOP"), root) || !volume->importFileAtURL(next, root))
        ::_exit(1);
    }
    ::_exit(0);
  }
  ~Writer() {
    if (!hasEnded()) ::waitpid(child_, &status_, 0);
  }
  Writer(const Writer &) = delete;
  Writer &operator=(const Writer &) = delete;

  bool hasEnded() {
    if (!ended_) ended_ = ::waitpid(child_, &status_, WNOHANG) == child_;
    return ended_;
  }
  bool hasSucceeded() const { return WIFEXITED(status_) && WEXITSTATUS(status_) == 0; }

private:
  const pid_t child_;
  bool ended_ = false;
  int status_ = 0;
};

TEST_F(Claims, ReaderBesideAWriterPassesOnOneFileOrTheOther) {
  const Bytes odd = patternBytes(300000, 11);
  const Bytes even = patternBytes(300000, 12);
  for (const char *name : {"odd", "even"})
    std::filesystem::create_directory(folder_.path(name));
  const std::vector<std::string> hostFiles{hostFile("odd/LOOP", odd), hostFile("even/LOOP", even)};
  {
    const EMU3FilesystemPtr volume = mount();
    ASSERT_TRUE(volume->importFileAtURL(hostFiles[1], volume->rootDirectory()));
  }
  Writer writer(path_, hostFiles, rounds());
  int whole = 0;
  while (!writer.hasEnded()) {
    const EMU3FilesystemPtr volume = mount();
    for (const EMU3FilePtr &file : volume->rootDirectory()->files()) {
      if (file->name() != "LOOP" || file->isDeleted()) continue;
      const ByteBufferPtr data = volume->contentsOfFile(file, &error_);
      if (!data) {
        EXPECT_EQ(error_.code, kErrorEntryNotFound) << error_.message;
        continue;
      }
      const Bytes bytes(data->begin(), data->end());
      ASSERT_TRUE(bytes == odd || bytes == even) << "a mixture of the two";
      ++whole;
    }
  }
  EXPECT_TRUE(writer.hasSucceeded());
  EXPECT_GT(whole, 0);
}

} // namespace
} // namespace tessary::test
