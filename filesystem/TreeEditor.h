#pragma once

#include "tessary/EMU3Directory.h"
#include "tessary/EMU3File.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessary {

/// The one way to change the files and folders of a tree. For the engine alone, under the volume's lock,
/// shared for bank details and cached contents, alone for all else; users of the engine get these objects to
/// read. What is changed here is memory; the image is written by its own classes.
class TreeEditor final {
public:
  TreeEditor() = delete;

  static void setName(EMU3File &file, std::string name);
  static void setBankDetails(EMU3File &file, BankDetails details);
  /// Null forgets what is cached.
  static void setCachedData(EMU3File &file, ByteBufferPtr data);
  /// Stores `data` when nothing is cached yet; returns what is cached then.
  static ByteBufferPtr cacheDataIfUnset(EMU3File &file, ByteBufferPtr data);

  static void setEntryId(EMU3Directory &folder, std::uint8_t value);
  static void setName(EMU3Directory &folder, std::string name);
  static void setBlockList(EMU3Directory &folder, std::vector<std::int64_t> blocks);
  static void setPlace(EMU3Directory &folder, EntryPlace place);

  /// The folder's files; each knows its folder from then on, those that were there before have none.
  static void setFiles(const EMU3DirectoryPtr &folder, std::vector<EMU3FilePtr> files);
  static void appendFile(const EMU3DirectoryPtr &folder, EMU3FilePtr file);
  /// Does nothing when the folder does not hold the file.
  static void removeFile(const EMU3DirectoryPtr &folder, const EMU3FilePtr &file);

  /// The subfolders; each has `folder` as its parent from then on.
  static void setSubdirectories(const EMU3DirectoryPtr &folder, std::vector<EMU3DirectoryPtr> below);
  static void appendSubdirectory(const EMU3DirectoryPtr &folder, EMU3DirectoryPtr below);
  /// The removed folder keeps its link to the parent that it was in.
  static void removeSubdirectory(const EMU3DirectoryPtr &folder, const EMU3DirectoryPtr &below);

private:
  static void setFolder(EMU3File &file, const EMU3DirectoryPtr &folder);
  static void setParent(EMU3Directory &folder, const EMU3DirectoryPtr &parent);
};

} // namespace tessary
