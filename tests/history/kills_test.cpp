// The program is killed while changes are undone and redone.

#include "app/history/NameStep.h"
#include "app/history/PlaceStep.h"
#include "app/history/PresenceSteps.h"
#include "tessary/ItemsOperation.h"
#include "tests/items/ItemsTest.h"
#include "tests/support/AskedNumber.h"
#include "tests/writing/KilledWork.h"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <set>

namespace tessary::test {
namespace {

using tessary::PlacedFile;

/// A mounted volume, and what its history knows of it.
struct Session {
  EMU3FilesystemPtr volume;
  LastingItems items;
  WorkProgress progress;

  [[nodiscard]] EMU3DirectoryPtr folder(const std::string &name) const {
    return folderNamed(volume->rootDirectory(), name);
  }
  /// Does one thing to the volume; how it ended.
  ItemEnd change(const std::function<void(ItemsOperation &)> &add) const {
    const auto operation = volume->manyItems();
    add(*operation);
    ItemEnd ended;
    ItemsWatcher watcher;
    watcher.ended = [&](const ItemEnd &end) { ended = end; };
    operation->run(watcher);
    EXPECT_FALSE(ended.error);
    return ended;
  }
};

/// Changes the volume, and gives what takes that back.
using Change = std::function<HistoryStepPtr(Session &)>;

class KilledHistory : public testing::Test {
protected:
  void SetUp() override {
    std::filesystem::create_directories(cache());
    ::setenv("XDG_CACHE_HOME", cache().c_str(), 1);
    layOut();
    before_ = contents();
    writeBytes(folder_.path("NEW"), patternBytes(9000, 77));
  }

  std::string image() const { return folder_.path("image.hda"); }
  std::string cache() const { return folder_.path("cache"); }

  /// A of eight files and Deep of three, B of two.
  void layOut() const {
    std::filesystem::remove_all(cache());
    std::filesystem::create_directories(cache());
    ImageBuilder image({.sizeBytes = 4 * kMiB, .slotSizeBlocks = 8});
    FolderBuilder a = image.root().addFolder("A", {.blockCount = 2});
    FolderBuilder b = image.root().addFolder("B", {.blockCount = 2});
    FolderBuilder deep = a.addFolder("Deep");
    std::uint32_t seed = 1;
    for (const auto &[folder, count] : {std::pair{&a, 8}, std::pair{&deep, 3}, std::pair{&b, 2}})
      for (int i = 0; i < count; ++i, ++seed)
        folder->addFile("F" + std::to_string(seed), patternBytes(20000 / (seed % 7 + 1), seed));
    image.writeTo(this->image());
  }
  Contents contents() const {
    const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image(), MountRules::guarded);
    for (const VolumeFinding &finding : volume->check())
      EXPECT_TRUE(!finding.isHarm() || finding.kind == mayBeFound_) << finding.message;
    return contentsBelow(*volume);
  }
  /// What lies on the host for the history.
  std::set<Bytes> copies() const {
    std::set<Bytes> copies;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(cache()))
      if (entry.is_regular_file()) copies.insert(readBytes(entry.path().native()));
    return copies;
  }

  std::function<void()> undoAndRedo(const Change &change) const {
    const auto session = std::make_shared<Session>();
    session->volume = mounted(image(), MountRules::guarded);
    HistoryStepPtr step = change(*session);
    return [session, step]() mutable {
      constexpr int times = 5;
      for (int i = 0; i < times && step; ++i)
        step = step->run(*session->volume, session->items, session->progress).counterpart;
      if (!step) std::abort();
    };
  }

  /// Of what the volume held, what was `touched` may lie on the host instead, and be under another name or
  /// in another folder; all else stands where it stood.
  void expectNothingLost(const std::function<bool(const std::string &path)> &touched, bool mayBeAway) const {
    const Contents now = contents();
    std::set<Bytes> left;
    for (const auto &[path, bytes] : now)
      left.insert(bytes);
    if (mayBeAway) left.merge(copies());
    std::set<Bytes> known{{}, readBytes(folder_.path("NEW"))};
    for (const auto &[path, bytes] : before_) {
      known.insert(bytes);
      if (touched(path)) {
        EXPECT_TRUE(path.ends_with('/') || left.contains(bytes)) << path << " is lost";
      } else {
        ASSERT_TRUE(now.contains(path)) << path;
        EXPECT_EQ(now.at(path), bytes) << path;
      }
    }
    for (const auto &[path, bytes] : now)
      EXPECT_TRUE(known.contains(bytes)) << path << " is none of the files";
  }

  void killOften(const Change &change, const std::function<bool(const std::string &path)> &touched,
                 bool mayBeAway = false) const {
    KilledWork work([this] { layOut(); }, [&] { return undoAndRedo(change); });
    work.killAtMoments(askedNumber("TESSARY_KILLS", 16), [&] { expectNothingLost(touched, mayBeAway); });
  }

  const TemporaryFolder folder_;
  Contents before_;
  std::string mayBeFound_; ///< what a check may find after a kill
};

bool nothing(const std::string &) {
  return false;
}

bool inA(const std::string &path) {
  return path.starts_with("A/");
}

TEST_F(KilledHistory, KeepsDeletedFilesInTheVolumeOrOnTheHost) {
  const auto deleteFiles = [](Session &session) {
    std::vector<PlacedFile> files;
    for (const EMU3FilePtr &file : session.folder("A")->allFiles())
      files.push_back({file, session.folder("A")});
    return TakeAwayStep::of(session.items, files)
        ->run(*session.volume, session.items, session.progress)
        .counterpart;
  };
  killOften(deleteFiles, inA, true);
}

TEST_F(KilledHistory, KeepsADeletedFolderInTheVolumeOrOnTheHost) {
  const auto deleteFolder = [](Session &session) {
    return TakeAwayStep::of(session.items, session.folder("A"))
        ->run(*session.volume, session.items, session.progress)
        .counterpart;
  };
  killOften(deleteFolder, inA, true);
}

TEST_F(KilledHistory, KeepsARenamedFileWhole) {
  const auto rename = [](Session &session) -> HistoryStepPtr {
    const EMU3DirectoryPtr a = session.folder("A");
    const EMU3FilePtr file = a->allFiles().front();
    const EntryBytes entry = session.volume->entryOfFile(file).value();
    session.change([&](ItemsOperation &items) { items.renameFile(file, "OTHER", a); });
    return std::make_shared<NameStep>(session.items.of(file), session.items.of(a), entry);
  };
  killOften(rename, [](const std::string &path) { return path == "A/F1"; });
}

TEST_F(KilledHistory, KeepsARenamedFolderWhole) {
  const auto rename = [](Session &session) -> HistoryStepPtr {
    const EMU3DirectoryPtr a = session.folder("A");
    const EntryBytes entry = session.volume->entryOfDirectory(a).value();
    session.change([&](ItemsOperation &items) { items.renameFolder(a, "Other"); });
    return std::make_shared<NameStep>(session.items.of(a), entry);
  };
  killOften(rename, inA);
}

TEST_F(KilledHistory, KeepsMovedFilesInOneFolderOrTheOther) {
  const auto move = [](Session &session) -> HistoryStepPtr {
    const EMU3DirectoryPtr a = session.folder("A");
    const EMU3DirectoryPtr b = session.folder("B");
    std::vector<PlaceStep::Move> moves;
    for (const EMU3FilePtr &file : a->allFiles()) {
      const LastingFile lasting = session.items.of(file);
      const ItemEnd end = session.change([&](ItemsOperation &items) { items.moveFile(file, a, b); });
      if (end.file) session.items.became(file, end.file);
      moves.push_back({lasting, session.items.of(b), session.items.of(a)});
    }
    return std::make_shared<PlaceStep>(std::move(moves));
  };
  mayBeFound_ = "harm-overlap"; // the new entry stands before the old one is cleared
  killOften(move, inA);
}

TEST_F(KilledHistory, LeavesWhatWasCopiedAlone) {
  const auto copy = [](Session &session) {
    const EMU3DirectoryPtr b = session.folder("B");
    std::vector<PlacedFile> copies;
    for (const EMU3FilePtr &file : session.folder("A")->allFiles())
      copies.push_back({session.change([&](ItemsOperation &items) { items.copyFile(file, b); }).file, b});
    return TakeAwayStep::of(session.items, copies);
  };
  killOften(copy, nothing);
}

TEST_F(KilledHistory, LeavesWhatWasThereBeforeAnImportAlone) {
  const auto import = [this](Session &session) {
    const EMU3DirectoryPtr b = session.folder("B");
    const ItemEnd end =
        session.change([&](ItemsOperation &items) { items.importFile(folder_.path("NEW"), b); });
    return TakeAwayStep::of(session.items, {{end.file, b}});
  };
  killOften(import, nothing);
}

TEST_F(KilledHistory, LeavesWhatWasThereBeforeANewFolderAlone) {
  const auto makeFolder = [](Session &session) {
    EMU3Error error;
    EMU3DirectoryPtr made;
    EXPECT_TRUE(session.volume->createDirectoryNamed("Fresh", session.volume->rootDirectory(), &error, &made))
        << error.description();
    return TakeAwayStep::of(session.items, made);
  };
  killOften(makeFolder, nothing);
}

} // namespace
} // namespace tessary::test
