#include "cli/NameSearch.h"

#include "cli/AddressSyntax.h"
#include "cli/Addresses.h"
#include "cli/CaseFolding.h"
#include "cli/NamePattern.h"

#include <utility>

namespace tessary::cli {
namespace {

/// One image while it is looked through.
class ImageSearch final {
public:
  ImageSearch(EMU3Filesystem &volume, const SearchedName &name, const SearchedKinds &kinds)
      : volume_(volume), name_(name), kinds_(kinds) {}

  // Each folder before what is in it, files before folders.
  std::vector<NameMatch> run(const std::function<bool()> &isToStop) {
    for (const EMU3DirectoryPtr &folder : directoriesInPreOrder(volume_.rootDirectory())) {
      if (isToStop()) break;
      if (kinds_.folders && folder->parent() != nullptr) lookAt(*folder);
      for (const EMU3FilePtr &file : folder->allFiles())
        lookAt(file);
    }
    return std::move(found_);
  }

private:
  void lookAt(const EMU3Directory &folder) {
    const std::string name = folder.name();
    if (name_.matches(name))
      found_.push_back({pathOf(folder), folder.place(), NameMatch::Kind::folder, name});
  }

  void lookAt(const EMU3FilePtr &file) {
    const std::string name = file->name();
    if (kinds_.files && name_.matches(name))
      found_.push_back({pathOf(*file), file->place(), NameMatch::Kind::file, name});
    if ((kinds_.presets || kinds_.samples) && file->fileType() == kFileTypeBank) lookInto(file);
  }

  void lookInto(const EMU3FilePtr &bank) {
    for (const BankEntry &entry : volume_.listingOfBankFile(bank)) {
      const bool isPreset = entry.kind == BankEntryKind::preset && kinds_.presets;
      const bool isSample = entry.kind == BankEntryKind::sample && kinds_.samples;
      if ((!isPreset && !isSample) || !name_.matches(entry.name)) continue;
      const auto kind = isPreset ? NameMatch::Kind::preset : NameMatch::Kind::sample;
      found_.push_back({pathOf(*bank), bank->place(), kind, entry.name, entry.index});
    }
  }

  EMU3Filesystem &volume_;
  const SearchedName &name_;
  const SearchedKinds kinds_;
  std::vector<NameMatch> found_;
};

} // namespace

const char *wordFor(NameMatch::Kind kind) {
  switch (kind) {
  case NameMatch::Kind::file:
    return "file";
  case NameMatch::Kind::folder:
    return "folder";
  case NameMatch::Kind::preset:
    return "preset";
  case NameMatch::Kind::sample:
    break;
  }
  return "sample";
}

SearchedName::SearchedName(const std::string &pattern)
    : folded_(foldedCase(isPattern(pattern) ? pattern : unescapedName(pattern))),
      isPattern_(isPattern(pattern)) {}

bool SearchedName::matches(const std::string &name) const {
  const std::string folded = foldedCase(name);
  return isPattern_ ? matchesPattern(folded_, folded) : folded.find(folded_) != std::string::npos;
}

ImageMatches searchImage(const std::string &image, MountRules rules, const SearchedName &name,
                         const SearchedKinds &kinds, const std::function<bool()> &isToStop) {
  EMU3Error error;
  const EMU3FilesystemPtr volume =
      EMU3Filesystem::initWithURL(image, rules, ImageClaim::atFirstChange, &error);
  if (volume == nullptr) return {{}, std::move(error)};
  return {ImageSearch(*volume, name, kinds).run(isToStop), std::nullopt};
}

} // namespace tessary::cli
