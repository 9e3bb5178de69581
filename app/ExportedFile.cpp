#include "app/ExportedFile.h"

namespace tessary {

std::optional<std::string> exportIntoFolder(EMU3Filesystem &filesystem, const EMU3FilePtr &file,
                                            const EMU3DirectoryPtr &directory, const std::string &folder,
                                            ExportTargets *targets, EMU3Error *error) {
  if (!directory->containsFile(file)) {
    fail(error, EngineError::entryNotFound);
    return std::nullopt;
  }
  const std::string path = targets->claim(folder, exportedFileName(file->name()));
  if (!filesystem.exportFile(file, path, error)) return std::nullopt;
  targets->wrote(path);
  return path;
}

} // namespace tessary
