#pragma once

#include "tessary/ByteBuffer.h"
#include "tessary/EntryPlace.h"
#include "tessary/ItemsWatcher.h"
#include "tessary/StoredTree.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tessary {

class EMU3Filesystem;
struct VolumeAt;
using EMU3FilesystemPtr = std::shared_ptr<EMU3Filesystem>;

/// One operation on many items of a volume: they go to the medium in groups, which share its barriers. One
/// that fails keeps no other from being done; what is in a folder that could not be made fails with it. Made
/// by `EMU3Filesystem::manyItems`.
///
///     const auto operation = volume.manyItems();
///     for (const std::string &path : paths)
///       operation->importFile(path, folder);
///     operation->run(watcher);
///
/// Each item is planned when it is added. A tree is taken as it is then: each folder, its files, then its
/// subfolders are items of their own. A tree that is moved inside the volume by its folder's entry, or
/// deleted, is one item. A group is 64 items, or 8 MiB of contents, up to 32 where the medium is quick;
/// other changes of the image wait until the group is done.
class ItemsOperation final {
public:
  explicit ItemsOperation(const VolumeAt &at);
  ~ItemsOperation();
  ItemsOperation(const ItemsOperation &) = delete;
  ItemsOperation &operator=(const ItemsOperation &) = delete;

  // Options, set before the first item is added.
  /// What becomes of a file where the destination has one of its name; unless set, both stay.
  void setExisting(ExistingFile existing);
  void setExportOptions(const ExportOptions &options);

  // Into the volume. `source` is the volume that an item comes from, null for this one. From another one the
  // entry of a file comes as it does inside the volume, and a move deletes there what is on the medium here.
  void importFile(const std::string &hostPath, const EMU3DirectoryPtr &to);
  /// Under this name, which is refused with code 6 where no entry can bear it.
  void importFileAs(const std::string &name, const std::string &hostPath, const EMU3DirectoryPtr &to);
  void importBytes(const std::string &name, ByteBufferPtr bytes, const EMU3DirectoryPtr &to);
  /// With its tree. Links to folders are not followed; names are cut as those of files are.
  void importFolder(const std::string &hostPath, const EMU3DirectoryPtr &to, ExistingFolder existing);
  void restoreFile(const std::string &hostPath, const EntryBytes &entry, const EMU3DirectoryPtr &to);
  /// A file or a folder, beside what is there; an item of the operation for each of the tree, in its order.
  void restoreTree(const StoredTree &tree, const EMU3DirectoryPtr &to);
  void copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &to,
                const EMU3FilesystemPtr &source = nullptr);
  /// With its tree; of a root all that is in it.
  void copyFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &to, ExistingFolder existing,
                  const EMU3FilesystemPtr &source = nullptr);
  void moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &from, const EMU3DirectoryPtr &to,
                const EMU3FilesystemPtr &source = nullptr);
  /// With its tree. Code 6 where `to` is the folder itself or lies below it.
  void moveFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &to, ExistingFolder existing,
                  const EMU3FilesystemPtr &source = nullptr);

  // Names. Those that an entry had before come back with all 16 bytes.
  void renameFile(const EMU3FilePtr &file, const std::string &name, const EMU3DirectoryPtr &in);
  void renameFolder(const EMU3DirectoryPtr &folder, const std::string &name);
  void restoreName(const EMU3FilePtr &file, const EntryBytes &earlier, const EMU3DirectoryPtr &in);
  void restoreName(const EMU3DirectoryPtr &folder, const EntryBytes &earlier);

  void deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &from);
  /// With its tree.
  void deleteFolder(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &from);

  // Out of the volume, never over a mounted image. Into a host folder under the item's own name
  // (ExportNames.h). Of several results of the operation that would bear one name the later ones get " (2)",
  // " (3)" …; a result that was given a path gets the first of these numbers that is free.
  void exportFile(const EMU3FilePtr &file, const std::string &hostPath);
  void exportFileInto(const EMU3FilePtr &file, const std::string &hostFolder);
  /// With its tree, into a folder of its name; one that is there already is used. Where `existing` is left
  /// out, the export options say what becomes of files.
  void exportFolderInto(const EMU3DirectoryPtr &folder, const std::string &hostFolder,
                        const ExistingOnHost &existing = {});
  /// Sample `index`, from 0, of a bank as a WAV file. Codes 6, 2, 3.
  void exportSample(const EMU3FilePtr &bank, std::uint64_t index, const std::string &hostPath);
  /// `name` is the sample's. Samples of one bank that are added one after another are read from it once.
  void exportSampleInto(const EMU3FilePtr &bank, std::uint64_t index, const std::string &name,
                        const std::string &hostFolder);

  /// The item that was planned as the `number`-th, from 0.
  [[nodiscard]] const Item &item(std::size_t number) const;
  [[nodiscard]] const ItemsProgress &progress() const;

  /// Does all that was planned. Called once.
  void run(const ItemsWatcher &watcher);

private:
  [[nodiscard]] VolumeAt placeOf(const EMU3FilesystemPtr &source) const;

  struct Parts;
  const std::unique_ptr<Parts> parts_;
};

} // namespace tessary
