#include "tests/durability/Operations.h"

#include "tests/support/HostFiles.h"
#include "tests/support/PlacedObjects.h"
#include "tests/writing/WritableVolume.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tessary::test {
namespace {

std::string trimmedName(const RawEntry &entry) {
  std::string name(entry.begin(), entry.begin() + 16);
  name.erase(std::min(name.find('\0'), name.size()));
  while (name.ends_with(' '))
    name.pop_back();
  return name;
}

RawEntry withName(RawEntry entry, const std::string &name) {
  std::fill_n(entry.begin(), 16, ' ');
  std::copy(name.begin(), name.end(), entry.begin());
  return entry;
}

/// The model's own, but for the fields that say where the contents are and how long.
RawEntry entryLike(const RawEntry &model, std::uint64_t length) {
  RawEntry entry = newFileEntry("", 0, model[17], length);
  std::copy(model.begin(), model.begin() + 18, entry.begin());
  std::copy(model.begin() + 26, model.end(), entry.begin() + 26);
  return entry;
}

// What is free holds something, but no entry: what a change leaves unwritten, or wrote too late, is seen.
void soilWhatIsFree(ImageBuilder &image) {
  const ImageReading now(image.build());
  for (std::uint64_t block = now.rootBlock; block < now.totalBlocks; ++block) {
    const Bytes there = image.peek(block * kBlockBytes, kBlockBytes);
    const bool isZero = std::all_of(there.begin(), there.end(), [](std::uint8_t byte) { return byte == 0; });
    if (!isZero || now.isNamed(block) || (block >= now.dataBlock && now.mark(block) != 0)) continue;
    Bytes soiled = patternBytes(kBlockBytes, static_cast<std::uint32_t>(block));
    for (std::size_t entry = 0; entry < kBlockBytes; entry += 32)
      soiled[entry] = 0;
    image.pokeBlock(block, 0, soiled);
  }
}

/// Each folder's first block.
struct FolderBlocks {
  std::int16_t full = 0;
  std::int16_t part = 0;
  std::int16_t empty = 0;
  std::int16_t nest = 0;
  std::int16_t inner = 0;
  std::int16_t lost = 0;
};

FolderBlocks blocksOf(Layout layout) {
  if (layout == Layout::tight) return {5, 6, 7, 8, 9, 10};
  return {32, 40, 48, 56, 64, 72};
}

} // namespace

bool isDoneWhole(ItemsOperation &items, EMU3Error *error, const std::function<void()> &reported) {
  ItemsWatcher watcher;
  watcher.ended = [&](const ItemEnd &end) {
    if (!end.error) reported();
    if (end.error && !error->isSet()) *error = *end.error;
  };
  items.run(watcher);
  return !error->isSet();
}

bool ask(const Operation &operation, EMU3Filesystem &volume, EMU3Error *error,
         const std::function<void()> &reported) {
  if (!operation.add) return operation.make(volume, error);
  const auto items = volume.manyItems();
  operation.add(volume, *items);
  return isDoneWhole(*items, error, reported);
}

std::string nameOf(Layout layout) {
  return layout == Layout::tight ? "Tight" : "Apart";
}

std::uint64_t lostBlock(Layout layout) {
  return static_cast<std::uint64_t>(blocksOf(layout).lost);
}

ImageBuilder volumeToChange(Layout layout) {
  const bool isTight = layout == Layout::tight;
  ImageBuilder image(
      isTight ? VolumeLayout{.sizeBytes = 416 * kBlockBytes, .slotSizeBlocks = 4, .directoryBlocks = 24}
              : VolumeLayout{.sizeBytes = 480 * kBlockBytes,
                             .fatStartBlock = 8,
                             .rootDirBlock = 16,
                             .dataAreaBlock = 96,
                             .slotSizeBlocks = 4});
  const FolderBlocks blocks = blocksOf(layout);
  std::uint32_t seed = 100;
  const auto contents = [&](std::size_t length) { return patternBytes(length, ++seed); };
  FolderBuilder root = image.root();
  root.addFile("ROOT1", contents(1300));
  root.addFile("ROOT2", contents(9 * kBlockBytes));
  root.addFile("EMPTY");
  root.addFile("Sixteen bytes of", contents(700), {.type = 0x80});
  FolderBuilder full = root.addFolder("Full", {.blockList = {blocks.full}});
  for (int i = 0; i < 16; ++i)
    full.addFile("F" + std::to_string(i), contents(200));
  FolderBuilder part = root.addFolder("Part", {.blockList = {blocks.part}});
  part.addFile("P1", contents(400));
  part.addDeletedFile();
  part.addFile("P2", contents(5 * kBlockBytes));
  root.addFolder("Void", {.blockList = {blocks.empty}});
  FolderBuilder nest = root.addFolder("Nest", {.blockList = {blocks.nest}});
  nest.addFile("N1", contents(1024));
  FolderBuilder inner = nest.addFolder("Inner", {.blockList = {blocks.inner}});
  inner.addFile("I1", contents(100));
  inner.addFile("I2", contents(2000));
  FolderBuilder lost = root.addFolder("Lost", {.blockList = {blocks.lost}});
  lost.addFile("L1", contents(900));
  lost.addFile("L2", contents(300));
  image.pokeEntry(lost.place(), {});
  // The page of the root is its own.
  if (!isTight) root.addFolder("Wide", {.blockList = {17, 18, 19, 20, 21, 22, 23}});
  soilWhatIsFree(image);
  return image;
}

std::string OperationMaker::nameAt(Place place) const {
  return place == Place{0, 0} ? "/" : trimmedName(now_.entries.at(place).bytes);
}

Place OperationMaker::at(std::string_view path) const {
  Place place{0, 0};
  while (path.size() > 1) {
    path.remove_prefix(1);
    const std::string name(path.substr(0, path.find('/')));
    path.remove_prefix(name.size());
    const auto found = std::find_if(now_.entries.begin(), now_.entries.end(), [&](const auto &item) {
      return item.second.parent == place && trimmedName(item.second.bytes) == name;
    });
    if (found == now_.entries.end()) throw std::logic_error("nothing is named " + name);
    place = found->first;
  }
  return place;
}

std::set<Place> OperationMaker::treeOf(Place folder) const {
  std::set<Place> tree{folder};
  for (std::size_t size = 0; size != tree.size();) {
    size = tree.size();
    for (const auto &[place, entry] : now_.entries)
      if (tree.contains(entry.parent)) tree.insert(place);
  }
  return tree;
}

std::string OperationMaker::hostFile(const std::string &name, const Bytes &contents) const {
  const std::string path = host_.path(name + ".e4b");
  writeBytes(path, contents);
  return path;
}

Operation OperationMaker::importFile(const std::string &name, const Bytes &contents, Place folder) const {
  Operation operation{"import " + name + " into " + nameAt(folder), {}, {}};
  operation.asked.newFiles.push_back({{folder, {}}, newFileEntry(name, 0, 0, contents.size()), contents, {}});
  operation.make = [folder, path = hostFile(name, contents)](EMU3Filesystem &volume, EMU3Error *error) {
    return volume.importFileAtURL(path, folderAt(volume, folder), error);
  };
  return operation;
}

Operation OperationMaker::restoreFile(Place model, const Bytes &contents, Place folder) const {
  const RawEntry entry = now_.entries.at(model).bytes;
  Operation operation{"restore like " + nameAt(model) + " into " + nameAt(folder), {}, {}};
  operation.asked.newFiles.push_back({{folder, {}}, entryLike(entry, contents.size()), contents, {}});
  operation.make = [folder, entry, path = hostFile("backup", contents)](EMU3Filesystem &volume,
                                                                        EMU3Error *error) {
    return volume.restoreFileAtURL(path, entry, folderAt(volume, folder), error) != nullptr;
  };
  return operation;
}

Asked::NewFile OperationMaker::copyOfFile(Place file, Asked::Parent parent) const {
  const RawEntry entry = now_.entries.at(file).bytes;
  const auto [first, end] = now_.contentsOf(entry);
  const std::uint64_t blocks = end - first;
  const std::uint64_t length = blocks == 0 ? 0 : (blocks - 1) * kBlockBytes + wordAt(entry, 24);
  const auto from = image_.begin() + static_cast<std::ptrdiff_t>(first * kBlockBytes);
  return {parent, entryLike(entry, length), Bytes(from, from + static_cast<std::ptrdiff_t>(length)), {}};
}

Operation OperationMaker::copyFile(Place file, Place folder) const {
  Operation operation{"copy " + nameAt(file) + " into " + nameAt(folder), {}, {}};
  operation.asked.newFiles.push_back(copyOfFile(file, {folder, {}}));
  operation.make = [=](EMU3Filesystem &volume, EMU3Error *error) {
    return volume.copyFile(fileAt(volume, file), folderAt(volume, folder), error);
  };
  return operation;
}

Operation OperationMaker::moveFile(Place file, Place folder) const {
  Operation operation{"move " + nameAt(file) + " into " + nameAt(folder), {}, {}};
  operation.asked.moved[file] = folder;
  operation.make = [=](EMU3Filesystem &volume, EMU3Error *error) {
    const EMU3FilePtr moved = fileAt(volume, file);
    return volume.moveFile(moved, moved->folder(), folderAt(volume, folder), error);
  };
  return operation;
}

Operation OperationMaker::renameFile(Place file, const std::string &name) const {
  Operation operation{"rename " + nameAt(file) + " to " + name, {}, {}};
  operation.asked.renamed[file] = withName(now_.entries.at(file).bytes, name);
  operation.make = [=](EMU3Filesystem &volume, EMU3Error *error) {
    const EMU3FilePtr renamed = fileAt(volume, file);
    return volume.renameFile(renamed, name, renamed->folder(), error);
  };
  return operation;
}

Operation OperationMaker::deleteFile(Place file) const {
  Operation operation{"delete " + nameAt(file), {}, {}};
  operation.asked.deleted.insert(file);
  operation.make = [=](EMU3Filesystem &volume, EMU3Error *error) {
    const EMU3FilePtr deleted = fileAt(volume, file);
    return volume.deleteFile(deleted, deleted->folder(), error);
  };
  return operation;
}

Operation OperationMaker::createFolder(const std::string &name, Place folder) const {
  Operation operation{"create folder " + name + " in " + nameAt(folder), {}, {}};
  operation.asked.newFolders.push_back({{folder, {}}, newFolderEntry(name, 0), false});
  operation.make = [=](EMU3Filesystem &volume, EMU3Error *error) {
    return volume.createDirectoryNamed(name, folderAt(volume, folder), error);
  };
  return operation;
}

Operation OperationMaker::renameFolder(Place folder, const std::string &name) const {
  Operation operation{"rename folder " + nameAt(folder) + " to " + name, {}, {}};
  operation.asked.renamed[folder] = withName(now_.entries.at(folder).bytes, name);
  operation.make = [=](EMU3Filesystem &volume, EMU3Error *error) {
    return volume.renameDirectory(folderAt(volume, folder), name, error);
  };
  return operation;
}

Operation OperationMaker::moveFolder(Place folder, Place into) const {
  Operation operation{"move folder " + nameAt(folder) + " into " + nameAt(into), {}, {}};
  operation.asked.moved[folder] = into;
  operation.make = [=](EMU3Filesystem &volume, EMU3Error *error) {
    return volume.moveDirectory(folderAt(volume, folder), folderAt(volume, into), error);
  };
  return operation;
}

Operation OperationMaker::deleteFolder(Place folder) const {
  Operation operation{"delete folder " + nameAt(folder), {}, {}};
  operation.asked.deleted = treeOf(folder);
  operation.make = [=](EMU3Filesystem &volume, EMU3Error *error) {
    const EMU3DirectoryPtr deleted = folderAt(volume, folder);
    return volume.deleteDirectory(deleted, deleted->parent(), error);
  };
  return operation;
}

// A copy of a folder has its name and id; its block is a new one.
Asked OperationMaker::copyOfTree(Place top, Place into) const {
  Asked asked;
  std::map<Place, std::size_t> made;
  std::vector<std::pair<Place, Asked::Parent>> waiting{{top, {into, {}}}};
  while (!waiting.empty()) {
    const auto [place, parent] = waiting.back();
    waiting.pop_back();
    if (!now_.entries.at(place).isFolder) {
      asked.newFiles.push_back(copyOfFile(place, parent));
      continue;
    }
    RawEntry entry = now_.entries.at(place).bytes;
    std::fill(entry.begin() + 18, entry.end(), std::uint8_t{0});
    asked.newFolders.push_back({parent, entry, false});
    const Asked::Parent inside{{}, asked.newFolders.size() - 1};
    for (const auto &[member, each] : now_.entries)
      if (each.parent == place && (each.isFolder || each.isLiveFile())) waiting.emplace_back(member, inside);
  }
  return asked;
}

Operation OperationMaker::copyTree(Place folder, Place into) const {
  Operation operation{"copy tree " + nameAt(folder) + " into " + nameAt(into), copyOfTree(folder, into)};
  operation.add = [=](EMU3Filesystem &volume, ItemsOperation &items) {
    items.copyFolder(folderAt(volume, folder), folderAt(volume, into), ExistingFolder::doubled);
  };
  return operation;
}

Operation OperationMaker::importTree(Place into) const {
  const std::string top = host_.path("NEW");
  std::filesystem::create_directories(top + "/BELOW");
  std::filesystem::create_directories(top + "/NONE");
  Operation operation{"import a tree into " + nameAt(into), {}, {}};
  operation.asked.newFolders = {{{into, {}}, newFolderEntry("NEW", 0), false},
                                {{{}, 0}, newFolderEntry("BELOW", 0), false},
                                {{{}, 0}, newFolderEntry("NONE", 0), false}};
  const auto add = [&](const std::string &folder, std::size_t parent, const std::string &name,
                       std::size_t length) {
    const Bytes contents = patternBytes(length, static_cast<std::uint32_t>(900 + length));
    writeBytes(folder + "/" + name, contents);
    operation.asked.newFiles.push_back({{{}, parent}, newFileEntry(name, 0, 0, length), contents, {}});
  };
  add(top, 0, "ONE", 700);
  add(top, 0, "TWO", 5 * kBlockBytes);
  add(top + "/BELOW", 1, "THREE", 1100);
  operation.add = [=](EMU3Filesystem &volume, ItemsOperation &items) {
    items.importFolder(top, folderAt(volume, into), ExistingFolder::doubled);
  };
  return operation;
}

Operation OperationMaker::moveFolders(const std::vector<Place> &folders, Place into) const {
  Operation operation{"move folders into " + nameAt(into), {}, {}};
  for (const Place &folder : folders)
    operation.asked.moved[folder] = into;
  operation.add = [=](EMU3Filesystem &volume, ItemsOperation &items) {
    for (const Place &folder : folders)
      items.moveFolder(folderAt(volume, folder), folderAt(volume, into), ExistingFolder::doubled);
  };
  return operation;
}

Operation OperationMaker::deleteFolders(const std::vector<Place> &folders) const {
  Operation operation{"delete folders", {}, {}};
  for (const Place &folder : folders)
    operation.asked.deleted.merge(treeOf(folder));
  operation.add = [=](EMU3Filesystem &volume, ItemsOperation &items) {
    for (const Place &folder : folders) {
      const EMU3DirectoryPtr deleted = folderAt(volume, folder);
      items.deleteFolder(deleted, deleted->parent());
    }
  };
  return operation;
}

Operation OperationMaker::mergeFolder(Place folder, Place into) const {
  Operation operation{"merge " + nameAt(folder) + " into " + nameAt(into), {}, {}};
  for (const auto &[place, entry] : now_.entries)
    if (entry.parent == folder) operation.asked.moved[place] = into;
  operation.asked.deleted.insert(folder);
  operation.add = [=](EMU3Filesystem &volume, ItemsOperation &items) {
    items.moveFolder(folderAt(volume, folder), folderAt(volume, into)->parent(), ExistingFolder::used);
  };
  return operation;
}

Operation OperationMaker::recoverFolder(std::uint64_t block, const std::string &name, Place folder) const {
  Operation operation{"recover folder " + name + " into " + nameAt(folder), {}, {}};
  operation.asked.newFolders.push_back(
      {{folder, {}}, newFolderEntry(name, static_cast<std::uint16_t>(block)), true});
  operation.make = [=](EMU3Filesystem &volume, EMU3Error *error) {
    return volume.recoverFolder(block, name, folderAt(volume, folder), error);
  };
  return operation;
}

Operation OperationMaker::drawn(Random &random, std::uint32_t serial,
                                std::optional<std::uint64_t> lost) const {
  std::vector<Place> files;
  std::vector<Place> folders;
  std::vector<Place> below; // folders other than the root
  for (const auto &[place, entry] : now_.entries) {
    if (entry.isLiveFile()) files.push_back(place);
    if (entry.isFolder) below.push_back(place);
  }
  for (const auto &[place, blocks] : now_.folders)
    folders.push_back(place);
  const std::string name = "S" + std::to_string(serial);
  const Bytes contents = patternBytes(random.below(10 * kBlockBytes), 1000 + serial);
  const Place folder = random.pick(folders);
  std::size_t kind = random.below(11);
  if (kind == 10 && random.chance(70)) kind = 0; // a tree goes now and then
  if (lost && random.chance(10)) return recoverFolder(*lost, name, folder);
  if (files.empty() || kind < 2) return importFile(name, contents, folder);
  const Place file = random.pick(files);
  if (kind == 2) return restoreFile(file, contents, folder);
  if (kind == 3) return copyFile(file, folder);
  if (kind == 4 || kind == 5) {
    if (now_.entries.at(file).parent != folder) return moveFile(file, folder);
    return renameFile(file, name);
  }
  if (kind == 6) return deleteFile(file);
  if (below.empty() || kind == 7) return createFolder(name, folder);
  const Place other = random.pick(below);
  if (kind == 8) return renameFolder(other, name);
  if (kind == 10) return deleteFolder(other);
  if (treeOf(other).contains(folder) || now_.entries.at(other).parent == folder) return deleteFile(file);
  return moveFolder(other, folder);
}

} // namespace tessary::test
