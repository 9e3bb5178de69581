#pragma once

#include "tessary/EMU3Filesystem.h"
#include "tessary/ItemsOperation.h"
#include "tests/durability/Asked.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/writing/Random.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tessary::test {

/// Where the parts of a volume lie.
enum class Layout {
  tight, ///< one behind another, so that one page of the host holds several of them
  apart, ///< each in pages of its own
};

/// "Tight" or "Apart".
std::string nameOf(Layout layout);

/// A volume of some 200 KiB to change:
///
///     /ROOT1, ROOT2 (over three slots), EMPTY, a system file with 16 bytes of name
///     /Full     no place left; /Part  P1, P2, a deleted entry; /Void  nothing
///     /Nest     N1, /Nest/Inner  I1, I2
///
/// and a folder with two files that no entry leads to. Free directory blocks hold no entry, but no zeros
/// either.
ImageBuilder volumeToChange(Layout layout);
/// The block of the folder that no entry leads to.
std::uint64_t lostBlock(Layout layout);

/// One change of a volume: what is asked, and how to ask the engine for it. The volume mounted is the one
/// that it was made for.
struct Operation {
  std::string name;
  Asked asked;
  std::function<bool(EMU3Filesystem &volume, EMU3Error *error)> make{};
  /// In place of that, for one operation on many items: adds them.
  std::function<void(EMU3Filesystem &volume, ItemsOperation &items)> add{};
};

/// Asks for it; `reported` is called for each item that was reported as done.
bool ask(const Operation &operation, EMU3Filesystem &volume, EMU3Error *error,
         const std::function<void()> &reported);

/// Does it all; false, with the error of the first item that failed.
bool isDoneWhole(ItemsOperation &items, EMU3Error *error, const std::function<void()> &reported);

/// Makes operations for one state of a volume. What comes from the host lies in a folder that outlives them.
class OperationMaker {
public:
  OperationMaker(const Bytes &image, const TemporaryFolder &host) : now_(image), image_(image), host_(host) {}

  /// Of a path, "/" the root's. Throws where there is none.
  [[nodiscard]] Place at(std::string_view path) const;
  [[nodiscard]] const ImageReading &now() const { return now_; }
  /// A host file to import as `name`; its path.
  [[nodiscard]] std::string hostFile(const std::string &name, const Bytes &contents) const;

  [[nodiscard]] Operation importFile(const std::string &name, const Bytes &contents, Place folder) const;
  /// Brings back, from the entry of this file, one with these contents.
  [[nodiscard]] Operation restoreFile(Place model, const Bytes &contents, Place folder) const;
  [[nodiscard]] Operation copyFile(Place file, Place folder) const;
  [[nodiscard]] Operation moveFile(Place file, Place folder) const;
  [[nodiscard]] Operation renameFile(Place file, const std::string &name) const;
  [[nodiscard]] Operation deleteFile(Place file) const;
  [[nodiscard]] Operation createFolder(const std::string &name, Place folder) const;
  [[nodiscard]] Operation renameFolder(Place folder, const std::string &name) const;
  [[nodiscard]] Operation moveFolder(Place folder, Place into) const;
  [[nodiscard]] Operation deleteFolder(Place folder) const;
  // Many items in one operation
  /// Copies a folder with its tree.
  [[nodiscard]] Operation copyTree(Place folder, Place into) const;
  /// A folder of the host: NEW with two files, and in it BELOW with one, and NONE.
  [[nodiscard]] Operation importTree(Place into) const;
  [[nodiscard]] Operation moveFolders(const std::vector<Place> &folders, Place into) const;
  [[nodiscard]] Operation deleteFolders(const std::vector<Place> &folders) const;
  /// Moves what is in a folder into another, and deletes it.
  [[nodiscard]] Operation mergeFolder(Place folder, Place into) const;

  /// What becomes of a folder's tree, or a file, where its copy goes.
  [[nodiscard]] Asked copyOfTree(Place top, Place into) const;
  /// The folder and all below it.
  [[nodiscard]] std::set<Place> treeOf(Place folder) const;

  [[nodiscard]] Operation recoverFolder(std::uint64_t block, const std::string &name, Place folder) const;
  /// Any of them; `serial` makes names and contents its own.
  [[nodiscard]] Operation drawn(Random &random, std::uint32_t serial,
                                std::optional<std::uint64_t> lost) const;

private:
  [[nodiscard]] std::string nameAt(Place place) const;
  [[nodiscard]] Asked::NewFile copyOfFile(Place file, Asked::Parent parent) const;

  const ImageReading now_;
  const Bytes image_;
  const TemporaryFolder &host_;
};

} // namespace tessary::test
