#include "app/ExportedFile.h"

#include "filesystem/ExportNames.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tessary {

std::string pathInFolder(const std::string &folder, const std::string &name) {
  return std::filesystem::path(folder) / name;
}

std::optional<std::string> exportIntoFolder(EMU3Filesystem &filesystem, const EMU3FilePtr &file,
                                            const EMU3DirectoryPtr &directory, const std::string &folder,
                                            EMU3Error *error) {
  const std::string path = pathInFolder(folder, exportedFileName(file->name()).whole());
  if (!directory->containsFile(file)) {
    fail(error, EngineError::entryNotFound);
    return std::nullopt;
  }
  if (!filesystem.exportFile(file, path, error)) return std::nullopt;
  return path;
}

} // namespace tessary
