#pragma once

#include "app/history/HistoryStep.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace tessary {

class Arrivals;

/// Copies files, and folders with their trees, into folders of the image: of its own, or those of another
/// image, as long as that is mounted. A folder comes beside one of its name.
class CopyStep final : public HistoryStep {
public:
  struct Source {
    LastingFile file;     ///< null for a folder
    LastingFolder folder; ///< null for a file
    LastingFolder into;
  };

  /// A step keeps no image mounted. None: the image that is changed.
  using OtherImage = std::optional<std::weak_ptr<EMU3Filesystem>>;

  /// All of them into one folder. `image` is the other image; null where they are the image's own.
  [[nodiscard]] static HistoryStepPtr of(LastingItems &items, const std::vector<PlacedFile> &files,
                                         const EMU3DirectoryPtr &into, const EMU3FilesystemPtr &image);
  [[nodiscard]] static HistoryStepPtr of(LastingItems &items, const EMU3DirectoryPtr &folder,
                                         const EMU3DirectoryPtr &into, const EMU3FilesystemPtr &image);
  CopyStep(std::vector<Source> sources, OtherImage image)
      : sources_(std::move(sources)), image_(std::move(image)) {}

  /// Of a folder that is copied the result is the copy itself.
  StepResult run(EMU3Filesystem &filesystem, LastingItems &items, WorkProgress &progress) const override;

private:
  [[nodiscard]] StepResult withoutImage() const;
  [[nodiscard]] HistoryStepPtr restOf(const Arrivals &arrivals, LastingItems &items) const;
  void say(const Arrivals &arrivals, StepResult *result) const;

  const std::vector<Source> sources_;
  const OtherImage image_;
};

} // namespace tessary
