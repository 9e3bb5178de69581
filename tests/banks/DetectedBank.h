#pragma once

#include "filesystem/TreeEditor.h"
#include "tessary/EMU3Filesystem.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/MountedVolume.h"

#include <string>
#include <vector>

namespace tessary::test {

/// What the details held before the detection, to tell a value set from one left alone.
inline const BankDetails kBefore{"before", 77, 88, 99};

/// A bank's contents stored in a volume as a file of this name and looked at once.
struct DetectedBank {
  explicit DetectedBank(const Bytes &contents, std::string_view name = "File",
                        const FileOptions &options = {})
      : volume([&] {
          ImageBuilder image({.slotSizeBlocks = 512});
          image.root().addFile(name, contents, options);
          return image;
        }()),
        file(volume.root()->files().at(0)) {
    TreeEditor::setBankDetails(*file, kBefore);
    const CapturedLog log;
    succeeded = volume->populateBankMetadata(file, &error);
    lines = log.lines();
  }

  BankDetails details() const { return file->bankDetails(); }

  MountedVolume volume;
  EMU3FilePtr file;
  bool succeeded = false;
  EMU3Error error;
  std::vector<std::string> lines;
};

/// The lines logged for a file named "Acid".
inline std::vector<std::string> linesFor(const Bytes &contents) {
  return DetectedBank(contents, "Acid").lines;
}

using Lines = std::vector<std::string>;

} // namespace tessary::test
