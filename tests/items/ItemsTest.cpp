#include "tests/items/ItemsTest.h"

#include "tests/support/PlacedObjects.h"

#include <filesystem>
#include <utility>

namespace tessary::test {
namespace {

void addContents(EMU3Filesystem &volume, const EMU3DirectoryPtr &top, Contents *contents) {
  std::vector<std::pair<EMU3DirectoryPtr, std::string>> waiting{{top, ""}};
  while (!waiting.empty()) {
    const auto [folder, path] = waiting.back();
    waiting.pop_back();
    for (const EMU3FilePtr &file : folder->allFiles())
      contents->emplace(path + file->name(), contentsOf(volume, file));
    for (const EMU3DirectoryPtr &below : folder->subdirectories()) {
      const std::string name = path + below->name() + "/";
      contents->emplace(name, Bytes{});
      waiting.emplace_back(below, name);
    }
  }
}

RawEntry entryAt(const MountedVolume &volume, std::int64_t block, std::int64_t index) {
  const auto offset =
      static_cast<std::uint64_t>(block) * kBlockBytes + static_cast<std::uint64_t>(index) * 32;
  const Bytes bytes = readBytes(volume.imagePath(), offset, 32);
  RawEntry entry{};
  std::copy(bytes.begin(), bytes.end(), entry.begin());
  return entry;
}

std::string nameOf(const Item &item) {
  if (item.file) return item.file->name();
  if (item.folder) return item.folder->name();
  return item.hostPath.substr(item.hostPath.rfind('/') + 1);
}

} // namespace

Contents contentsBelow(EMU3Filesystem &volume) {
  Contents contents;
  addContents(volume, volume.rootDirectory(), &contents);
  return contents;
}

Contents contentsBelow(const MountedVolume &volume, const std::string &folder) {
  const EMU3FilesystemPtr anew = readAnew(volume.imagePath());
  EMU3DirectoryPtr top = anew->rootDirectory();
  for (std::size_t at = 0; at < folder.size();) {
    const std::size_t end = std::min(folder.find('/', at), folder.size());
    top = folderNamed(top, folder.substr(at, end - at));
    at = end + 1;
  }
  Contents contents;
  addContents(*anew, top, &contents);
  return contents;
}

Contents contentsOfHostFolder(const std::string &folder) {
  Contents contents;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
    const std::string path = entry.path().native().substr(folder.size() + 1);
    if (entry.is_directory())
      contents.emplace(path + "/", Bytes{});
    else
      contents.emplace(path, readBytes(entry.path().native()));
  }
  return contents;
}

Ends endsOf(ItemsOperation &operation, ItemsWatcher watcher) {
  Ends ends;
  watcher.ended = [&](const ItemEnd &end) {
    const std::string name = nameOf(operation.item(end.item));
    ends.push_back(end.error ? name + ": " + end.error->message : name);
  };
  operation.run(watcher);
  return ends;
}

void runWell(ItemsOperation &operation) {
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    EXPECT_FALSE(end.error) << nameOf(operation.item(end.item)) << ": " << end.error->message;
  };
  operation.run(watcher);
  EXPECT_EQ(operation.progress().itemsEnded, operation.progress().items);
  EXPECT_EQ(operation.progress().bytesDone, operation.progress().bytes);
}

ImageBuilder volumeOfTrees() {
  ImageBuilder image({.sizeBytes = 4 * kMiB, .slotSizeBlocks = 8});
  FolderBuilder root = image.root();
  root.addFile("KICK", patternBytes(1300, 1));
  root.addFile("Sixteen bytes of", patternBytes(700, 2), {.type = 0x80, .byte16 = 7, .byte27 = 9});
  FolderBuilder drums = root.addFolder("Drums", {.entryId = 0x80});
  drums.addFile("A", patternBytes(5000, 3));
  drums.addFile("B", patternBytes(512, 4));
  FolderBuilder deep = drums.addFolder("Sixteen byte dir");
  deep.addFile("C", patternBytes(100, 5), {.type = 0x83});
  drums.addFolder("None");
  root.addFolder("Other").addFile("X", patternBytes(600, 6));
  return image;
}

RawEntry entryOf(const MountedVolume &volume, const EMU3Directory &folder) {
  return entryAt(volume, folder.dentryBlock(), folder.dentryOffset());
}

RawEntry entryOf(const MountedVolume &volume, const EMU3File &file) {
  return entryAt(volume, file.dentryBlock(), file.dentryOffset());
}

std::vector<std::string> harmIn(EMU3Filesystem &volume) {
  std::vector<std::string> harm;
  for (const VolumeFinding &finding : volume.check())
    if (finding.isHarm() && !finding.kind.starts_with("harm-bare-")) harm.push_back(finding.message);
  return harm;
}

} // namespace tessary::test
