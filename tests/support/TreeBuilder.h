#pragma once

#include "filesystem/TreeEditor.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Trees of folders and files in memory, of no image.
namespace tessary::test {

inline EMU3FilePtr makeFile(const std::string &name, std::uint8_t rawType = 0x81, std::uint64_t size = 1024) {
  EMU3FileFields fields;
  fields.name = name;
  fields.rawType = rawType;
  fields.fileType = fileTypeForRawType(rawType);
  fields.fileSize = size;
  return std::make_shared<EMU3File>(fields);
}

/// A folder, the last in its parent's list when there is one.
inline EMU3DirectoryPtr makeFolder(const std::string &name, const EMU3DirectoryPtr &parent = nullptr) {
  auto folder = std::make_shared<EMU3Directory>();
  TreeEditor::setName(*folder, name);
  if (parent) TreeEditor::appendSubdirectory(parent, folder);
  return folder;
}

inline EMU3DirectoryPtr makeFolderOf(std::vector<EMU3FilePtr> files) {
  EMU3DirectoryPtr folder = makeFolder("");
  TreeEditor::setFiles(folder, std::move(files));
  return folder;
}

} // namespace tessary::test
