#include "filesystem/HostImport.h"

#include "filesystem/DiskFormat.h"
#include "filesystem/EntrySpot.h"
#include "filesystem/FileChanges.h"
#include "filesystem/HostFile.h"
#include "tessary/Text.h"

#include <utility>

namespace tessary {
namespace {

// A file up to this size is read before it is known whether there is room for it.
constexpr std::uint64_t kReadAtOnce = std::uint64_t{1} << 20;

// Asked before a large host file is read, so that gigabytes are not read for nothing.
bool mayStore(Volume &volume, const std::string &imagePath, const NewFile &file,
              const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  const WriteLock changing(volume.changing);
  const WriteLock lock(volume.lock);
  return volume.prepareForChange(imagePath, error) &&
         mayStoreFile(volume, file, toDirectory ? toDirectory : volume.tree.root(), error);
}

std::optional<NewFile> withBytes(NewFile file, Volume &volume, const std::string &imagePath,
                                 const std::optional<HostFile> &source, const EMU3DirectoryPtr &toDirectory,
                                 EMU3Error *error) {
  if (!source) return std::nullopt;
  file.size = source->size();
  if (file.size > kReadAtOnce && volume.rules().refusesBeforeReading() &&
      !mayStore(volume, imagePath, file, toDirectory, error))
    return std::nullopt;
  file.data = source->readWhole(error);
  if (!file.data) return std::nullopt;
  file.size = file.data->size();
  return file;
}

} // namespace

std::string nameForImport(const std::string &name) {
  return std::string(prefixOfUtf16Units(name, format::kMaxNameBytes));
}

std::string nameForImport(const ImportSource &source) {
  return source.name ? *source.name : nameForImport(withoutExtension(lastPathComponent(source.hostPath)));
}

// A name that was asked for is not cut: it is refused where it is too long, as a rename would be.
std::optional<NewFile> readForImport(Volume &volume, const std::string &imagePath,
                                     const ImportSource &importSource, const EMU3DirectoryPtr &toDirectory,
                                     EMU3Error *error) {
  NewFile file;
  file.name = nameForImport(importSource);
  if (importSource.name && !mayGiveName(volume, *importSource.name, error)) return std::nullopt;
  if (!importSource.bytes) {
    const auto seen = importSource.isRegular ? HostFile::Seen::regularFile : HostFile::Seen::nothing;
    return withBytes(std::move(file), volume, imagePath, HostFile::open(importSource.hostPath, error, seen),
                     toDirectory, error);
  }
  file.size = importSource.bytes->size();
  if (volume.rules().refusesBeforeReading() && !mayStore(volume, imagePath, file, toDirectory, error))
    return std::nullopt;
  file.data = importSource.bytes;
  return file;
}

std::optional<NewFile> readForRestoration(Volume &volume, const std::string &imagePath,
                                          const std::string &hostPath, const EntryBytes &entry,
                                          const EMU3DirectoryPtr &toDirectory, EMU3Error *error) {
  const std::optional<std::string> name = volume.rules().nameOf(entry.data());
  if (!name || entry.front() == 0) {
    fail(error, EngineError::badName);
    return std::nullopt;
  }
  NewFile file;
  file.name = *name;
  file.model = entry;
  return withBytes(std::move(file), volume, imagePath, HostFile::open(hostPath, error), toDirectory, error);
}

} // namespace tessary
