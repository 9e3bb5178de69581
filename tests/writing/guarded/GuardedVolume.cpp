#include "tests/writing/guarded/GuardedVolume.h"

#include <algorithm>

namespace tessary::test {
namespace {

std::string lineOf(const EMU3Directory &folder) {
  std::string line = "folder " + folder.name() + " id " + std::to_string(folder.entryId()) + " at " +
                     std::to_string(folder.dentryBlock()) + ":" + std::to_string(folder.dentryOffset()) +
                     " blocks";
  for (const std::int64_t block : folder.blockList())
    line += " " + std::to_string(block);
  return line;
}

std::string lineOf(const EMU3File &file) {
  const EMU3FileFields fields = file.fields();
  std::string line = "file " + fields.name;
  for (const std::int64_t number :
       {std::int64_t{fields.rawType}, fields.fileType, std::int64_t{fields.entryId}, fields.dentryBlock,
        fields.dentryOffset, std::int64_t{fields.startCluster}, std::int64_t{fields.clusterCount},
        std::int64_t{fields.blocksInLastCluster}, std::int64_t{fields.bytesInLastBlock},
        static_cast<std::int64_t>(fields.fileSize)})
    line += " " + std::to_string(number);
  return line;
}

// The order of a list is that of the changes; an image is read in the order of the entries.
std::vector<std::string> sorted(std::vector<std::string> lines) {
  std::sort(lines.begin(), lines.end());
  return lines;
}

} // namespace

GuardedVolume::GuardedVolume(ImageBuilder image) : WritableVolume(std::move(image), MountRules::guarded) {}

bool GuardedVolume::import(std::string_view name, const Bytes &contents, const EMU3DirectoryPtr &folder,
                           EMU3Error *error) const {
  return filesystem()->importFileAtURL(hostFile(name, contents), folder, error);
}

std::uint16_t GuardedVolume::slotGiven(std::uint64_t blocks) const {
  if (!import("new", patternBytes(blocks * kBlockBytes, 77))) return 0;
  return root()->files().back()->startCluster();
}

testing::AssertionResult GuardedVolume::hasFree(std::uint64_t blocks) const {
  const Counters counters = countersOf(*filesystem());
  const std::uint64_t total = filesystem()->totalBlocks();
  if (counters == Counters{total - blocks, blocks}) return testing::AssertionSuccess();
  return testing::AssertionFailure() << testing::PrintToString(counters) << " instead of " << blocks
                                     << " free of " << total;
}

testing::AssertionResult GuardedVolume::isAsReadAnew() const {
  const TemporaryFolder folder;
  copySparse(imagePath(), folder.path("disk.hda"));
  const EMU3FilesystemPtr fresh = mounted(folder.path("disk.hda"), MountRules::guarded);
  const std::vector<std::string> inMemory = sorted(listed(root()));
  const std::vector<std::string> inImage = sorted(listed(fresh->rootDirectory()));
  if (inMemory != inImage)
    return testing::AssertionFailure() << "in memory " << testing::PrintToString(inMemory)
                                       << "\nin the image " << testing::PrintToString(inImage);
  if (countersOf(*filesystem()) == countersOf(*fresh)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << testing::PrintToString(countersOf(*filesystem())) << " instead of "
                                     << testing::PrintToString(countersOf(*fresh));
}

void GuardedVolume::expectRefused(const std::string &error,
                                  const std::function<bool(EMU3Error *)> &operation) const {
  const Bytes imageBefore = readBytes(imagePath());
  const Counters countersBefore = countersOf(*filesystem());
  const std::vector<std::string> before = listed(root());
  EMU3Error reason;
  EXPECT_FALSE(operation(&reason));
  EXPECT_EQ(reason.description(), error);
  EXPECT_FALSE(operation(nullptr));
  EXPECT_TRUE(readBytes(imagePath()) == imageBefore) << "the image has changed";
  EXPECT_EQ(countersOf(*filesystem()), countersBefore);
  EXPECT_EQ(listed(root()), before);
}

std::vector<std::string> listed(const EMU3DirectoryPtr &root) {
  std::vector<std::string> lines;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root)) {
    lines.push_back(lineOf(*folder));
    for (const EMU3FilePtr &file : folder->files())
      lines.push_back(lineOf(*file));
  }
  return lines;
}

void fillAllBlocks(FolderBuilder folder) {
  fillFolder(folder, folder.blocks().size() * 16);
}

} // namespace tessary::test
