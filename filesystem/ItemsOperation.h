#pragma once

#include "filesystem/EMU3Directory.h"
#include "filesystem/EMU3Error.h"
#include "filesystem/EMU3File.h"
#include "filesystem/EntryPlace.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessary {

class ChangeGroup;
class Volume;
class VolumeChange;

/// How far the work on many items is. Bytes are those of the files' contents.
struct ItemsProgress {
  std::size_t itemsEnded = 0;
  std::size_t items = 0;
  std::uint64_t bytesDone = 0;
  std::uint64_t bytes = 0;
};

/// How one item ended: with an error, or with none when it is done and on the medium.
struct ItemEnd {
  std::size_t item = 0; ///< counted from 0, in the order in which the items were added
  std::optional<EMU3Error> error;
  EMU3FilePtr file; ///< what came to be in the volume; null where nothing did
};

/// Who watches the work; called on the thread that does it, between two items. Empty functions are not
/// called.
struct ItemsWatcher {
  /// An item's turn has come.
  std::function<void(std::size_t item)> began;
  std::function<void(const ItemEnd &)> ended; ///< once for each item that was begun, in their order
  std::function<void(const ItemsProgress &)> progressed;
  /// Whether to stop: the item in progress is finished, the others are not begun.
  std::function<bool()> isToStop;
};

/// One operation on many items of a volume: they go to the medium in groups, which share its barriers. One
/// that fails keeps no other from being done. Made by `EMU3Filesystem::manyItems`.
///
///     const auto operation = filesystem.manyItems();
///     for (const std::string &path : paths)
///       operation->importFile(path, folder);
///     operation->run(watcher);
///
/// A group is some 8 MiB of contents, or 64 items; so long do other changes of the image wait.
class ItemsOperation final {
public:
  /// `imagePath` leads to the volume's image, from the host's root on.
  ItemsOperation(std::shared_ptr<Volume> volume, std::string imagePath);
  ~ItemsOperation();
  ItemsOperation(const ItemsOperation &) = delete;
  ItemsOperation &operator=(const ItemsOperation &) = delete;

  // Each as the filesystem's operation of that name does it.
  void importFile(const std::string &hostPath, const EMU3DirectoryPtr &toDirectory);
  void restoreFile(const std::string &hostPath, const EntryBytes &entry, const EMU3DirectoryPtr &toDirectory);
  void copyFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &toDirectory);
  void moveFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &fromDirectory,
                const EMU3DirectoryPtr &toDirectory);
  void deleteFile(const EMU3FilePtr &file, const EMU3DirectoryPtr &inDirectory);

  /// Does all of it, once.
  void run(const ItemsWatcher &watcher);

private:
  /// Makes the change of an item when its turn comes; null, with the error, where that is refused before.
  using Maker = std::function<std::unique_ptr<VolumeChange>(EMU3Error *)>;
  struct Item {
    Maker make;
    std::uint64_t bytes = 0; ///< of its contents
  };
  /// An item whose group is being done.
  struct InHand {
    ItemEnd end;
    std::unique_ptr<VolumeChange> change;
    std::uint64_t bytes = 0;
  };

  void add(Maker make, std::uint64_t bytes);
  [[nodiscard]] std::vector<InHand> takeGroup();
  [[nodiscard]] bool doGroup(std::vector<InHand> *group, const ItemsWatcher &watcher) const;
  static void complete(ChangeGroup *changes, std::vector<InHand *> *begun);
  void tell(const std::vector<InHand> &group, const ItemsWatcher &watcher);

  const std::shared_ptr<Volume> volume_;
  const std::string imagePath_;
  std::vector<Item> items_;
  std::size_t next_ = 0; ///< item whose turn it is
  ItemsProgress progress_;
};

} // namespace tessary
