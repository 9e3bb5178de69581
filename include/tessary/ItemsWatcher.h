#pragma once

#include "tessary/EMU3Directory.h"
#include "tessary/EMU3Error.h"
#include "tessary/EMU3File.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// The options of work on many items, and what its watcher is told (ItemsOperation.h).
namespace tessary {

/// What becomes of a folder where the destination has one of its name.
enum class ExistingFolder {
  used,    ///< its contents go into that one
  doubled, ///< there are two then
};

/// What becomes of a file where the destination, in a volume or on the host, has one of its name.
enum class ExistingFile {
  isKept,     ///< there are two then
  leavesOut,  ///< the new one is not stored
  isReplaced, ///< by the new one: deleted once that is on the medium
};

/// How host files are written.
struct ExportOptions {
  bool replacesEarlier = true; ///< a host file of the name; it is refused otherwise
  /// Whether a file that a link leads to is replaced, rather than the link. Links to folders are never
  /// followed.
  bool followsLinks = true;
  std::uint32_t sampleRate = 44100; ///< in the headers of WAV files, Hz
};

/// Asked of each file of a tree that is exported: what becomes of it where the host has one of its name.
using ExistingOnHost = std::function<ExistingFile(const EMU3FilePtr &file)>;

/// An item as it was planned: a file or a folder, of the host or of a volume.
struct Item {
  /// The item of the folder that this one is in, where both are of one tree.
  std::optional<std::size_t> parent{};
  std::string hostPath{};    ///< of what is imported or restored
  EMU3FilePtr file{};        ///< what is copied, moved, deleted, exported
  EMU3DirectoryPtr folder{}; ///< the same of folders
  std::uint64_t bytes = 0;   ///< of its contents
  bool isFolder = false;     ///< of the host or of a volume
};

/// How far the work on many items is. Bytes are those of the files' contents.
struct ItemsProgress {
  std::size_t itemsEnded = 0;
  std::size_t items = 0;
  std::uint64_t bytesDone = 0;
  std::uint64_t bytes = 0;
};

/// How one item ended: with an error, or with none when it is done and on the medium.
struct ItemEnd {
  std::size_t item = 0; ///< counted from 0, in the order in which the items were planned
  std::optional<EMU3Error> error;
  EMU3FilePtr file;        ///< what came to be in the volume; null where nothing did
  EMU3DirectoryPtr folder; ///< the same of folders; the one that was there already where that is used
  std::string hostPath;    ///< of the host file that was written; empty where none was
  std::optional<std::uint64_t> bytes{}; ///< of the file that came to be, in the volume or on the host
  bool isLeftOut = false;               ///< not stored, since a file of its name was there
};

/// Who watches the work; called on the thread that does it, between two items. Empty functions are not
/// called.
struct ItemsWatcher {
  /// An item's turn has come.
  std::function<void(std::size_t item)> began;
  /// Once for each item that is finished. An item comes when its group is on the medium; a folder that is
  /// moved to another volume, after everything in it.
  std::function<void(const ItemEnd &)> ended;
  std::function<void(const ItemsProgress &)> progressed;
  /// Whether to stop: the item in progress is finished, the others are not begun.
  std::function<bool()> isToStop;
};

} // namespace tessary
