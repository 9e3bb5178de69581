#include "tests/app/HostTrees.h"

#include "tests/support/MountedVolume.h"

#include <filesystem>

namespace tessary::test {
namespace {

void addToTree(EMU3Filesystem &volume, const EMU3DirectoryPtr &folder, const std::string &path,
               HostTree *tree) {
  for (const EMU3FilePtr &file : folder->allFiles())
    tree->emplace(path + file->name() + ".E4B", contentsOf(volume, file));
  for (const EMU3DirectoryPtr &below : folder->subdirectories()) {
    tree->emplace(path + below->name() + "/", Bytes());
    addToTree(volume, below, path + below->name() + "/", tree);
  }
}

} // namespace

HostTree treeOnHost(const std::string &folder) {
  HostTree tree;
  for (const std::filesystem::directory_entry &entry :
       std::filesystem::recursive_directory_iterator(folder)) {
    const std::string path = entry.path().native().substr(folder.size() + 1);
    if (entry.is_directory())
      tree.emplace(path + "/", Bytes());
    else
      tree.emplace(path, readBytes(entry.path().native()));
  }
  return tree;
}

HostTree treeOnImage(const std::string &imagePath, const std::vector<std::string> &path) {
  const EMU3FilesystemPtr volume = readAnew(imagePath);
  EMU3DirectoryPtr folder = volume->rootDirectory();
  for (const std::string &name : path)
    folder = folderNamed(folder, name);
  HostTree tree;
  addToTree(*volume, folder, "", &tree);
  return tree;
}

} // namespace tessary::test
