#include "tessary/EMU3File.h"

#include "filesystem/DiskFormat.h"

#include <utility>

namespace tessary {
namespace {

// With one decimal, rounded to the nearest, halves to the even one. In whole numbers: printf would follow the
// locale that the toolkit sets, and this is asked for each file of a list.
std::string withOneDecimal(std::uint64_t size, std::uint64_t unit) {
  const std::uint64_t tenthsOfRest = size % unit * 10;
  std::uint64_t tenths = size / unit * 10 + tenthsOfRest / unit;
  const std::uint64_t twiceLeft = tenthsOfRest % unit * 2;
  if (twiceLeft > unit || (twiceLeft == unit && tenths % 2 != 0)) ++tenths;
  return std::to_string(tenths / 10) + '.' + static_cast<char>('0' + tenths % 10);
}

} // namespace

std::string EMU3File::name() const {
  const MutexLock lock(mutex_);
  return name_;
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
  if (fileSize < megabyte) return withOneDecimal(fileSize, kilobyte) + " KB";
  return withOneDecimal(fileSize, megabyte) + " MB";
}

} // namespace tessary
