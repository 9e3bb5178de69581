// A program of operations on a volume. The first byte says whether the volume is guarded; a guarded one
// stays sound, and what the tree says is what a fresh look at the image finds.

#include "tests/fuzz/MemoryImage.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <map>

namespace {

using namespace tessary;

class Program {
public:
  Program(const std::uint8_t *data, std::size_t size) : data_(data), size_(size) {}
  bool hasMore() const { return place_ < size_; }
  std::uint8_t byte() { return hasMore() ? data_[place_++] : 0; }
  std::string text() {
    std::string word;
    for (std::size_t length = byte() % 20; length > 0 && hasMore(); --length)
      word += static_cast<char>(byte());
    return word;
  }
  template <typename T> T pick(const std::vector<T> &list) { return list[byte() % list.size()]; }

private:
  const std::uint8_t *data_;
  std::size_t size_;
  std::size_t place_ = 0;
};

const fuzz::MemoryImage makeImage() {
  test::ImageBuilder image({.sizeBytes = 256 * test::kKiB, .slotSizeBlocks = 4, .directoryBlocks = 12});
  test::FolderBuilder drums = image.root().addFolder("Drums", {.blockCount = 2});
  drums.addFile("KICK", test::patternBytes(1500, 1));
  drums.addFile("EMPTY");
  image.root().addFile("LONG", test::patternBytes(5000, 2), {.type = 0x80});
  return fuzz::MemoryImage(image.build());
}

const std::string &hostFile() {
  static const test::TemporaryFolder folder;
  static const std::string path = [] {
    test::writeBytes(folder.path("import.e4b"), test::patternBytes(1234, 3));
    return folder.path("import.e4b");
  }();
  return path;
}

// An entry as a deleted file had it: its name may be any bytes, but not begin with 0, which would mean that
// no entry is there.
EntryBytes entryNamed(std::string name) {
  if (name.empty() || name[0] == 0) name.insert(0, 1, 'x');
  return test::rawFileEntry(name.substr(0, 16), 0x81, 1, 1, 1, 1, 1);
}

void runOne(Program &program, EMU3Filesystem &volume) {
  const EMU3DirectoryPtr root = volume.rootDirectory();
  const std::vector<EMU3DirectoryPtr> folders = directoriesInPreOrder(root);
  const EMU3DirectoryPtr from = program.pick(folders);
  const std::vector<EMU3FilePtr> files = from->files();
  const std::uint8_t operation = program.byte() % 11;
  if (operation == 0) volume.importFileAtURL(hostFile(), from);
  if (operation == 1) volume.createDirectoryNamed(program.text(), from);
  if (operation == 2 && from != root) volume.deleteDirectory(from, from->parent());
  if (operation == 3) volume.restoreFileAtURL(hostFile(), entryNamed(program.text()), from);
  if (operation == 4) volume.reload();
  if (operation == 9) volume.renameDirectory(from, program.text());
  if (operation == 10) volume.moveDirectory(from, program.pick(folders));
  if (files.empty()) return;
  const EMU3FilePtr file = program.pick(files);
  if (operation == 5) volume.copyFile(file, program.pick(folders));
  if (operation == 6) volume.moveFile(file, from, program.pick(folders));
  if (operation == 7) volume.deleteFile(file, from);
  if (operation == 8) volume.renameFile(file, program.text(), from);
}

// Files by place, with their sizes: the same in the tree and in a fresh look.
std::map<std::pair<std::int64_t, std::int64_t>, std::uint64_t> filesOf(EMU3Filesystem &volume) {
  std::map<std::pair<std::int64_t, std::int64_t>, std::uint64_t> found;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume.rootDirectory())) {
    for (const EMU3FilePtr &file : folder->files()) {
      const bool isNew =
          found.emplace(std::pair(file->dentryBlock(), file->dentryOffset()), file->fileSize()).second;
      fuzz::require(isNew, "no two files share an entry");
    }
  }
  return found;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  Program program(data, std::min<std::size_t>(size, 400));
  const fuzz::MemoryImage image = makeImage();
  const MountRules rules = program.byte() % 4 != 0 ? MountRules::guarded : MountRules::bare;
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image.path(), rules);
  while (program.hasMore())
    runOne(program, *volume);
  const std::vector<VolumeFinding> findings = volume->check();
  if (rules == MountRules::bare) return 0;
  for (const VolumeFinding &finding : findings)
    fuzz::require(!finding.isHarm(), finding.message.c_str());
  const fuzz::MemoryImage copy(test::readBytes(image.path()));
  fuzz::require(filesOf(*volume) == filesOf(*EMU3Filesystem::initWithURL(copy.path(), rules)),
                "the tree is what the image holds");
  return 0;
}
