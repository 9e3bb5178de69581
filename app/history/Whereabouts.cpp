#include "app/history/Whereabouts.h"

#include "app/DisplayText.h"

namespace tessary {

bool isThere(const EMU3Filesystem &filesystem, const EMU3DirectoryPtr &folder) {
  const EMU3DirectoryPtr root = filesystem.rootDirectory();
  for (EMU3DirectoryPtr below = folder; below != root;) {
    const EMU3DirectoryPtr parent = below->parent();
    if (!parent || !parent->containsSubdirectory(below)) return false;
    below = parent;
  }
  return true;
}

bool isThere(const EMU3Filesystem &filesystem, const PlacedFile &placed) {
  return placed.folder->containsFile(placed.file) && isThere(filesystem, placed.folder);
}

ItemFailure goneFailure(const std::string &name) {
  return {displayText(name), QStringLiteral("It is no longer in its folder.")};
}

ItemFailure failureIn(const EMU3Filesystem &filesystem, const EMU3DirectoryPtr &folder,
                      const std::string &name, const EMU3Error &error) {
  if (isThere(filesystem, folder)) return ItemFailure::of(name, error);
  return {displayText(name),
          QStringLiteral("The folder “%1” is no longer there.").arg(displayText(folder->name()))};
}

} // namespace tessary
