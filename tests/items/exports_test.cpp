// Many items written to the host.

#include "tests/items/ItemsTest.h"
#include "tests/support/BankBuilder.h"
#include "tests/support/FlushWatch.h"

#include <algorithm>
#include <csignal>
#include <filesystem>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessary::test {
namespace {

class ItemExports : public testing::Test {
protected:
  EMU3DirectoryPtr drums() const { return folderNamed(volume_.root(), "Drums"); }
  std::string out() const { return host_.path(); }
  std::string out(const std::string &name) const { return host_.path(name); }
  std::unique_ptr<ItemsOperation> exportOfAllFiles() const {
    auto operation = volume_->manyItems();
    for (const EMU3FilePtr &file : volume_.root()->files())
      operation->exportFileInto(file, out());
    for (const EMU3FilePtr &file : drums()->files())
      operation->exportFileInto(file, out());
    return operation;
  }

  const GuardedVolume volume_{volumeOfTrees()};
  const TemporaryFolder host_;
};

TEST_F(ItemExports, TreesBecomeHostFolders) {
  const auto operation = volume_->manyItems();
  operation->exportFolderInto(drums(), out());
  std::vector<std::string> paths;
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) { paths.push_back(end.hostPath.substr(out().size())); };
  operation->run(watcher);
  EXPECT_EQ(paths,
            (std::vector<std::string>{"/Drums", "/Drums/A.E4B", "/Drums/B.E4B", "/Drums/Sixteen byte dir",
                                      "/Drums/Sixteen byte dir/C.E4B", "/Drums/None"}));
  EXPECT_EQ(contentsOfHostFolder(out()), (Contents{{"Drums/", {}},
                                                   {"Drums/A.E4B", patternBytes(5000, 3)},
                                                   {"Drums/B.E4B", patternBytes(512, 4)},
                                                   {"Drums/Sixteen byte dir/", {}},
                                                   {"Drums/Sixteen byte dir/C.E4B", patternBytes(100, 5)},
                                                   {"Drums/None/", {}}}));
}

TEST_F(ItemExports, WhatIsInAFolderThatCannotBeMadeFailsWithIt) {
  writeText(out("Drums"), "in the way");
  const auto operation = volume_->manyItems();
  operation->exportFolderInto(drums(), out());
  operation->exportFileInto(volume_.file("KICK"), out());
  const std::string reason = ": " + out("Drums") + ": File exists";
  EXPECT_EQ(endsOf(*operation), (Ends{"Drums" + reason, "A" + reason, "B" + reason,
                                      "Sixteen byte dir" + reason, "C" + reason, "None" + reason, "KICK"}));
}

TEST_F(ItemExports, LinksInTheHostFolderAreNotFollowed) {
  const TemporaryFolder elsewhere;
  std::filesystem::create_directory_symlink(elsewhere.path(), out("Drums"));
  const auto operation = volume_->manyItems();
  operation->exportFolderInto(drums(), out());
  EXPECT_EQ(endsOf(*operation).front(), "Drums: " + out("Drums") + ": File exists");
  EXPECT_EQ(namesIn(elsewhere.path()), std::vector<std::string>{});
}

TEST_F(ItemExports, FilesOfATreeThatAreThereBecomeWhatIsSaidOfEach) {
  std::filesystem::create_directories(out("Drums/Sixteen byte dir"));
  for (const char *name : {"Drums/A.E4B", "Drums/B.E4B", "Drums/B (2).E4B", "Drums/Sixteen byte dir/C.E4B"})
    writeText(out(name), "there before");
  const auto operation = volume_->manyItems();
  operation->exportFolderInto(drums(), out(), [](const EMU3FilePtr &file) {
    if (file->name() == "A") return ExistingFile::leavesOut;
    return file->name() == "B" ? ExistingFile::isKept : ExistingFile::isReplaced;
  });
  std::vector<std::string> leftOut;
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    EXPECT_FALSE(end.error);
    EXPECT_EQ(end.isLeftOut, end.hostPath.empty());
    if (end.isLeftOut) leftOut.push_back(operation->item(end.item).file->name());
  };
  operation->run(watcher);
  EXPECT_EQ(leftOut, std::vector<std::string>{"A"});
  EXPECT_EQ(readText(out("Drums/A.E4B")), "there before");
  EXPECT_EQ(readText(out("Drums/B.E4B")), "there before");
  EXPECT_EQ(readText(out("Drums/B (2).E4B")), "there before");
  EXPECT_EQ(readBytes(out("Drums/B (3).E4B")), patternBytes(512, 4));
  EXPECT_EQ(readBytes(out("Drums/Sixteen byte dir/C.E4B")), patternBytes(100, 5));
}

TEST_F(ItemExports, WhatIsSaidOfFilesThatAreThereMeansNothingForOthers) {
  const auto operation = volume_->manyItems();
  operation->exportFolderInto(drums(), out(), [](const EMU3FilePtr &) { return ExistingFile::leavesOut; });
  runWell(*operation);
  EXPECT_EQ(readBytes(out("Drums/A.E4B")), patternBytes(5000, 3));
}

TEST_F(ItemExports, ItemsTellWhichAreFolders) {
  const auto operation = volume_->manyItems();
  operation->exportFolderInto(drums(), out());
  std::vector<bool> areFolders;
  for (std::size_t item = 0; item < operation->progress().items; ++item)
    areFolders.push_back(operation->item(item).isFolder);
  EXPECT_EQ(areFolders, (std::vector<bool>{true, false, false, true, false, true}));
}

TEST_F(ItemExports, FilesThatWereGivenOnePathAreAllKept) {
  writeText(out("KICK (2).E4B"), "in the way");
  std::filesystem::create_symlink(out("KICK.E4B"), out("link.E4B"));
  const auto operation = volume_->manyItems();
  operation->exportFile(volume_.file("KICK"), out("KICK.E4B"));
  operation->exportFile(drums()->files()[0], out("KICK.E4B"));
  operation->exportFile(drums()->files()[1], out("link.E4B"));
  EXPECT_EQ(endsOf(*operation), (Ends{"KICK", "A", "B"}));
  EXPECT_EQ(readText(out("KICK (2).E4B")), "in the way");
  EXPECT_EQ(readBytes(out("KICK.E4B")), patternBytes(1300, 1));
  EXPECT_EQ(readBytes(out("KICK (3).E4B")), patternBytes(5000, 3));
  EXPECT_EQ(readBytes(out("link (2).E4B")), patternBytes(512, 4));
}

TEST_F(ItemExports, NoFileHasItsNameBeforeTheContentsOfAllAreOnTheMedium) {
  std::size_t contents = 0;
  std::size_t folders = 0;
  const auto operation = exportOfAllFiles();
  {
    const FlushWatch watch([&](const FlushRequest &request) {
      if (request.call == FlushRequest::Call::fdatasync) {
        ++contents;
        EXPECT_EQ(namesIn(out()), std::vector<std::string>{}) << "file " << contents;
      } else if (request.call == FlushRequest::Call::fsync) {
        ++folders;
        EXPECT_EQ(namesIn(out()).size(), 4U);
      }
      return request.handOn();
    });
    runWell(*operation);
  }
  EXPECT_EQ(contents, 4U);
  EXPECT_EQ(folders, 1U) << "the folder of all, once";
}

TEST_F(ItemExports, FileThatTheMediumDoesNotTakeFailsAlone) {
  writeText(out("A.E4B"), "earlier");
  std::size_t flush = 0;
  const auto operation = exportOfAllFiles(); // KICK, the system file, A, B
  const FlushWatch watch([&](const FlushRequest &request) {
    if (request.call != FlushRequest::Call::fdatasync || ++flush != 3) return request.handOn();
    errno = EIO;
    return -1;
  });
  EXPECT_EQ(endsOf(*operation),
            (Ends{"KICK", "Sixteen bytes of", "A: " + out("A.E4B") + ": Input/output error", "B"}));
  EXPECT_EQ(readText(out("A.E4B")), "earlier");
  EXPECT_EQ(namesIn(out()), (std::vector<std::string>{"A.E4B", "B.E4B", "KICK.E4B", "Sixteen bytes of.E4B"}));
}

TEST_F(ItemExports, NamesThatAreNotOnTheMediumAreNoSuccess) {
  const auto operation = exportOfAllFiles();
  const FlushWatch watch([&](const FlushRequest &request) {
    if (request.call != FlushRequest::Call::fsync) return request.handOn();
    errno = EIO;
    return -1;
  });
  for (const std::string &end : endsOf(*operation))
    EXPECT_TRUE(end.ends_with(".E4B: Input/output error")) << end;
}

// The process ends in the flush of each file in turn, and in that of the folder.
TEST_F(ItemExports, KilledOneLeavesNoFileHalfAndNoOther) {
  for (int flush = 1; flush <= 5; ++flush) {
    const std::string folder = out("killed " + std::to_string(flush));
    std::filesystem::create_directory(folder);
    const pid_t child = ::fork();
    if (child == 0) {
      int flushes = 0;
      const FlushWatch watch([&](const FlushRequest &request) {
        if (++flushes == flush) ::kill(::getpid(), SIGKILL);
        return request.handOn();
      });
      const auto operation = volume_->manyItems();
      for (const EMU3FilePtr &file : volume_.root()->files())
        operation->exportFileInto(file, folder);
      for (const EMU3FilePtr &file : drums()->files())
        operation->exportFileInto(file, folder);
      operation->run({});
      ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << flush;
    const bool hasNames = flush == 5;
    EXPECT_EQ(namesIn(folder).size(), hasNames ? 4U : 0U) << flush;
    if (hasNames) {
      EXPECT_EQ(readBytes(folder + "/A.E4B"), patternBytes(5000, 3));
    }
  }
}

TEST_F(ItemExports, ResultsThatMeetInOneFileAreNumbered) {
  std::filesystem::create_symlink("A.E4B", out("B.E4B"));
  const auto operation = exportOfAllFiles();
  runWell(*operation);
  EXPECT_EQ(readBytes(out("A.E4B")), patternBytes(5000, 3));
  EXPECT_EQ(readBytes(out("B (2).E4B")), patternBytes(512, 4));
  EXPECT_TRUE(std::filesystem::is_symlink(out("B.E4B")));
}

TEST_F(ItemExports, MountedImageIsNeverReplaced) {
  const Bytes before = readBytes(volume_.imagePath());
  const auto operation = volume_->manyItems();
  operation->exportFile(volume_.file("KICK"), volume_.imagePath());
  EXPECT_EQ(endsOf(*operation), (Ends{"KICK: " + volume_.imagePath() + ": This is a mounted image"}));
  EXPECT_EQ(readBytes(volume_.imagePath()), before);
}

TEST_F(ItemExports, FolderThatMayBeWrittenButNotReadTakesThem) {
  std::filesystem::permissions(out(), std::filesystem::perms::all);
  const TemporaryFolder drop;
  std::filesystem::permissions(
      drop.path(), std::filesystem::perms::owner_write | std::filesystem::perms::owner_exec |
                       std::filesystem::perms::others_write | std::filesystem::perms::others_exec);
  EMU3Error error;
  EXPECT_TRUE(volume_->exportFile(volume_.file("KICK"), drop.path("kick"), &error)) << error.message;
}

class SampleExports : public testing::Test {
protected:
  static ImageBuilder image() {
    ImageBuilder builder({.sizeBytes = 4 * kMiB, .slotSizeBlocks = 8});
    builder.root().addFile(
        "BANK", IffBank().sample("one", patternBytes(100, 1)).sample("two", patternBytes(100, 2)).build());
    builder.root().addFile("OTHER", IffBank().sample("one", patternBytes(100, 3)).build());
    return builder;
  }
  const GuardedVolume volume_{image()};
  const TemporaryFolder host_;
};

TEST_F(SampleExports, OfSeveralBanksAreNamedAfterBankAndSample) {
  const auto operation = volume_->manyItems();
  operation->exportSampleInto(volume_.file("BANK"), 0, "one", host_.path());
  operation->exportSampleInto(volume_.file("BANK"), 1, "two", host_.path());
  operation->exportSampleInto(volume_.file("OTHER"), 0, "one", host_.path());
  operation->exportSampleInto(volume_.file("BANK"), 0, "one", host_.path());
  runWell(*operation);
  EXPECT_EQ(namesIn(host_.path()),
            (std::vector<std::string>{"BANK_one (2).wav", "BANK_one.wav", "BANK_two.wav", "OTHER_one.wav"}));
  EXPECT_EQ(readBytes(host_.path("BANK_two.wav"), 44, 1000), patternBytes(100, 2));
}

TEST_F(SampleExports, FailuresAreThoseOfEachSample) {
  std::filesystem::create_directory(host_.path("dir"));
  const auto operation = volume_->manyItems();
  operation->exportSample(volume_.file("BANK"), 2, host_.path("x.wav"));
  operation->exportSample(volume_.file("BANK"), 1, host_.path("dir"));
  operation->exportSample(volume_.file("BANK"), 1, host_.path("y.wav"));
  EXPECT_EQ(endsOf(*operation),
            (Ends{"BANK: Sample index out of range", "BANK: Failed to write sample file", "BANK"}));
  EXPECT_EQ(namesIn(host_.path()), (std::vector<std::string>{"dir", "y.wav"}));
}

} // namespace
} // namespace tessary::test
