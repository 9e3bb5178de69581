#include "tests/writing/Operation.h"

#include "tests/support/HostFiles.h"
#include "tests/support/PlacedObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace tessary::test {
namespace {

std::string validName(Random &random) {
  static const std::vector<std::string> names{"a", "KICK", "fifteen bytes..", "in  ner", "Pad \u00e9", "  x"};
  return random.pick(names);
}

} // namespace

std::string Operation::description() const {
  static const std::vector<std::string> words{"import",      "restore", "copy",   "move",
                                              "rename",      "delete",  "mkdir",  "rename folder",
                                              "move folder", "rmdir",   "recover"};
  std::ostringstream text;
  text << words[static_cast<std::size_t>(kind)] << " item " << item.first << ':' << item.second << " folder "
       << folder.first << ':' << folder.second << " name '" << name << "' " << contents.size()
       << " bytes block " << block;
  return text.str();
}

Operation randomOperation(Random &random, const ImageReading &now, const std::vector<LostFolder> &lost) {
  std::vector<Place> files;
  std::vector<Place> folders;
  std::vector<Place> below; // folders other than the root
  for (const auto &[place, entry] : now.entries) {
    if (entry.isLiveFile()) files.push_back(place);
    if (entry.isFolder) below.push_back(place);
  }
  for (const auto &[place, blocks] : now.folders)
    folders.push_back(place);
  Operation operation;
  operation.kind = static_cast<OperationKind>(random.below(kOperationKinds));
  const bool isNew = operation.kind == OperationKind::importFile ||
                     operation.kind == OperationKind::restoreFile ||
                     operation.kind == OperationKind::createFolder;
  if (files.empty() && !isNew) operation.kind = OperationKind::importFile;
  const bool isOfFolder = operation.kind == OperationKind::renameFolder ||
                          operation.kind == OperationKind::moveFolder ||
                          operation.kind == OperationKind::deleteFolder;
  if (isOfFolder && below.empty()) operation.kind = OperationKind::createFolder;
  if (operation.kind == OperationKind::recoverFolder) {
    if (lost.empty())
      operation.kind = OperationKind::importFile;
    else
      operation.block = random.pick(lost).block;
    for (const LostFolder &folder : lost)
      operation.lost.push_back(folder.block);
  }
  if (isOfFolder && !below.empty())
    operation.item = random.pick(below);
  else if (!files.empty())
    operation.item = random.pick(files);
  operation.folder = random.pick(folders);
  operation.name = validName(random);
  const std::uint64_t slotBytes = std::min<std::uint64_t>(now.slotBlocks, 16) * kBlockBytes;
  const std::size_t length =
      random.chance(40) ? random.pick(std::vector<std::size_t>{0, 1, 511, 512, 513, slotBytes, slotBytes * 3})
                        : random.below(slotBytes * 2);
  if (isNew || operation.kind == OperationKind::importFile)
    operation.contents = patternBytes(length, static_cast<std::uint32_t>(random.below(100000)));
  if (operation.kind == OperationKind::restoreFile) {
    operation.model = importedEntry(operation.name, 7, 100);
    operation.model[26] = random.pick(std::vector<std::uint8_t>{0x80, 0x81, 0x82, 0x83, 0x41});
    operation.model[31] = random.chance(50) ? 0 : '0';
    operation.model[16] = 0x5A;
  }
  return operation;
}

std::int64_t perform(EMU3Filesystem &volume, const Operation &operation, const std::string &hostFolder) {
  EMU3Error error;
  bool done = false;
  switch (operation.kind) {
  case OperationKind::importFile: {
    const std::string url = hostFolder + "/" + operation.name + ".E4B";
    writeBytes(url, operation.contents);
    done = volume.importFileAtURL(url, folderAt(volume, operation.folder), &error);
    break;
  }
  case OperationKind::restoreFile: {
    const std::string url = hostFolder + "/backup";
    writeBytes(url, operation.contents);
    done =
        volume.restoreFileAtURL(url, operation.model, folderAt(volume, operation.folder), &error) != nullptr;
    break;
  }
  case OperationKind::copyFile:
    done = volume.copyFile(fileAt(volume, operation.item), folderAt(volume, operation.folder), &error);
    break;
  case OperationKind::moveFile: {
    const EMU3FilePtr file = fileAt(volume, operation.item);
    done = volume.moveFile(file, file->folder(), folderAt(volume, operation.folder), &error);
    break;
  }
  case OperationKind::renameFile: {
    const EMU3FilePtr file = fileAt(volume, operation.item);
    done = volume.renameFile(file, operation.name, file->folder(), &error);
    break;
  }
  case OperationKind::deleteFile: {
    const EMU3FilePtr file = fileAt(volume, operation.item);
    done = volume.deleteFile(file, file->folder(), &error);
    break;
  }
  case OperationKind::createFolder:
    done = volume.createDirectoryNamed(operation.name, folderAt(volume, operation.folder), &error);
    break;
  case OperationKind::renameFolder:
    done = volume.renameDirectory(folderAt(volume, operation.item), operation.name, &error);
    break;
  case OperationKind::moveFolder:
    done = volume.moveDirectory(folderAt(volume, operation.item), folderAt(volume, operation.folder), &error);
    break;
  case OperationKind::deleteFolder: {
    const EMU3DirectoryPtr folder = folderAt(volume, operation.item);
    done = volume.deleteDirectory(folder, folder->parent(), &error);
    break;
  }
  case OperationKind::recoverFolder:
    done = volume.recoverFolder(operation.block, operation.name, folderAt(volume, operation.folder), &error);
    break;
  }
  EXPECT_EQ(done, !error.isSet());
  return done ? 0 : error.code;
}

RawEntry importedEntry(const std::string &name, std::uint64_t slot, std::uint64_t size) {
  const std::uint64_t blocks = (size + kBlockBytes - 1) / kBlockBytes;
  RawEntry entry =
      rawFileEntry(name, 0x81, 0, static_cast<std::uint16_t>(slot), 1, static_cast<std::uint16_t>(blocks),
                   static_cast<std::uint16_t>(blocks == 0 ? 0 : size - (blocks - 1) * kBlockBytes));
  std::fill(entry.begin(), entry.begin() + 16, ' ');
  std::copy(name.begin(), name.end(), entry.begin());
  entry[name.size()] = 0;
  std::copy_n("E4B0", 4, entry.begin() + 28);
  return entry;
}

Place placeOf(const EMU3Directory &folder) {
  return {static_cast<std::uint64_t>(folder.dentryBlock()), static_cast<std::size_t>(folder.dentryOffset())};
}
Place placeOf(const EMU3File &file) {
  return {static_cast<std::uint64_t>(file.dentryBlock()), static_cast<std::size_t>(file.dentryOffset())};
}

} // namespace tessary::test
