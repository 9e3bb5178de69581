#include "cli/ImageList.h"

#include "cli/CaseFolding.h"
#include "tessary/HostTree.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace tessary::cli {
namespace {

void addImagesBelow(const std::string &top, std::vector<ListedImage> *images) {
  std::vector<std::string> waiting{top}; // the next one last
  while (!waiting.empty()) {
    const std::string folder = std::move(waiting.back());
    waiting.pop_back();
    HostListing listing = listHostFolder(folder);
    if (listing.failure) images->push_back({folder, std::move(listing.failure)});
    for (std::string &file : listing.files) {
      if (foldedCase(file).ends_with(".hda")) images->push_back({std::move(file)});
    }
    waiting.insert(waiting.end(), listing.folders.rbegin(), listing.folders.rend());
  }
}

} // namespace

std::vector<ListedImage> listImages(const std::vector<std::string> &words) {
  std::vector<ListedImage> images;
  for (const std::string &word : words) {
    std::error_code unknown;
    if (std::filesystem::is_directory(word, unknown))
      addImagesBelow(word, &images);
    else
      images.push_back({word});
  }
  return images;
}

} // namespace tessary::cli
