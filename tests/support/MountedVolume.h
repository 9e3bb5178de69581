#pragma once

#include "tessary/EMU3Filesystem.h"
#include "tests/support/HostFiles.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tessary::test {

/// The image at this path, mounted; throws when it does not open.
inline EMU3FilesystemPtr mounted(const std::string &path, MountRules rules) {
  EMU3Error error;
  EMU3FilesystemPtr filesystem = EMU3Filesystem::initWithURL(path, rules, ImageClaim::whenMounted, &error);
  if (!filesystem) throw std::runtime_error("the image does not open: " + error.description());
  return filesystem;
}

/// A fresh parse of what the image holds now, however it is mounted: a filesystem over a copy of it, of the
/// same name. What is changed there, the image does not see.
inline EMU3FilesystemPtr readAnew(const std::string &imagePath) {
  const TemporaryFolder folder; // removed at once: the mapping is enough
  const std::string copy = folder.path(imagePath.substr(imagePath.rfind('/') + 1));
  copySparse(imagePath, copy);
  return mounted(copy, MountRules::bare);
}

/// A volume of the builder, written into a temporary folder and opened by the engine.
class MountedVolume {
public:
  explicit MountedVolume(const ImageBuilder &image, std::string_view fileName = "disk.hda",
                         MountRules rules = MountRules::bare)
      : imagePath_(folder_.path(fileName)) {
    image.writeTo(imagePath_);
    filesystem_ = mounted(imagePath_, rules);
  }
  MountedVolume(const ImageBuilder &image, MountRules rules) : MountedVolume(image, "disk.hda", rules) {}

  const EMU3FilesystemPtr &filesystem() const { return filesystem_; }
  EMU3Filesystem *operator->() const { return filesystem_.get(); }
  EMU3Filesystem &operator*() const { return *filesystem_; }
  EMU3DirectoryPtr root() const { return filesystem_->rootDirectory(); }
  const TemporaryFolder &folder() const { return folder_; }
  const std::string &imagePath() const { return imagePath_; }

private:
  TemporaryFolder folder_;
  std::string imagePath_;
  EMU3FilesystemPtr filesystem_;
};

/// The first item of the list with this name; throws when there is none.
template <typename Pointer> Pointer named(const std::vector<Pointer> &list, std::string_view name) {
  const auto found =
      std::find_if(list.begin(), list.end(), [&](const Pointer &item) { return item->name() == name; });
  if (found == list.end()) throw std::runtime_error("nothing is named " + std::string(name));
  return *found;
}
inline EMU3FilePtr fileNamed(const EMU3DirectoryPtr &folder, std::string_view name) {
  return named(folder->files(), name);
}
inline EMU3DirectoryPtr folderNamed(const EMU3DirectoryPtr &folder, std::string_view name) {
  return named(folder->subdirectories(), name);
}

template <typename Pointer> std::vector<std::string> namesOf(const std::vector<Pointer> &list) {
  std::vector<std::string> names;
  for (const Pointer &item : list)
    names.push_back(item->name());
  return names;
}

/// A copy of a file's contents that compares with what the builder laid out.
inline Bytes contentsOf(EMU3Filesystem &filesystem, const EMU3FilePtr &file) {
  EMU3Error error;
  const ByteBufferPtr data = filesystem.dataForFile(file, &error);
  if (!data) throw std::runtime_error("no contents: " + error.description());
  return {data->begin(), data->end()};
}

} // namespace tessary::test
