#include "tests/reliability/VolumeModel.h"

#include "tests/support/HostFiles.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace tessary::test {
namespace {

constexpr const char *kRoot = "/";
constexpr std::size_t kHeader = 8;

EMU3DirectoryPtr folderNamed(EMU3Filesystem &volume, const std::string &name) {
  const EMU3DirectoryPtr root = volume.rootDirectory();
  if (name == kRoot) return root;
  for (const EMU3DirectoryPtr &folder : root->subdirectories()) {
    if (folder->name() == name) return folder;
  }
  throw std::logic_error("no folder " + name);
}

std::uint32_t read32(const std::uint8_t *bytes) {
  return bytes[0] | (std::uint32_t{bytes[1]} << 8) | (std::uint32_t{bytes[2]} << 16) |
         (std::uint32_t{bytes[3]} << 24);
}

ModelFile modelOfFile(EMU3Filesystem &volume, const EMU3FilePtr &file) {
  const ByteBufferPtr bytes = volume.contentsOfFile(file);
  ModelFile known{file->name(), 0, static_cast<std::uint32_t>(bytes->size())};
  if (bytes->size() < kHeader) return known;
  const ModelFile claimed{known.name, read32(bytes->data()), read32(bytes->data() + 4)};
  if (claimed.length != bytes->size()) return known;
  const std::vector<std::uint8_t> expected = contentsOf(claimed);
  return std::equal(expected.begin(), expected.end(), bytes->begin(), bytes->end()) ? claimed : known;
}

EMU3FilePtr fileOf(EMU3Filesystem &volume, const EMU3DirectoryPtr &folder, const ModelFile &wanted) {
  for (const EMU3FilePtr &file : folder->allFiles()) {
    if (file->name() == wanted.name && modelOfFile(volume, file) == wanted) return file;
  }
  throw std::logic_error("no file " + wanted.name);
}

const std::vector<std::string> &kindNames() {
  static const std::vector<std::string> names{"import", "copy", "move", "rename", "remove", "mkdir", "rmdir"};
  return names;
}

} // namespace

VolumeModel VolumeModel::after(const ModelChange &change) const {
  VolumeModel next = *this;
  auto &files = next.folders[change.folder];
  const auto takeOne = [&] { files.erase(files.find(change.file)); };
  switch (change.kind) {
  case ModelChange::Kind::importFile:
    files.insert(change.file);
    break;
  case ModelChange::Kind::copy:
    next.folders[change.target].insert(change.file);
    break;
  case ModelChange::Kind::move:
    takeOne();
    next.folders[change.target].insert(change.file);
    break;
  case ModelChange::Kind::rename:
    takeOne();
    files.insert({change.newName, change.file.seed, change.file.length});
    break;
  case ModelChange::Kind::remove:
    takeOne();
    break;
  case ModelChange::Kind::makeFolder:
    break;
  case ModelChange::Kind::removeFolder:
    next.folders.erase(change.folder);
    break;
  }
  return next;
}

VolumeModel modelOf(EMU3Filesystem &volume) {
  VolumeModel model;
  const EMU3DirectoryPtr root = volume.rootDirectory();
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(root)) {
    auto &files = model.folders[folder == root ? kRoot : folder->name()];
    for (const EMU3FilePtr &file : folder->allFiles())
      files.insert(modelOfFile(volume, file));
  }
  return model;
}

std::vector<std::uint8_t> contentsOf(const ModelFile &file) {
  std::vector<std::uint8_t> bytes = patternBytes(file.length, file.seed);
  for (std::size_t i = 0; i < 4; ++i) {
    bytes.at(i) = static_cast<std::uint8_t>(file.seed >> (8 * i));
    bytes.at(4 + i) = static_cast<std::uint8_t>(file.length >> (8 * i));
  }
  return bytes;
}

std::function<bool()> prepared(const ModelChange &change, EMU3Filesystem &volume,
                               const std::string &scratch) {
  const EMU3DirectoryPtr root = volume.rootDirectory();
  using Kind = ModelChange::Kind;
  if (change.kind == Kind::makeFolder) {
    return [&volume, root, name = change.folder] { return volume.createDirectoryNamed(name, root); };
  }
  const EMU3DirectoryPtr folder = folderNamed(volume, change.folder);
  if (change.kind == Kind::removeFolder) {
    return [&volume, root, folder] { return volume.deleteDirectory(folder, root); };
  }
  if (change.kind == Kind::importFile) {
    const std::string hostFile = scratch + "/" + change.file.name + ".e4b";
    writeBytes(hostFile, contentsOf(change.file));
    return [&volume, folder, hostFile] { return volume.importFileAtURL(hostFile, folder); };
  }
  const EMU3FilePtr file = fileOf(volume, folder, change.file);
  if (change.kind == Kind::rename) {
    return [&volume, folder, file, name = change.newName] { return volume.renameFile(file, name, folder); };
  }
  if (change.kind == Kind::remove) {
    return [&volume, folder, file] { return volume.deleteFile(file, folder); };
  }
  const EMU3DirectoryPtr target = folderNamed(volume, change.target);
  if (change.kind == Kind::copy) return [&volume, file, target] { return volume.copyFile(file, target); };
  return [&volume, folder, file, target] { return volume.moveFile(file, folder, target); };
}

ModelChange drawChange(const VolumeModel &model, std::uint32_t random, std::uint32_t serial) {
  const auto draw = [&random](std::size_t below) {
    random = random * 1664525 + 1013904223;
    return (random >> 8) % below;
  };
  using Kind = ModelChange::Kind;
  const auto folderAt = [&](std::size_t index) {
    return std::next(model.folders.begin(), static_cast<long>(index));
  };
  const auto folder = folderAt(draw(model.folders.size()));
  ModelChange change;
  change.folder = folder->first;
  const std::size_t dice = draw(20);
  if (dice == 0) return {Kind::makeFolder, "D" + std::to_string(serial), "", {}, ""};
  if (dice == 1 && folder->first != kRoot) {
    change.kind = Kind::removeFolder;
    return change;
  }
  if (dice < 9 || folder->second.empty()) {
    change.file = {"F" + std::to_string(serial), serial + 1,
                   static_cast<std::uint32_t>(kHeader + draw(60000))};
    return change;
  }
  change.file = *std::next(folder->second.begin(), static_cast<long>(draw(folder->second.size())));
  change.target = folderAt(draw(model.folders.size()))->first;
  change.kind = dice < 11 ? Kind::copy : dice < 14 ? Kind::move : dice < 16 ? Kind::rename : Kind::remove;
  change.newName = "R" + std::to_string(serial);
  return change;
}

std::string lineOf(const ModelChange &change) {
  std::ostringstream line;
  line << kindNames()[static_cast<std::size_t>(change.kind)] << ' ' << change.folder << ' '
       << (change.target.empty() ? "-" : change.target) << ' '
       << (change.file.name.empty() ? "-" : change.file.name) << ' ' << change.file.seed << ' '
       << change.file.length << ' ' << (change.newName.empty() ? "-" : change.newName);
  return line.str();
}

std::optional<ModelChange> changeOf(const std::string &line) {
  std::istringstream words(line);
  std::string kind;
  ModelChange change;
  if (!(words >> kind >> change.folder >> change.target >> change.file.name >> change.file.seed >>
        change.file.length >> change.newName)) {
    return std::nullopt;
  }
  const auto place = std::find(kindNames().begin(), kindNames().end(), kind);
  if (place == kindNames().end()) return std::nullopt;
  change.kind = static_cast<ModelChange::Kind>(place - kindNames().begin());
  return change;
}

} // namespace tessary::test
