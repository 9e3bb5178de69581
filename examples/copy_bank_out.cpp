// Lists the files of a disk image, or copies one of them out of it.
//
//     copy_bank_out disk.hda
//     copy_bank_out disk.hda /Drums/KICK kick.e4b
#include <tessary/EMU3Filesystem.h>
#include <tessary/Text.h>

#include <iostream>
#include <string>

namespace {

using namespace tessary;

// The tree may be thousands of folders deep on a damaged image: it is walked with loops, not recursion.
std::string pathOf(const EMU3File &file) {
  std::string path = "/" + file.name();
  for (EMU3DirectoryPtr folder = file.folder(); folder && folder->parent(); folder = folder->parent())
    path = "/" + folder->name() + path;
  return path;
}

int failed(const EMU3Error &error) {
  std::cerr << error.localizedDescription() << '\n';
  return 1;
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 2 && argc != 4) {
    std::cerr << "copy_bank_out IMAGE [/FOLDER/FILE HOSTFILE]\n";
    return 2;
  }
  EMU3Error error;
  const EMU3FilesystemPtr image = EMU3Filesystem::initWithURL(argv[1], MountRules::guarded, &error);
  if (!image) return failed(error);

  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(image->rootDirectory())) {
    for (const EMU3FilePtr &file : folder->allFiles()) {
      const std::string path = pathOf(*file);
      if (argc == 2) // a name may hold anything: what does not print is shown as codes
        std::cout << escapedForDisplay(path) << "  " << file->fileSizeString() << '\n';
      else if (path == argv[2])
        return image->exportFile(file, argv[3], &error) ? 0 : failed(error);
    }
  }
  if (argc == 2) return 0;
  std::cerr << "There is no file " << escapedForDisplay(argv[2]) << '\n';
  return 1;
}
