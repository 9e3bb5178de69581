#include "tessary/EMU3File.h"

#include "filesystem/DiskFormat.h"

#include <array>
#include <charconv>
#include <utility>

namespace tessary {
namespace {

// std::to_chars, since printf would follow the locale that the toolkit sets.
std::string withOneDecimal(double value) {
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 1);
  return {text.data(), end.ptr};
}

} // namespace

EMU3FileFields EMU3File::fields() const {
  const MutexLock lock(mutex_);
  return fields_;
}

EntryPlace EMU3File::place() const {
  const MutexLock lock(mutex_);
  return {fields_.dentryBlock, fields_.dentryOffset};
}

EMU3DirectoryPtr EMU3File::folder() const {
  const MutexLock lock(mutex_);
  return folder_.lock();
}

ByteBufferPtr EMU3File::cachedData() const {
  const MutexLock lock(mutex_);
  return cachedData_;
}

BankDetails EMU3File::bankDetails() const {
  const MutexLock lock(mutex_);
  return bankDetails_;
}

std::string EMU3File::fileSizeString() const {
  return fileSizeStringFor(fileSize());
}

std::string EMU3File::fileTypeString() const {
  return fileTypeStringFor(fileType());
}

std::string EMU3File::description() const {
  const EMU3FileFields copy = fields();
  return "<EMU3File: " + copy.name + " (" + fileTypeStringFor(copy.fileType) + ") " +
         fileSizeStringFor(copy.fileSize) + ">";
}

std::int64_t fileTypeForRawType(std::uint8_t rawType) {
  switch (rawType) {
  case format::kRawTypeSystem:
    return kFileTypeSystem;
  case format::kRawTypeBank:
  case format::kRawTypeOtherBank:
    return kFileTypeBank;
  default:
    return kFileTypePlain;
  }
}

std::string fileTypeStringFor(std::int64_t fileType) {
  switch (fileType) {
  case kFileTypeBank:
    return "Bank";
  case kFileTypeSystem:
    return "System";
  default:
    return "File";
  }
}

std::string fileSizeStringFor(std::uint64_t fileSize) {
  constexpr std::uint64_t kilobyte = 1024;
  constexpr std::uint64_t megabyte = kilobyte * kilobyte;
  if (fileSize < kilobyte) return std::to_string(fileSize) + " B";
  if (fileSize < megabyte) {
    return withOneDecimal(static_cast<double>(fileSize) / static_cast<double>(kilobyte)) + " KB";
  }
  return withOneDecimal(static_cast<double>(fileSize) / static_cast<double>(megabyte)) + " MB";
}

} // namespace tessary
