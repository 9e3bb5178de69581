#include "tests/compare/KnownEntries.h"

#include <algorithm>
#include <string_view>

namespace tessary::compare {
namespace {

using test::EntryPlace;
using test::ImageBuilder;
using test::RawEntry;

constexpr std::size_t kEntriesPerBlock = 16;
constexpr std::size_t kMostFolders = 200; // more than that are of a volume made to exhaust its reader

std::uint16_t number16(const RawEntry &entry, std::size_t at) {
  return static_cast<std::uint16_t>(entry[at] | (entry[at + 1] << 8));
}

// A field of the header, which may have been damaged after the image was laid out.
std::uint64_t headerField(const ImageBuilder &image, std::uint64_t offset, std::uint64_t whenZero) {
  const test::Bytes bytes = image.peek(offset, 4);
  std::uint64_t value = 0;
  for (std::size_t i = 4; i > 0; --i)
    value = value << 8 | bytes[i - 1];
  return value != 0 ? value : whenZero;
}

bool isFile(const RawEntry &entry) {
  if (std::string_view(reinterpret_cast<const char *>(&entry[28]), 4) == "E4B0") return true;
  if (entry[26] == 0x80 || entry[26] == 0x81 || entry[26] == 0x83) return true;
  return entry[17] != 0x40 && entry[17] != 0x80;
}

// Empty where there is no entry, or one whose name is no plain text: its place alone addresses it.
std::string nameOf(const RawEntry &entry) {
  std::string name;
  for (std::size_t i = 0; i < 16 && entry[i] != 0; ++i) {
    if (entry[i] < 0x20 || entry[i] > 0x7E) return {};
    name += static_cast<char>(entry[i]);
  }
  name.erase(name.find_last_not_of(' ') + 1);
  return name;
}

class TreeReader {
public:
  TreeReader(const ImageBuilder &image, KnownEntries &known)
      : image_(image), known_(known), isRead_(image.totalBlocks()) {}

  void read(std::uint64_t rootBlock) {
    known_.folders.push_back({"/"});
    readBlock(rootBlock, "/");
    for (std::size_t next = 0; next < waiting_.size() && known_.folders.size() < kMostFolders; ++next) {
      const Waiting folder = waiting_[next];
      for (const std::uint64_t block : folder.blocks)
        readBlock(block, folder.path);
    }
  }

  // Blocks that no folder has led to, with an entry in them.
  void findUnlisted(std::uint64_t from, std::uint64_t end) {
    for (std::uint64_t block = from; block < std::min(end, image_.totalBlocks()); ++block) {
      if (isRead_[block]) continue;
      for (std::size_t index = 0; index < kEntriesPerBlock; ++index) {
        if (nameOf(image_.entryAt({block, index})).empty()) continue;
        known_.unlistedBlocks.push_back(block);
        break;
      }
    }
  }

private:
  struct Waiting {
    std::string path;
    std::vector<std::uint64_t> blocks;
  };

  void readBlock(std::uint64_t block, const std::string &folder) {
    if (block >= image_.totalBlocks() || isRead_[block]) return;
    isRead_[block] = true;
    known_.folderBlocks.push_back(block);
    for (std::size_t index = 0; index < kEntriesPerBlock; ++index)
      readEntry({block, index}, folder);
  }

  void readEntry(EntryPlace place, const std::string &folder) {
    const RawEntry entry = image_.entryAt(place);
    if (entry[0] == 0) return;
    const std::string name = nameOf(entry);
    KnownEntry known{name.empty() ? KnownEntry{"", place}.placeOrPath() : pathIn(folder, name), place};
    if (isFile(entry)) {
      if (entry[26] != 0) known_.files.push_back(std::move(known)); // type 0: deleted
      return;
    }
    Waiting below{known.path, {}};
    for (std::size_t at = 18; at < 32; at += 2) {
      const std::uint16_t number = number16(entry, at);
      if (number > 0 && number < 0x8000) below.blocks.push_back(number);
    }
    known_.folders.push_back(std::move(known));
    waiting_.push_back(std::move(below));
  }

  const ImageBuilder &image_;
  KnownEntries &known_;
  std::vector<bool> isRead_;
  std::vector<Waiting> waiting_;
};

bool isBelow(const std::string &path, const std::string &folder) {
  return path.starts_with(below(folder, ""));
}

} // namespace

std::string KnownEntry::placeOrPath() const {
  return place ? "@" + std::to_string(place->block) + ":" + std::to_string(place->index) : path;
}

KnownEntries::KnownEntries(const ImageBuilder &image) {
  TreeReader reader(image, *this);
  const std::uint64_t root = headerField(image, 8, 6);
  reader.read(root);
  reader.findUnlisted(root, headerField(image, 32, 175));
}

void KnownEntries::forgetFile(const std::string &path) {
  std::erase_if(files, [&](const KnownEntry &file) { return file.path == path; });
}

void KnownEntries::forgetFolder(const std::string &path) {
  if (path == "/") return;
  std::erase_if(files, [&](const KnownEntry &file) { return isBelow(file.path, path); });
  std::erase_if(folders,
                [&](const KnownEntry &folder) { return folder.path == path || isBelow(folder.path, path); });
}

std::string below(const std::string &folder, const std::string &part) {
  return (folder == "/" ? "" : folder) + "/" + part;
}

std::string pathIn(const std::string &folder, const std::string &name) {
  std::string part;
  for (const char character : name) {
    if (std::string_view("/\\*?").find(character) != std::string_view::npos) part += '\\';
    part += character;
  }
  return below(folder, part);
}

} // namespace tessary::compare
