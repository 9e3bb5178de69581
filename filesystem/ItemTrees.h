#pragma once

#include "filesystem/ChangeStep.h"
#include "filesystem/ExportSteps.h"
#include "filesystem/FolderSteps.h"
#include "filesystem/ItemsPlan.h"
#include "filesystem/StoreSteps.h"
#include "tessary/StoredTree.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

/// Planning trees: each folder, its files, then its subfolders. Trees of any depth, without recursion.
namespace tessary {

/// Where trees go.
struct TreeDestination {
  VolumeAt at;
  ExistingFolder existing = ExistingFolder::doubled;
  std::shared_ptr<EarlierFiles> earlier{}; ///< null where files that are there do not matter
};

/// Plans the import of one file. `item` has the size of its host file.
void planImport(ItemsPlan *plan, const TreeDestination &destination, Item item, ImportSource source,
                const VolumeFolder &to);
/// Plans the import of a folder of the host.
void planImport(ItemsPlan *plan, const TreeDestination &destination, const std::string &hostPath,
                const VolumeFolder &to);
/// Plans the return of a file or a folder that was deleted.
void planRestoration(ItemsPlan *plan, const VolumeAt &at, const StoredTree &tree, const VolumeFolder &to);
/// Plans the copy of a folder of this volume or another; of a root, of all that is in it.
void planCopy(ItemsPlan *plan, const TreeDestination &destination, const VolumeAt &source,
              const EMU3DirectoryPtr &folder, const VolumeFolder &to);
/// Plans the move of a folder of this volume or another. From another one each file is deleted there once it
/// is on the medium here, and each folder once nothing is left in it. Inside the volume the folder's entry
/// alone moves, unless its contents go into a folder of its name that is there already.
void planMove(ItemsPlan *plan, const TreeDestination &destination, const VolumeAt &source,
              const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &to);
/// Plans the move of a file. `parent` is the item of the folder that it is in, where that is moved too.
void planMove(ItemsPlan *plan, const TreeDestination &destination, const ForeignFile &file,
              const VolumeFolder &to, const std::optional<std::size_t> &parent);
/// Plans the export of a folder into a folder of the host.
void planExport(ItemsPlan *plan, const ExportFrom &from, const EMU3DirectoryPtr &folder,
                const HostFolder &into, const ExistingOnHost &existing);

/// The step that copies a file of this volume or another.
[[nodiscard]] std::unique_ptr<ItemStep> copyStep(const TreeDestination &destination, const VolumeAt &source,
                                                 const EMU3FilePtr &file, const VolumeFolder &to);

} // namespace tessary
