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

// The n-th of a folder entry's seven block numbers.
std::int64_t numberAt(const RawEntry &entry, std::size_t position) {
  return static_cast<std::int16_t>(entry[18 + 2 * position] | entry[19 + 2 * position] << 8);
}

void putNumber(RawEntry &entry, std::size_t position, std::int64_t number) {
  entry[18 + 2 * position] = static_cast<std::uint8_t>(number);
  entry[19 + 2 * position] = static_cast<std::uint8_t>(number >> 8);
}

bool readsAsFile(const RawEntry &entry) {
  const bool isMarked = std::string(entry.begin() + 28, entry.end()) == "E4B0";
  const bool hasFileType = entry[26] == 0x80 || entry[26] == 0x81 || entry[26] == 0x83;
  return isMarked || hasFileType || (entry[17] != 0x40 && entry[17] != 0x80);
}

std::string nameIn(const RawEntry &entry) {
  const std::string field(entry.begin(), entry.begin() + 16);
  return withoutTrailingSpaces(field.substr(0, field.find('\0')));
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
  countFreeSlots();
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
  if (rules_ == MountRules::guarded) return; // memory and image are one already
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

// --- Guarded: places, blocks, slots ------------------------------------------------------------------

std::vector<std::int64_t> VolumeModel::folderBlocks(const Place &place) const {
  const RawEntry entry = image.entryAt(entryPlace(place));
  std::vector<std::int64_t> blocks;
  for (std::size_t position = 0; position < 7; ++position)
    blocks.push_back(numberAt(entry, position));
  return blocks;
}

std::optional<VolumeModel::Spot> VolumeModel::findSpot(const EMU3DirectoryPtr &root,
                                                       const EMU3DirectoryPtr &folder) const {
  if (const std::optional<Place> place = freeEntry(root, folder)) return Spot{*place};
  if (rules_ == MountRules::bare || folder == root) return std::nullopt;
  const std::vector<std::int64_t> numbers = folderBlocks(placeIn(*folder));
  const auto unset = std::find_if(numbers.begin(), numbers.end(), [](std::int64_t n) { return n < 1; });
  if (unset == numbers.end()) return std::nullopt;
  const auto position = static_cast<std::size_t>(unset - numbers.begin());
  const auto block = guardedFolderBlock(0, [&](std::int64_t number) {
    RawEntry grown = image.entryAt(entryPlace(placeIn(*folder)));
    putNumber(grown, position, number);
    return !readsAsFile(grown);
  });
  if (!block) return std::nullopt;
  return Spot{{*block, 0}, position};
}

void VolumeModel::grow(const EMU3DirectoryPtr &folder, const Spot &spot) {
  if (!spot.growthPosition) return;
  clearBlock(image, static_cast<std::uint64_t>(spot.place.first));
  RawEntry entry = image.entryAt(placeOf(*folder));
  putNumber(entry, *spot.growthPosition, spot.place.first);
  image.pokeEntry(placeOf(*folder), entry);
}

// The first block that is all zero; else the first whose entries are all empty.
std::optional<std::int64_t>
VolumeModel::guardedFolderBlock(std::int64_t except, const std::function<bool(std::int64_t)> &suits) const {
  std::set<std::int64_t> named{static_cast<std::int64_t>(image.rootDirBlock()), except};
  for (const auto &[place, entry] : entries) {
    if (!entry.isFolder) continue;
    for (const std::int64_t block : folderBlocks(place))
      named.insert(block);
  }
  std::optional<std::int64_t> withoutEntries;
  for (std::uint64_t number = image.rootDirBlock(); number < image.dataAreaBlock(); ++number) {
    const auto block = static_cast<std::int64_t>(number);
    if (number >= image.totalBlocks() || named.contains(block) || !suits(block)) continue;
    const Bytes bytes = image.peek(number * kBlockBytes, kBlockBytes);
    if (bytes == Bytes(kBlockBytes)) return block;
    bool hasEntry = false;
    for (std::size_t at = 0; at < kBlockBytes; at += 32)
      hasEntry = hasEntry || bytes[at] != 0;
    if (!hasEntry && !withoutEntries) withoutEntries = block;
  }
  return withoutEntries;
}

std::uint64_t VolumeModel::describedBlocks() const { // these volumes have their table inside the image
  return std::min<std::uint64_t>(image.tableEntries(), image.totalBlocks());
}

std::uint64_t VolumeModel::slotCount() const {
  return (image.totalBlocks() - image.dataAreaBlock() + image.slotSizeBlocks() - 1) / image.slotSizeBlocks();
}

std::uint64_t VolumeModel::slotsOf(std::uint64_t blocks) const {
  return std::max<std::uint64_t>(1, (blocks + image.slotSizeBlocks() - 1) / image.slotSizeBlocks());
}

std::pair<std::uint64_t, std::uint64_t> VolumeModel::reachOf(const ModelEntry &file) const {
  const std::uint64_t first = std::max<std::uint64_t>(1, file.slot);
  return {first, first + std::max<std::uint64_t>(file.clusterCount, slotsOf(file.storedBlocks)) - 1};
}

bool VolumeModel::isReached(std::uint64_t slot) const {
  return std::any_of(entries.begin(), entries.end(), [&](const auto &item) {
    const ModelEntry &entry = item.second;
    if (entry.isFolder || entry.rawType == 0) return false;
    const auto [first, last] = reachOf(entry);
    return first <= slot && slot <= last;
  });
}

std::vector<bool> VolumeModel::takenSlots() const {
  std::vector<bool> taken(slotCount() + 1);
  for (std::uint64_t slot = 1; slot < taken.size(); ++slot) {
    taken[slot] = isReached(slot);
    const std::uint64_t first = image.dataAreaBlock() + image.slotSizeBlocks() * (slot - 1);
    for (std::uint64_t block = first; block < first + image.slotSizeBlocks(); ++block)
      if (block < describedBlocks() && image.fatEntry(block) != 0) taken[slot] = true;
  }
  return taken;
}

void VolumeModel::countFreeSlots() {
  if (rules_ == MountRules::bare) return;
  const std::vector<bool> taken = takenSlots();
  counters.free = 0;
  for (std::uint64_t slot = 1; slot < taken.size(); ++slot) {
    const std::uint64_t first = image.dataAreaBlock() + image.slotSizeBlocks() * (slot - 1);
    if (!taken[slot]) counters.free += std::min(image.slotSizeBlocks(), image.totalBlocks() - first);
  }
  counters.used = image.totalBlocks() - counters.free;
}

// Bare, the one above the highest in use. Guarded, the lowest place above all that files reach, else the
// lowest of all.
std::optional<std::uint16_t> VolumeModel::slotFor(const EMU3DirectoryPtr &root, std::uint64_t blocks) const {
  std::uint64_t highest = 0;
  if (rules_ == MountRules::bare) {
    visitFolders(root, [&](const EMU3DirectoryPtr &folder) {
      for (const EMU3FilePtr &file : folder->files())
        highest = std::max<std::uint64_t>(highest, file->startCluster());
    });
    const auto slot = static_cast<std::uint16_t>(highest + 1);
    if ((image.slotBlock(slot) + blocks) * kBlockBytes > image.sizeBytes()) return std::nullopt;
    return slot;
  }
  for (const auto &[place, entry] : entries)
    if (!entry.isFolder) highest = std::max(highest, reachOf(entry).second);
  const std::vector<bool> taken = takenSlots();
  for (const std::uint64_t from : {highest + 1, std::uint64_t{1}}) {
    for (std::uint64_t first = from; first + slotsOf(blocks) <= taken.size(); ++first) {
      bool isFree = image.slotBlock(static_cast<std::uint16_t>(first)) + blocks <= image.totalBlocks();
      for (std::uint64_t slot = first; slot < first + slotsOf(blocks); ++slot)
        isFree = isFree && !taken[slot];
      if (isFree) return static_cast<std::uint16_t>(first);
    }
  }
  return std::nullopt;
}

void VolumeModel::mark(std::uint16_t slot, std::uint64_t blocks, std::uint16_t value) {
  const std::uint64_t first = image.dataAreaBlock() + image.slotSizeBlocks() * (std::uint64_t{slot} - 1);
  for (std::uint64_t block = first; block != first + blocks; ++block) {
    const bool inTable = block < describedBlocks();
    const bool inImage = block < (image.totalBlocks() - image.fatStartBlock()) * 256;
    if (rules_ == MountRules::guarded ? inTable : inImage) image.setFatEntry(block, value);
  }
}

// --- The changes -----------------------------------------------------------------------------------

std::uint8_t VolumeModel::nextId(const EMU3DirectoryPtr &folder) const {
  unsigned id = 0;
  for (const EMU3FilePtr &file : folder->files()) {
    if (file->entryId() >= id % 256) id = file->entryId() + 1U;
  }
  return static_cast<std::uint8_t>(id);
}

VolumeModel::Outcome VolumeModel::store(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &folder,
                                        const NewFile &file) {
  if (!file.source && isRefusedName(file.name)) return {kNameError};
  const std::uint64_t filled = (file.contents.size() + 511) / 512;
  const std::uint64_t blocks = std::max<std::uint64_t>(1, filled);
  if (blocks > counters.free) return {kNoSpaceError};
  const std::optional<Spot> spot = findSpot(root, folder);
  if (!spot) return {kFolderFullError};
  const std::optional<std::uint16_t> slot = slotFor(root, blocks);
  if (!slot) return {kNoSlotError};
  putData(image, image.slotBlock(*slot), file.contents);
  if (rules_ == MountRules::guarded) return storeGuarded(folder, file, *spot, *slot);

  mark(*slot, blocks, 0x8000);
  counters.used += blocks;
  counters.free -= blocks;
  const std::uint8_t id = nextId(folder);
  RawEntry entry = newFileEntry(entryName(file.name), *slot, id, file.contents.size());
  if (file.keepsName) std::copy_n(file.source->begin(), 16, entry.begin());
  image.pokeEntry(entryPlace(spot->place), entry);
  entries[spot->place] = {.treeName = file.name,
                          .storedName = file.keepsName ? file.name : nameIn(entry),
                          .contents = file.contents,
                          .rawType = 0x81,
                          .fileType = file.fileType,
                          .slot = *slot,
                          .entryId = id,
                          .clusterCount = 1,
                          .blocks = static_cast<std::uint16_t>(blocks),
                          .storedBlocks = static_cast<std::uint16_t>(filled)};
  return {"", spot->place};
}

VolumeModel::Outcome VolumeModel::storeGuarded(const EMU3DirectoryPtr &folder, const NewFile &file,
                                               const Spot &spot, std::uint16_t slot) {
  mark(slot, (file.contents.size() + 511) / 512, 0x8000);
  RawEntry entry = newFileEntry(entryName(file.name), slot, nextId(folder), file.contents.size());
  if (file.source) {
    RawEntry copy = *file.source;
    std::copy(entry.begin() + 17, entry.begin() + 26, copy.begin() + 17);
    if (!readsAsFile(copy)) ++copy[17];
    entry = copy;
  }
  grow(folder, spot);
  putGuardedFile(spot.place, entry, file.contents);
  countFreeSlots();
  return {"", spot.place};
}

// Tree and image say the same of it.
void VolumeModel::putGuardedFile(const Place &place, const RawEntry &entry, const Bytes &contents) {
  image.pokeEntry(entryPlace(place), entry);
  const auto number = [&](std::size_t at) {
    return static_cast<std::uint16_t>(entry[at] | entry[at + 1] << 8);
  };
  entries[place] = {.treeName = nameIn(entry),
                    .storedName = nameIn(entry),
                    .contents = contents,
                    .rawType = entry[26],
                    .fileType = typeOfRawType(entry[26]),
                    .slot = number(18),
                    .entryId = entry[17],
                    .clusterCount = number(20),
                    .blocks = number(22),
                    .storedBlocks = number(22)};
}

VolumeModel::Outcome VolumeModel::moveEntry(const EMU3DirectoryPtr &root, const EMU3File &file,
                                            const EMU3DirectoryPtr &to) {
  const std::optional<Spot> spot = findSpot(root, to);
  if (!spot) return {kFolderFullError};
  RawEntry entry = image.entryAt(placeOf(file));
  entry[17] = nextId(to);
  if (!readsAsFile(entry)) ++entry[17];
  const Bytes contents = entries.at(placeIn(file)).contents;
  grow(to, *spot);
  putGuardedFile(spot->place, entry, contents);
  clearFileEntry(image, placeOf(file));
  entries.erase(placeIn(file));
  countFreeSlots();
  return {"", spot->place};
}

VolumeModel::Outcome VolumeModel::moveFolder(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &folder,
                                             const EMU3DirectoryPtr &to) {
  if (folder == root) return {kNoEntryError};
  for (EMU3DirectoryPtr inside = to; inside; inside = inside->parent())
    if (inside == folder) return {kIntoItselfError};
  if (folder->parent() == to) return {"", placeIn(*folder)};
  const std::optional<Spot> spot = findSpot(root, to);
  if (!spot) return {kFolderFullError};
  grow(to, *spot);
  image.pokeEntry(entryPlace(spot->place), image.entryAt(placeOf(*folder)));
  image.pokeEntry(placeOf(*folder), {});
  const ModelEntry entry = entries.at(placeIn(*folder));
  entries.erase(placeIn(*folder));
  entries[spot->place] = entry;
  countFreeSlots();
  return {"", spot->place};
}

void VolumeModel::remove(const EMU3File &file) {
  const ModelEntry removed = entries[placeIn(file)];
  clearFileEntry(image, placeOf(file));
  entries.erase(placeIn(file));
  if (rules_ == MountRules::bare) {
    const std::uint64_t blocks = file.blocksInLastCluster();
    mark(file.startCluster(), blocks, 0);
    counters.free += blocks;
    if (counters.used >= blocks) counters.used -= blocks;
    return;
  }
  const std::uint64_t first = reachOf(removed).first;
  for (std::uint64_t slot = first; slot < first + slotsOf(removed.storedBlocks) && slot <= slotCount();
       ++slot)
    if (!isReached(slot)) mark(static_cast<std::uint16_t>(slot), image.slotSizeBlocks(), 0);
  countFreeSlots();
}

std::string VolumeModel::rename(const EMU3File &file, const std::string &name) {
  if (name.empty() || utf16Units(name) > 15 || isRefusedName(name)) return kNameError;
  std::string field = entryName(name);
  ModelEntry &entry = entries.at(placeIn(file));
  entry.storedName = withoutTrailingSpaces(field);
  entry.treeName = rules_ == MountRules::guarded ? entry.storedName : name;
  field.resize(16, ' ');
  putName(image, placeOf(file), field);
  return "";
}

VolumeModel::Outcome VolumeModel::createFolder(const EMU3DirectoryPtr &root, const EMU3DirectoryPtr &parent,
                                               const std::string &name) {
  if (name.empty() || utf16Units(name) > 15 || isRefusedName(name)) return {kNameError};
  const std::optional<Spot> spot = findSpot(root, parent);
  if (!spot) return {kParentFullError};
  const std::optional<std::int64_t> block =
      rules_ == MountRules::bare ? bareFolderBlock(root)
                                 : guardedFolderBlock(spot->growthPosition ? spot->place.first : 0,
                                                      [](std::int64_t) { return true; });
  if (!block) return {kNoFolderBlockError};
  grow(parent, *spot);
  clearBlock(image, static_cast<std::uint64_t>(*block));
  image.pokeEntry(entryPlace(spot->place),
                  newFolderEntry(entryName(name), static_cast<std::uint16_t>(*block)));
  const std::string stored = withoutTrailingSpaces(entryName(name));
  entries[spot->place] = {.isFolder = true,
                          .treeName = rules_ == MountRules::guarded ? stored : name,
                          .storedName = stored,
                          .entryId = 0x40};
  countFreeSlots();
  return {"", spot->place};
}

std::optional<std::int64_t> VolumeModel::bareFolderBlock(const EMU3DirectoryPtr &root) const {
  std::set<std::int64_t> taken;
  visitFolders(root, [&](const EMU3DirectoryPtr &folder) {
    for (const std::int64_t block : folder->blockList())
      taken.insert(block);
  });
  auto block = static_cast<std::int64_t>(image.rootDirBlock());
  while (taken.contains(block))
    ++block;
  if (block >= static_cast<std::int64_t>(image.dataAreaBlock())) return std::nullopt;
  return block;
}

void VolumeModel::deleteFolder(const EMU3DirectoryPtr &folder) {
  for (const EMU3FilePtr &file : folder->files()) {
    if (rules_ == MountRules::guarded && file->isDeleted())
      entries.erase(placeIn(*file)); // nothing of it is cleared
    else
      remove(*file);
  }
  for (const EMU3DirectoryPtr &below : folder->subdirectories())
    deleteFolder(below);
  for (const std::int64_t block : folder->blockList())
    clearBlock(image, static_cast<std::uint64_t>(block));
  image.pokeEntry(placeOf(*folder), {});
  entries.erase(placeIn(*folder));
}

std::string VolumeModel::renameFolder(const EMU3Directory &folder, const std::string &name) {
  ModelEntry &entry = entries.at(placeIn(folder));
  if (rules_ == MountRules::bare) {
    entry.treeName = name;
    return "";
  }
  if (name.empty() || utf16Units(name) > 15 || isRefusedName(name)) return kNameError;
  std::string field = entryName(name);
  entry.storedName = entry.treeName = withoutTrailingSpaces(field);
  field.resize(16, ' ');
  putName(image, placeOf(folder), field);
  return "";
}

} // namespace tessary::test
