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

/// A folder of the host.
void planImport(ItemsPlan *plan, const TreeDestination &destination, const std::string &hostPath,
                const VolumeFolder &to);
/// A file or a folder that comes back.
void planRestoration(ItemsPlan *plan, const VolumeAt &at, const StoredTree &tree, const VolumeFolder &to);
/// A folder of a volume, the same or another; of a root all that is in it.
void planCopy(ItemsPlan *plan, const TreeDestination &destination, const VolumeAt &source,
              const EMU3DirectoryPtr &folder, const VolumeFolder &to);
/// A folder of a volume. From another one: what is on the medium is deleted there, and each folder once
/// nothing is left in it. Inside the volume: the folder's entry alone, but for a folder that is there already
/// and used.
void planMove(ItemsPlan *plan, const TreeDestination &destination, const VolumeAt &source,
              const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &to);
/// A file, with the item of the folder that it is in, where that is moved too.
void planMove(ItemsPlan *plan, const TreeDestination &destination, const ForeignFile &file,
              const VolumeFolder &to, const std::optional<std::size_t> &parent);
/// To a folder of the host.
void planExport(ItemsPlan *plan, const ExportFrom &from, const EMU3DirectoryPtr &folder,
                const HostFolder &into, const ExistingOnHost &existing);

/// Imports one file.
[[nodiscard]] std::unique_ptr<ItemStep> importStep(const TreeDestination &destination, ImportSource source,
                                                   const VolumeFolder &to);
/// Copies a file of a volume, the same or another.
[[nodiscard]] std::unique_ptr<ItemStep> copyStep(const TreeDestination &destination, const VolumeAt &source,
                                                 const EMU3FilePtr &file, const VolumeFolder &to);

} // namespace tessary
