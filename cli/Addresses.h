#pragma once

#include "tessary/EMU3Filesystem.h"

#include <string>
#include <variant>
#include <vector>

/// What the addresses on a command line lead to. Deleted files have no address.
///
/// Resolving throws CommandFailure, naming the word, when it leads to nothing.
namespace tessary::cli {

struct FileItem {
  EMU3FilePtr file;
  EMU3DirectoryPtr directory; ///< whose list holds it
  std::string address;        ///< as given; for a pattern's match, one that leads to it
};

struct FolderItem {
  EMU3DirectoryPtr directory;
  std::string address;
};

using EntryItem = std::variant<FileItem, FolderItem>;

/// Where something new is to be made.
struct NewEntry {
  EMU3DirectoryPtr parent;
  std::string parentAddress; ///< the part of the word that names the parent
  std::string name;          ///< what stands behind the last "/", unescaped; may be empty
};

/// The file that the word names. Patterns mean nothing here: "*" is a character like others.
FileItem resolveFile(const EMU3Filesystem &volume, const std::string &word);
/// The file or folder that the word names. Where both bear the name, the file; with "/" at its end, the
/// folder.
EntryItem resolveEntry(const EMU3Filesystem &volume, const std::string &word);
FolderItem resolveFolder(const EMU3Filesystem &volume, const std::string &word);
/// The files that the words name, patterns in their last parts included, each file once, in the order of the
/// words and of the folders' lists.
std::vector<FileItem> resolveFiles(const EMU3Filesystem &volume, const std::vector<std::string> &words);
/// The same for files and folders together. Where both bear the name, a word means the file; with "/" at
/// its end, the folder.
std::vector<EntryItem> resolveEntries(const EMU3Filesystem &volume, const std::vector<std::string> &words);
/// The files' addresses, in their order.
std::vector<std::string> addressesOf(const std::vector<FileItem> &files);
/// A path of folders, some of which may be missing.
struct FolderPath {
  struct Part {
    std::string parentAddress;
    std::string name;    ///< unescaped
    std::string address; ///< the word up to the end of this part
  };
  EMU3DirectoryPtr folder;   ///< the last that is there
  std::vector<Part> missing; ///< those behind it
};
FolderPath resolveFolderPath(const EMU3Filesystem &volume, const std::string &word);
/// The same entries, but in place of the root all that is in it.
std::vector<EntryItem> rootAsItsContents(const EMU3Filesystem &volume, std::vector<EntryItem> entries);
NewEntry resolveNewEntry(const EMU3Filesystem &volume, const std::string &word);

/// The path of a file or folder, made of names alone, so that two files of one name have the same one. In
/// place of a long path, its place ("@7:3").
[[nodiscard]] std::string pathOf(const EMU3File &file);
[[nodiscard]] std::string pathOf(const EMU3Directory &folder);

/// Which entries an address could mean where a folder's address is shown.
enum class Beside {
  folders,  ///< folders alone
  anyEntry, ///< files too: a path that a file has as well cannot stand for the folder
};

/// A folder's files that are not deleted, and its subfolders, each with an address made from the folder's
/// own. It is the path, or the place where the path leads to another entry or would be long: addresses of
/// deeply nested folders do not grow with their depth.
std::vector<FileItem> filesIn(const EMU3DirectoryPtr &directory, const std::string &address);
std::vector<FolderItem> foldersIn(const EMU3DirectoryPtr &directory, const std::string &address,
                                  Beside beside);
/// The folder and all below it, each before its subfolders, with their addresses. Goes as deep as the tree
/// does without recursion.
std::vector<FolderItem> foldersFrom(FolderItem top, Beside beside);

} // namespace tessary::cli
