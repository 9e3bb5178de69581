#include "filesystem/HostImport.h"

#include "filesystem/DiskFormat.h"
#include "filesystem/Text.h"

#include <optional>
#include <utility>

namespace tessary {
namespace {

// Gigabytes are not read for nothing.
bool mayStore(Volume &volume, const std::string &imagePath, const NewFile &file,
              const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  const WriteLock changing(volume.changing);
  const WriteLock lock(volume.lock);
  return volume.prepareForChange(imagePath, error) && mayStoreFile(volume, file, toDirectory, error);
}

std::unique_ptr<StoreFile> storing(Volume &volume, const std::string &imagePath, const std::string &hostPath,
                                   NewFile file, const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  const std::optional<HostFile> source = HostFile::open(hostPath, error);
  if (!source) return nullptr;
  file.size = source->size();
  if (volume.rules().refusesBeforeReading() && !mayStore(volume, imagePath, file, toDirectory, error))
    return nullptr;
  file.data = source->readWhole(error);
  if (!file.data) return nullptr;
  file.size = file.data->size();
  return std::make_unique<StoreFile>(std::move(file), toDirectory);
}

} // namespace

std::unique_ptr<StoreFile> importOf(Volume &volume, const std::string &imagePath, const std::string &hostPath,
                                    const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  NewFile file;
  file.name = prefixOfUtf16Units(withoutExtension(lastPathComponent(hostPath)), format::kMaxNameBytes);
  return storing(volume, imagePath, hostPath, std::move(file), toDirectory, error);
}

std::unique_ptr<StoreFile> restorationOf(Volume &volume, const std::string &imagePath,
                                         const std::string &hostPath, const EntryBytes &entry,
                                         const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  const std::optional<std::string> name = volume.rules().nameOf(entry.data());
  if (!name || entry.front() == 0) {
    fail(error, EngineError::badName);
    return nullptr;
  }
  NewFile file;
  file.name = *name;
  file.model = entry;
  return storing(volume, imagePath, hostPath, std::move(file), toDirectory, error);
}

} // namespace tessary
