#include "tests/writing/VolumeModel.h"

#include <algorithm>
#include <set>

namespace tessary::test {

namespace {

using Place = VolumeModel::Place;

constexpr std::uint64_t kEntriesInBlock = 16;

EntryPlace entryPlace(const Place &place) {
  return {static_cast<std::uint64_t>(place.first), static_cast<std::size_t>(place.second)};
}

template <typename Item> Place placeIn(const Item &item) {
  return {item.dentryBlock(), item.dentryOffset()};
}

std::int64_t typeOfRawType(std::uint8_t rawType) {
  if (rawType == 0x80) return 2;
  return rawType == 0x81 || rawType == 0x83 ? 1 : 0;
}

bool continuesCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

std::size_t utf16Units(std::string_view text) {
  std::size_t units = 0;
  for (const char byte : text) {
    if (continuesCharacter(byte)) continue;
    units += static_cast<unsigned char>(byte) >= 0xF0 ? 2 : 1;
  }
  return units;
}

std::string withoutTrailingSpaces(std::string text) {
  while (!text.empty() && text.back() == ' ')
    text.pop_back();
  return text;
}

void visitFolders(const EMU3DirectoryPtr &folder, const auto &visit) {
  visit(folder);
  for (const EMU3DirectoryPtr &below : folder->subdirectories())
    visitFolders(below, visit);
}

} // namespace

std::string placeText(const Place &place) {
  return "@" + std::to_string(place.first) + ":" + std::to_string(place.second);
}

ModelEntry ModelEntry::asReadFromTheImage() const {
  ModelEntry read = *this;
  read.treeName = storedName;
  read.fileType = typeOfRawType(rawType);
  read.blocks = storedBlocks;
  return read;
}

VolumeModel::VolumeModel(ImageBuilder bytes, MountRules rules, const EMU3DirectoryPtr &root)
    : image(std::move(bytes)), rules_(rules) {
  counters = scan();
  addReadEntries(root);
}

void VolumeModel::addReadEntries(const EMU3DirectoryPtr &folder) {
  for (const EMU3FilePtr &file : folder->files()) {
    const EMU3FileFields fields = file->fields();
    ModelEntry entry{.treeName = fields.name, .storedName = fields.name};
    const std::uint16_t slot = std::max<std::uint16_t>(fields.startCluster, 1);
    if (fields.fileSize > 0)
      entry.contents = image.peek(image.slotBlock(slot) * kBlockBytes, fields.fileSize);
    entry.rawType = fields.rawType;
    entry.fileType = typeOfRawType(fields.rawType);
    entry.slot = fields.startCluster;
    entry.entryId = fields.entryId;
    entry.clusterCount = fields.clusterCount;
    entry.blocks = entry.storedBlocks = fields.blocksInLastCluster;
    entries[placeIn(*file)] = std::move(entry);
  }
  for (const EMU3DirectoryPtr &below : folder->subdirectories()) {
    entries[placeIn(*below)] = {.isFolder = true,
                                .treeName = below->name(),
                                .storedName = below->name(),
                                .entryId = below->entryId()};
    addReadEntries(below);
  }
}

Counters VolumeModel::scan() const {
  const std::uint64_t first = image.fatStartBlock(); // these volumes state it
  const std::uint64_t end = std::min(image.totalBlocks(), first + 1024);
  Counters counted;
  const Bytes words = image.peek(first * kBlockBytes, (end - first) * kBlockBytes);
  for (std::size_t i = 0; i < words.size(); i += 2)
    counted.used += words[i] != 0 || words[i + 1] != 0 ? 1U : 0U;
  counted.free = words.size() / 2 - counted.used;
  return counted;
}

void VolumeModel::reload() {
  counters = scan();
  for (auto &[place, entry] : entries)
    entry = entry.asReadFromTheImage();
}

std::string VolumeModel::entryName(const std::string &name) const {
  std::size_t length = std::min<std::size_t>(name.size(), 15);
  if (rules_ == MountRules::guarded) {
    while (length > 0 && length < name.size() && continuesCharacter(name[length]))
      --length;
  }
  return name.substr(0, length);
}

bool VolumeModel::isRefusedName(const std::string &name) const {
  return rules_ == MountRules::guarded && withoutTrailingSpaces(entryName(name)).empty();
}

std::optional<Place> VolumeModel::freeEntry(const EMU3DirectoryPtr &root,
                                            const EMU3DirectoryPtr &folder) const {
  std::set<Place> liveFolders;
  visitFolders(root, [&](const EMU3DirectoryPtr &each) {
    if (each != root) liveFolders.insert(placeIn(*each));
  });
  for (const std::int64_t block : folder->blockList()) {
    for (std::size_t index = 0; index < kEntriesInBlock; ++index) {
      const Place place{block, static_cast<std::int64_t>(index)};
      const RawEntry entry = image.entryAt(entryPlace(place));
      const bool named = entry[0] != 0;
      if (named && entry[26] != 0) continue;
      if (named && rules_ == MountRules::guarded && liveFolders.contains(place)) continue;
      return place;
    }
  }
  return std::nullopt;
}

std::uint16_t VolumeModel::slotAboveAll(const EMU3DirectoryPtr &root) const {
  std::uint64_t highest = 0;
  visitFolders(root, [&](const EMU3DirectoryPtr &folder) {
    for (const EMU3FilePtr &file : folder->files()) {
      std::uint64_t reached = file->startCluster();
      if (rules_ == MountRules::guarded) {
        const std::uint64_t slots =
            (file->blocksInLastCluster() + image.slotSizeBlocks() - 1) / image.slotSizeBlocks();
        reached = std::max<std::uint64_t>(reached, 1) - 1 +
                  std::max<std::uint64_t>({1, file->clusterCount(), slots});
      }
      highest = std::max(highest, reached);
    }
  });
  return static_cast<std::uint16_t>(highest + 1);
}

void VolumeModel::mark(std::uint16_t slot, std::uint64_t blocks, std::uint16_t value) {
  const std::uint64_t first = image.dataAreaBlock() + image.slotSizeBlocks() * (std::uint64_t{slot} - 1);
  for (std::uint64_t block = first; block != first + blocks; ++block) {
    const bool inTable = block < image.tableEntries();
    const bool inImage = block < (image.totalBlocks() - image.fatStartBlock()) * 256;
    if (rules_ == MountRules::guarded ? inTable : inImage) image.setFatEntry(block, value);
  }
}

VolumeModel::Outcome VolumeModel::store(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &folder,
                                        const std::string &name, const Bytes &contents, std::int64_t fileType,
                                        bool wholeName) {
  if (isRefusedName(name)) return {kNameError};
  const std::uint64_t blocks = std::max<std::uint64_t>(1, (contents.size() + 511) / 512);
  if (blocks > counters.free) return {kNoSpaceError};
  const std::optional<Place> place = freeEntry(root, folder);
  if (!place) return {kFolderFullError};
  const std::uint16_t slot = slotAboveAll(root);
  const std::uint64_t first = image.slotBlock(slot);
  if ((first + blocks) * kBlockBytes > image.sizeBytes()) return {kNoSlotError};

  unsigned id = 0;
  for (const EMU3FilePtr &file : folder->files()) {
    if (file->entryId() >= id % 256) id = file->entryId() + 1U;
  }
  putData(image, first, contents);
  mark(slot, blocks, 0x8000);
  counters.used += blocks;
  counters.free -= blocks;
  RawEntry entry = newFileEntry(entryName(name), slot, static_cast<std::uint8_t>(id), contents.size());
  const bool whole = wholeName && name.size() == 16;
  if (whole) std::copy(name.begin(), name.end(), entry.begin());
  image.pokeEntry(entryPlace(*place), entry);
  entries[*place] = {.treeName = name,
                     .storedName = whole ? name : withoutTrailingSpaces(entryName(name)),
                     .contents = contents,
                     .rawType = 0x81,
                     .fileType = fileType,
                     .slot = slot,
                     .entryId = static_cast<std::uint8_t>(id),
                     .clusterCount = 1,
                     .blocks = static_cast<std::uint16_t>(blocks),
                     .storedBlocks = static_cast<std::uint16_t>(contents.empty() ? 0 : blocks)};
  return {"", *place};
}

void VolumeModel::remove(const EMU3File &file) {
  clearFileEntry(image, placeOf(file));
  const std::uint64_t blocks = file.blocksInLastCluster();
  mark(file.startCluster(), blocks, 0);
  counters.free += blocks;
  if (counters.used >= blocks) counters.used -= blocks;
  entries.erase(placeIn(file));
}

std::string VolumeModel::rename(const EMU3File &file, const std::string &name) {
  if (name.empty() || utf16Units(name) > 15 || isRefusedName(name)) return kNameError;
  std::string field = entryName(name);
  ModelEntry &entry = entries.at(placeIn(file));
  entry.treeName = name;
  entry.storedName = withoutTrailingSpaces(field);
  field.resize(16, ' ');
  putName(image, placeOf(file), field);
  return "";
}

VolumeModel::Outcome VolumeModel::createFolder(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &parent,
                                               const std::string &name) {
  if (name.empty() || utf16Units(name) > 15 || isRefusedName(name)) return {kNameError};
  const std::optional<Place> place = freeEntry(root, parent);
  if (!place) return {kParentFullError};
  std::set<std::int64_t> taken;
  visitFolders(root, [&](const EMU3DirectoryPtr &folder) {
    for (const std::int64_t block : folder->blockList())
      taken.insert(block);
  });
  auto block = static_cast<std::int64_t>(image.rootDirBlock());
  while (taken.contains(block))
    ++block;
  if (block >= static_cast<std::int64_t>(image.dataAreaBlock())) return {kNoFolderBlockError};
  clearBlock(image, static_cast<std::uint64_t>(block));
  image.pokeEntry(entryPlace(*place), newFolderEntry(entryName(name), static_cast<std::uint16_t>(block)));
  entries[*place] = {.isFolder = true,
                     .treeName = name,
                     .storedName = withoutTrailingSpaces(entryName(name)),
                     .entryId = 0x40};
  return {"", *place};
}

void VolumeModel::deleteFolder(const EMU3DirectoryPtr &folder) {
  for (const EMU3FilePtr &file : folder->files())
    remove(*file);
  for (const EMU3DirectoryPtr &below : folder->subdirectories())
    deleteFolder(below);
  for (const std::int64_t block : folder->blockList())
    clearBlock(image, static_cast<std::uint64_t>(block));
  image.pokeEntry(placeOf(*folder), {});
  entries.erase(placeIn(*folder));
}

void VolumeModel::renameFolderInMemory(const EMU3Directory &folder, const std::string &name) {
  entries.at(placeIn(folder)).treeName = name;
}

} // namespace tessary::test
