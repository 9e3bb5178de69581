// What is at the host file's path when its turn comes, not when the import was planned.

#include "tests/items/ItemsTest.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace tessary::test {
namespace {

class Imports : public testing::Test {
protected:
  Imports() {
    writeText(path_, "as planned");
    operation_->importFile(path_, volume_.root());
    std::filesystem::remove(path_);
  }

  /// Why the file was not imported.
  std::string refusal() {
    EMU3Error error;
    ItemsWatcher watcher;
    watcher.ended = [&](const ItemEnd &end) { error = end.error.value_or(EMU3Error()); };
    operation_->run(watcher);
    EXPECT_EQ(volume_.root()->totalFileCount(), 0U);
    return error.message;
  }

  const GuardedVolume volume_{ImageBuilder()};
  const TemporaryFolder host_;
  const std::string path_ = host_.path("KICK");
  const std::unique_ptr<ItemsOperation> operation_ = volume_->manyItems();
};

TEST_F(Imports, FileThatIsGoneFails) {
  EXPECT_EQ(refusal(), path_ + ": No such file or directory");
}

TEST_F(Imports, FolderInItsPlaceIsRefused) {
  std::filesystem::create_directory(path_);
  EXPECT_EQ(refusal(), path_ + ": Is a directory");
}

TEST_F(Imports, FifoInItsPlaceIsRefusedAndNotWaitedFor) {
  ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
  EXPECT_EQ(refusal(), path_ + ": Not a regular file");
}

TEST_F(Imports, FileThatGrewIsImportedWhole) {
  const Bytes grown = patternBytes(100'000, 3);
  writeBytes(path_, grown);
  runWell(*operation_);
  EXPECT_EQ(contentsBelow(volume_), (Contents{{"KICK", grown}}));
}

TEST_F(Imports, FileThatBecameEmptyIsImportedEmpty) {
  writeText(path_, "");
  runWell(*operation_);
  EXPECT_EQ(contentsBelow(volume_), (Contents{{"KICK", Bytes()}}));
}

} // namespace
} // namespace tessary::test
