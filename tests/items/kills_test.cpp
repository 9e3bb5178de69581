// The program is killed while trees go from the host, or from one volume, to another.

#include "tests/items/ItemsTest.h"
#include "tests/support/AskedNumber.h"
#include "tests/writing/KilledWork.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace tessary::test {
namespace {

constexpr const char *kTree = "Tree";

// Three folders of eight files each, one in another.
ImageBuilder volumeWithTree() {
  ImageBuilder image({.sizeBytes = 4 * kMiB, .slotSizeBlocks = 8});
  FolderBuilder folder = image.root();
  std::uint32_t seed = 0;
  for (const char *name : {kTree, "B", "C"}) {
    folder = folder.addFolder(name);
    for (std::uint32_t i = 0; i < 8; ++i, ++seed)
      folder.addFile("F" + std::to_string(i), patternBytes(20000 / (seed % 7 + 1), seed));
  }
  return image;
}

Contents contentsOfImage(const std::string &path) {
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(path, MountRules::guarded);
  EXPECT_TRUE(volume);
  EXPECT_EQ(harmIn(*volume), std::vector<std::string>{});
  return contentsBelow(*volume);
}

// Files alone: whether an emptied folder is there makes no difference.
Contents filesOf(Contents contents) {
  std::erase_if(contents, [](const auto &item) { return item.first.ends_with('/'); });
  return contents;
}

class KilledTrees : public testing::Test {
protected:
  /// Adds the work to an operation of the volume `to`.
  using Work =
      std::function<void(ItemsOperation &items, const EMU3FilesystemPtr &from, const EMU3DirectoryPtr &to)>;

  std::string from() const { return folder_.path("from.hda"); }
  std::string to() const { return folder_.path("to.hda"); }
  void layOut() const {
    volumeWithTree().writeTo(from());
    ImageBuilder({.sizeBytes = 4 * kMiB, .slotSizeBlocks = 8}).writeTo(to());
  }
  std::function<void()> prepare(const Work &work) const {
    const EMU3FilesystemPtr source = mounted(from(), MountRules::guarded);
    const EMU3FilesystemPtr volume = mounted(to(), MountRules::guarded);
    const std::shared_ptr<ItemsOperation> items = volume->manyItems();
    work(*items, source, volume->rootDirectory());
    return [source, volume, items] { items->run({}); };
  }

  /// `judge` looks at what is on both after each kill.
  void killOften(const Work &work,
                 const std::function<void(const Contents &from, const Contents &to)> &judge) const {
    KilledWork killed([this] { layOut(); }, [&] { return prepare(work); });
    killed.killAtMoments(askedNumber("TESSARY_KILLS", 30),
                         [&] { judge(contentsOfImage(from()), contentsOfImage(to())); });
  }

  static void expectNothingElse(const Contents &found, const Contents &all) {
    for (const auto &[path, bytes] : found) {
      ASSERT_TRUE(all.contains(path)) << path;
      EXPECT_EQ(bytes, all.at(path)) << path;
    }
  }

  const TemporaryFolder folder_;
};

TEST_F(KilledTrees, CopyLeavesItsSourceAloneAndNoFileHalf) {
  layOut();
  const Contents all = contentsOfImage(from());
  killOften(
      [](ItemsOperation &items, const EMU3FilesystemPtr &source, const EMU3DirectoryPtr &to) {
        items.copyFolder(folderNamed(source->rootDirectory(), kTree), to, ExistingFolder::used, source);
      },
      [&](const Contents &left, const Contents &found) {
        EXPECT_EQ(left, all);
        expectNothingElse(found, all);
      });
}

TEST_F(KilledTrees, MoveHasEachFileInOneOfTheVolumes) {
  layOut();
  const Contents all = contentsOfImage(from());
  killOften(
      [](ItemsOperation &items, const EMU3FilesystemPtr &source, const EMU3DirectoryPtr &to) {
        items.moveFolder(folderNamed(source->rootDirectory(), kTree), to, ExistingFolder::used, source);
      },
      [&](const Contents &left, const Contents &found) {
        expectNothingElse(left, all);
        expectNothingElse(found, all);
        Contents both = filesOf(left);
        both.merge(filesOf(found));
        EXPECT_EQ(both, filesOf(all));
      });
}

TEST_F(KilledTrees, ImportLeavesNoFileHalf) {
  const std::string top = folder_.path(kTree);
  std::filesystem::create_directories(top + "/B");
  Contents all{{"Tree/", {}}, {"Tree/B/", {}}};
  for (std::uint32_t i = 0; i < 16; ++i) {
    const std::string name = (i % 2 == 0 ? "/" : "/B/") + ("F" + std::to_string(i));
    all[kTree + name] = patternBytes(i * 1500, i);
    writeBytes(top + name, all[kTree + name]);
  }
  killOften([&](ItemsOperation &items, const EMU3FilesystemPtr &,
                const EMU3DirectoryPtr &to) { items.importFolder(top, to, ExistingFolder::used); },
            [&](const Contents &, const Contents &found) { expectNothingElse(found, all); });
}

} // namespace
} // namespace tessary::test
