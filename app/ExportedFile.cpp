#include "app/ExportedFile.h"

#include "filesystem/HostFileName.h"
#include "filesystem/Text.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tessary {

std::string exportedFileName(const std::string &name) {
  return hostFileName(name) + ".E4B";
}

std::string nameOfExportedFile(const std::string &path) {
  return nameFromHostFileName(withoutExtension(lastPathComponent(path)));
}

std::string pathInFolder(const std::string &folder, const std::string &name) {
  return std::filesystem::path(folder) / name;
}

bool mayExportTo(const std::string &path, const EMU3Filesystem &filesystem, EMU3Error *error) {
  std::error_code notThere;
  if (!std::filesystem::equivalent(filesystem.imageURL(), path, notThere)) return true;
  return fail(error, {kHostErrorDomain, EBUSY, path + ": This is the image itself"});
}

std::optional<std::string> exportIntoFolder(EMU3Filesystem &filesystem, const EMU3FilePtr &file,
                                            const EMU3DirectoryPtr &directory, const std::string &folder,
                                            EMU3Error *error) {
  const std::string path = pathInFolder(folder, exportedFileName(file->name()));
  if (!directory->containsFile(file)) {
    fail(error, {kEngineErrorDomain, kErrorEntryNotFound, "Dentry block not found"});
    return std::nullopt;
  }
  if (!mayExportTo(path, filesystem, error) || !filesystem.exportFile(file, path, error)) return std::nullopt;
  return path;
}

} // namespace tessary
