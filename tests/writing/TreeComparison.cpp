#include "tests/writing/TreeComparison.h"
#include "filesystem/TreeEditor.h"

#include <algorithm>

namespace tessary::test {

namespace {

class Comparison {
public:
  Comparison(EMU3Filesystem &filesystem, const VolumeModel &model, Side side,
             const std::set<EMU3FilePtr> &overtaken)
      : filesystem_(filesystem), model_(model), side_(side), overtaken_(overtaken) {}

  std::string problem() {
    compareFolder(filesystem_.rootDirectory());
    for (const auto &[place, entry] : model_.entries) {
      if (!seen_.contains(place)) complain(place, "is missing: " + entry.treeName);
    }
    return problem_;
  }

private:
  using Place = VolumeModel::Place;

  void complain(const Place &place, const std::string &what) {
    if (problem_.empty())
      problem_ =
          std::string(side_ == Side::memory ? "in memory " : "in the image ") + placeText(place) + " " + what;
  }
  template <typename Value>
  void expectSame(const Place &place, const char *what, const Value &actual, const Value &expected) {
    if (actual != expected)
      complain(place, std::string(what) + " is " + testing::PrintToString(actual) + " instead of " +
                          testing::PrintToString(expected));
  }

  // The model's entry at a place, to be met once and in a folder that owns the block.
  std::optional<ModelEntry> take(const Place &place, bool isFolder, const EMU3DirectoryPtr &folder) {
    const auto found = model_.entries.find(place);
    const std::vector<std::int64_t> blocks = folder->blockList();
    if (std::find(blocks.begin(), blocks.end(), place.first) == blocks.end())
      complain(place, "lies in no block of its folder");
    if (found == model_.entries.end() || found->second.isFolder != isFolder) {
      complain(place, "should not be there");
      return std::nullopt;
    }
    if (!seen_.insert(place).second) complain(place, "is listed twice");
    return side_ == Side::image ? found->second.asReadFromTheImage() : found->second;
  }

  void compareFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &folder) {
    const EMU3FileFields fields = file->fields();
    const Place place{fields.dentryBlock, fields.dentryOffset};
    const std::optional<ModelEntry> entry = take(place, false, folder);
    if (!entry) return;
    expectSame(place, "the name", fields.name, entry->treeName);
    expectSame(place, "the size", fields.fileSize, std::uint64_t{entry->contents.size()});
    expectSame(place, "the type byte", fields.rawType, entry->rawType);
    expectSame(place, "the slot", fields.startCluster, entry->slot);
    expectSame(place, "the entry id", fields.entryId, entry->entryId);
    expectSame(place, "the cluster count", fields.clusterCount, entry->clusterCount);
    expectSame(place, "the type", fields.fileType, entry->fileType);
    expectSame(place, "the block count", fields.blocksInLastCluster, entry->blocks);
    if (file->isDeleted() && filesystem_.rules() == MountRules::guarded)
      return; // whose contents are not read
    if (contentsAsStored(file) != entry->readContents()) complain(place, "has other contents");
  }

  // Read anew from the image: contents that are cached would hide that they have been overwritten there.
  Bytes contentsAsStored(const EMU3FilePtr &file) {
    ByteBufferPtr cached = file->cachedData();
    TreeEditor::setCachedData(*file, nullptr);
    const ByteBufferPtr stored = filesystem_.contentsOfFile(file);
    TreeEditor::setCachedData(*file, std::move(cached));
    return {stored->begin(), stored->end()};
  }

  void compareFolder(const EMU3DirectoryPtr &folder) {
    for (const EMU3FilePtr &file : folder->files()) {
      if (!overtaken_.contains(file)) compareFile(file, folder);
    }
    for (const EMU3DirectoryPtr &below : folder->subdirectories()) {
      const Place place{below->dentryBlock(), below->dentryOffset()};
      if (below->parent() != folder) complain(place, "has another parent");
      if (const std::optional<ModelEntry> entry = take(place, true, folder)) {
        expectSame(place, "the name", below->name(), entry->treeName);
        expectSame(place, "the entry id", below->entryId(), entry->entryId);
      }
      compareFolder(below);
    }
  }

  EMU3Filesystem &filesystem_;
  const VolumeModel &model_;
  Side side_;
  const std::set<EMU3FilePtr> &overtaken_;
  std::set<Place> seen_;
  std::string problem_;
};

} // namespace

testing::AssertionResult holdsModel(EMU3Filesystem &filesystem, const VolumeModel &model, Side side,
                                    const std::set<EMU3FilePtr> &overtaken) {
  const std::string problem = Comparison(filesystem, model, side, overtaken).problem();
  return problem.empty() ? testing::AssertionSuccess() : testing::AssertionFailure() << problem;
}

} // namespace tessary::test
