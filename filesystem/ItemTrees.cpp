#include "filesystem/ItemTrees.h"

#include "filesystem/EntrySpot.h"
#include "filesystem/FileChanges.h"
#include "filesystem/FolderChanges.h"
#include "filesystem/HostImport.h"
#include "filesystem/StoreSteps.h"
#include "filesystem/VolumeRules.h"
#include "tessary/HostTree.h"
#include "tessary/Text.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessary {
namespace {

/// A planned folder, as the planning of its members needs it.
template <typename Folder> struct Above {
  std::optional<std::size_t> item; ///< of the folder
  Folder into;
  MovedFolderPtr moved{}; ///< the folder, where it is moved
};

// `onFolder` plans a folder and gives what the planning of its members needs; none where they are not
// planned.
template <typename Inside, typename OnFolder, typename OnFile>
void walkTree(const EMU3DirectoryPtr &top, Inside above, const OnFolder &onFolder, const OnFile &onFile) {
  std::vector<std::pair<EMU3DirectoryPtr, Inside>> waiting{{top, std::move(above)}};
  while (!waiting.empty()) {
    const auto [folder, outside] = std::move(waiting.back());
    waiting.pop_back();
    const std::optional<Inside> inside = onFolder(folder, outside);
    if (!inside) continue;
    for (const EMU3FilePtr &file : folder->allFiles())
      onFile(file, folder, *inside);
    std::vector<EMU3DirectoryPtr> below = folder->subdirectories();
    for (; !below.empty(); below.pop_back())
      waiting.emplace_back(std::move(below.back()), *inside);
  }
}

Item itemOf(const EMU3FilePtr &file, const std::optional<std::size_t> &parent) {
  return {.parent = parent, .file = file, .bytes = file->fileSize()};
}

Item itemOf(const EMU3DirectoryPtr &folder, const std::optional<std::size_t> &parent) {
  return {.parent = parent, .folder = folder, .isFolder = true};
}

VolumeFolder folderToBe() {
  return std::make_shared<FolderToBe<EMU3DirectoryPtr>>();
}

using InVolume = Above<VolumeFolder>;

/// A folder that is moved file by file.
struct Emptied {
  std::size_t item = 0;
  MovedFolderPtr folder;
  VolumeFolder made; ///< where its contents go
};

// A copy of an entry keeps its name as it is; otherwise it is stored anew.
std::string nameOfCopy(const TreeDestination &destination, const EMU3File &file) {
  const Volume &volume = *destination.at.volume;
  return volume.rules().copiesKeepTheirEntry() ? file.name() : nameOnceStored(volume, file.name());
}

// From the top down: the first folder in which nothing was left is deleted with all below it.
void planDeletion(ItemsPlan *plan, const VolumeAt &at, const std::vector<Emptied> &folders) {
  for (const Emptied &folder : folders)
    plan->addStep(folder.item, std::make_unique<EmptiedFolderStep>(at, folder.folder, folder.made));
}

// An entry that has no name is refused when its turn comes.
FolderPlan planOfStored(const Volume &volume, const EntryBytes &entry) {
  FolderPlan plan{.entry = entry};
  EMU3Error error;
  if (const std::optional<std::string> name = nameOfEarlier(volume, entry, &error))
    plan.name = *name;
  else
    plan.failure = error;
  return plan;
}

} // namespace

// What has a size was seen to be a regular file.
void planImport(ItemsPlan *plan, const TreeDestination &destination, Item item, ImportSource source,
                const VolumeFolder &to) {
  const std::string name = nameOnceStored(*destination.at.volume, nameForImport(source));
  source.isRegular = item.bytes > 0;
  auto step = std::make_unique<ImportStep>(destination.at, std::move(source), to);
  step->setArriving({destination.earlier, to, name});
  plan->add(std::move(item), std::move(step));
}

std::unique_ptr<ItemStep> copyStep(const TreeDestination &destination, const VolumeAt &source,
                                   const EMU3FilePtr &file, const VolumeFolder &to) {
  const VolumeAt &at = destination.at;
  std::unique_ptr<ChangeStep> step;
  if (source.volume != at.volume) {
    step = std::make_unique<BringStep>(at, ForeignFile{source, file, nullptr}, to);
  } else {
    step = std::make_unique<SimpleStep>(StepKind::storing, at,
                                        [file, to](EMU3Error *error) -> std::unique_ptr<VolumeChange> {
                                          if (!isThere(*to, error)) return nullptr;
                                          return std::make_unique<CopyFile>(file, to->folder);
                                        });
  }
  step->setArriving({destination.earlier, to, nameOfCopy(destination, *file)});
  return step;
}

// From another volume the file is brought, into a folder that an earlier item may still have to make. Inside
// the volume it is moved, into a folder that is there already.
void planMove(ItemsPlan *plan, const TreeDestination &destination, const ForeignFile &file,
              const VolumeFolder &to, const std::optional<std::size_t> &parent) {
  const VolumeAt &at = destination.at;
  Item item = itemOf(file.file, parent);
  std::unique_ptr<ChangeStep> step;
  if (file.at.volume != at.volume) {
    step = std::make_unique<BringStep>(at, file, to);
  } else {
    if (at.volume->rules().movesEntryAlone()) item.bytes = 0;
    step = std::make_unique<SimpleStep>(
        StepKind::moving, at,
        [file, to](EMU3Error *) { return moveOf(*file.at.volume, file.file, file.directory, to->folder); },
        file.tree);
  }
  // In the folder that it is in already nothing changes.
  if (to->folder != file.directory)
    step->setArriving({destination.earlier, to, nameOfCopy(destination, *file.file)});
  plan->add(std::move(item), std::move(step));
}

void planImport(ItemsPlan *plan, const TreeDestination &destination, const std::string &hostPath,
                const VolumeFolder &to) {
  struct Waiting {
    std::string path;
    InVolume above;
  };
  std::vector<Waiting> waiting{{hostPath, {std::nullopt, to}}};
  while (!waiting.empty()) {
    const Waiting folder = std::move(waiting.back());
    waiting.pop_back();
    HostListing listing = listHostFolder(folder.path);
    const VolumeFolder made = folderToBe();
    FolderPlan making{.name = nameForImport(lastPathComponent(folder.path)),
                      .existing = destination.existing,
                      .failure = listing.failure};
    const std::size_t item =
        plan->add({.parent = folder.above.item, .hostPath = folder.path, .isFolder = true},
                  std::make_unique<FolderStep>(destination.at, std::move(making), folder.above.into, made));
    for (const std::string &path : listing.files)
      planImport(plan, destination, {.parent = item, .hostPath = path, .bytes = sizeOfHostFile(path)},
                 {.hostPath = path}, made);
    for (; !listing.folders.empty(); listing.folders.pop_back())
      waiting.push_back({std::move(listing.folders.back()), {item, made}});
  }
}

void planRestoration(ItemsPlan *plan, const VolumeAt &at, const StoredTree &tree, const VolumeFolder &to) {
  const std::size_t first = plan->progress().items;
  std::vector<VolumeFolder> folders(tree.size()); // null for a file
  for (std::size_t i = 0; i < tree.size(); ++i) {
    const StoredItem &stored = tree[i];
    Item item{.hostPath = stored.contents, .isFolder = stored.contents.empty()};
    if (stored.folder) item.parent = first + *stored.folder;
    const VolumeFolder into = stored.folder ? folders[*stored.folder] : to;
    if (item.isFolder) {
      folders[i] = folderToBe();
      plan->add(std::move(item),
                std::make_unique<FolderStep>(at, planOfStored(*at.volume, stored.entry), into, folders[i]));
    } else {
      item.bytes = sizeOfHostFile(stored.contents);
      plan->add(std::move(item), std::make_unique<RestoreStep>(at, stored.contents, stored.entry, into));
    }
  }
}

void planCopy(ItemsPlan *plan, const TreeDestination &destination, const VolumeAt &source,
              const EMU3DirectoryPtr &folder, const VolumeFolder &to) {
  const EMU3DirectoryPtr root = source.volume->rootDirectory();
  walkTree(
      folder, InVolume{std::nullopt, to},
      [&](const EMU3DirectoryPtr &each, const InVolume &above) -> std::optional<InVolume> {
        if (each == root) return above;
        const VolumeFolder made = folderToBe();
        FolderPlan making{
            .name = each->name(), .model = each, .modelAt = source, .existing = destination.existing};
        const std::size_t item =
            plan->add(itemOf(each, above.item),
                      std::make_unique<FolderStep>(destination.at, std::move(making), above.into, made));
        return InVolume{item, made};
      },
      [&](const EMU3FilePtr &file, const EMU3DirectoryPtr &, const InVolume &above) {
        plan->add(itemOf(file, above.item), copyStep(destination, source, file, above.into));
      });
}

namespace {

// Moves a folder from another volume.
void planMoveBetween(ItemsPlan *plan, const TreeDestination &destination, const VolumeAt &source,
                     const EMU3DirectoryPtr &folder, const VolumeFolder &to) {
  std::vector<Emptied> emptied;
  walkTree(
      folder, InVolume{std::nullopt, to},
      [&](const EMU3DirectoryPtr &each, const InVolume &above) -> std::optional<InVolume> {
        const VolumeFolder made = folderToBe();
        const auto moved = std::make_shared<MovedFolder>(MovedFolder{each, above.moved});
        FolderPlan making{.name = each->name(),
                          .model = each,
                          .modelAt = source,
                          .moved = moved,
                          .existing = destination.existing};
        const std::size_t item = plan->addItem(itemOf(each, above.item));
        plan->addStep(item,
                      std::make_unique<FolderStep>(destination.at, std::move(making), above.into, made));
        emptied.push_back({item, moved, made});
        return InVolume{item, made, moved};
      },
      [&](const EMU3FilePtr &file, const EMU3DirectoryPtr &from, const InVolume &above) {
        planMove(plan, destination, {source, file, from, above.moved}, above.into, above.item);
      });
  planDeletion(plan, source, emptied);
}

// The folder that the contents of the moved one go into; null where the moved one goes as it is.
EMU3DirectoryPtr usedFor(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &into,
                         ExistingFolder existing) {
  if (existing != ExistingFolder::used || folder->parent() == into || isInside(into, folder)) return nullptr;
  return subfolderNamed(*into, folder->name());
}

// Moves a folder inside the volume.
void planMoveInside(ItemsPlan *plan, const TreeDestination &destination, const EMU3DirectoryPtr &folder,
                    const EMU3DirectoryPtr &to) {
  const VolumeAt &at = destination.at;
  std::vector<Emptied> emptied;
  walkTree(
      folder, InVolume{std::nullopt, folderThatIsThere(to)},
      [&](const EMU3DirectoryPtr &each, const InVolume &above) -> std::optional<InVolume> {
        const EMU3DirectoryPtr into = above.into->folder;
        const EMU3DirectoryPtr used = usedFor(each, into, destination.existing);
        const std::size_t item = plan->addItem(itemOf(each, above.item));
        if (!used) {
          const auto move = [each, into](EMU3Error *) { return std::make_unique<MoveFolder>(each, into); };
          plan->addStep(item, std::make_unique<SimpleStep>(StepKind::moving, at, move, above.moved));
          return std::nullopt;
        }
        const auto moved = std::make_shared<MovedFolder>(MovedFolder{each, above.moved});
        const VolumeFolder made = folderThatIsThere(used);
        emptied.push_back({item, moved, made});
        return InVolume{item, made, moved};
      },
      [&](const EMU3FilePtr &file, const EMU3DirectoryPtr &from, const InVolume &above) {
        planMove(plan, destination, {at, file, from, above.moved}, above.into, above.item);
      });
  planDeletion(plan, at, emptied);
}

} // namespace

void planMove(ItemsPlan *plan, const TreeDestination &destination, const VolumeAt &source,
              const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &to) {
  if (source.volume == destination.at.volume)
    planMoveInside(plan, destination, folder, to);
  else
    planMoveBetween(plan, destination, source, folder, folderThatIsThere(to));
}

void planExport(ItemsPlan *plan, const ExportFrom &from, const EMU3DirectoryPtr &folder,
                const HostFolder &into, const ExistingOnHost &existing) {
  using OnHost = Above<HostFolder>;
  walkTree(
      folder, OnHost{std::nullopt, into},
      [&](const EMU3DirectoryPtr &each, const OnHost &above) -> std::optional<OnHost> {
        const auto made = std::make_shared<FolderToBe<std::string>>();
        HostTarget target{.folder = "", .name = exportedFolderName(each->name())};
        const std::size_t item =
            plan->add(itemOf(each, above.item),
                      std::make_unique<ExportFolderStep>(from, std::move(target), above.into, made));
        return OnHost{item, made};
      },
      [&](const EMU3FilePtr &file, const EMU3DirectoryPtr &, const OnHost &above) {
        HostTarget target{.folder = "", .name = exportedFileName(file->name())};
        if (existing) target.existing = existing(file);
        plan->add(itemOf(file, above.item),
                  std::make_unique<ExportFileStep>(from, file, std::move(target), above.into));
      });
}

} // namespace tessary
