// Any bytes may be mounted: opening, the tree, contents, details, the check.

#include "tests/fuzz/MemoryImage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace tessary;
  const fuzz::MemoryImage image({data, size});
  EMU3Error error;
  const EMU3FilesystemPtr volume = EMU3Filesystem::initWithURL(image.path(), &error);
  fuzz::require((volume == nullptr) == error.isSet(), "opening fails with an error, and only then");
  if (!volume) return 0;
  std::uint64_t read = 0;
  for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume->rootDirectory())) {
    fuzz::require(!folder->description().empty(), "a folder has a description");
    for (const EMU3FilePtr &file : folder->allFiles()) {
      fuzz::require(!file->name().empty(), "a file has a name");
      volume->populateBankMetadata(file);
      if (read > 4 * 1024 * 1024) continue;
      const ByteBufferPtr bytes = volume->contentsOfFile(file);
      fuzz::require(bytes->size() <= size, "contents lie inside the image");
      read += bytes->size();
      volume->samplesFromBankFile(file);
    }
  }
  static_cast<void>(volume->check());
  static_cast<void>(volume->lostFolders());
  fuzz::require(volume->reload(), "what was opened reads again");
  return 0;
}
