#pragma once

#include "tessary/EMU3Filesystem.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tessary::cli {

/// Kinds of names that are looked for.
struct SearchedKinds {
  bool files = true;
  bool folders = true;
  bool presets = true;
  bool samples = true;
};

/// A name that was found.
struct NameMatch {
  enum class Kind { file, folder, preset, sample };

  std::string path; ///< of the file or folder; of a preset or sample its bank's
  EntryPlace place; ///< the same
  Kind kind = Kind::file;
  std::string name;
  std::optional<std::uint64_t> index{}; ///< of a preset or sample in its bank's table of contents
};
/// "file", "folder", "preset" or "sample".
[[nodiscard]] const char *wordFor(NameMatch::Kind kind);

/// A part of a name, or the whole of it where the pattern holds an unescaped "*" or "?". Letter case is
/// passed over. May be used by several threads at once.
class SearchedName final {
public:
  explicit SearchedName(const std::string &pattern);
  [[nodiscard]] bool matches(const std::string &name) const;

private:
  std::string folded_; ///< without escapes, unless it is a pattern
  bool isPattern_ = false;
};

/// What is found in an image.
struct ImageMatches {
  std::vector<NameMatch> matches;
  std::optional<EMU3Error> error; ///< the image could not be read
};

/// Looks at the folders of an image and at its banks' tables of contents, at nothing else of them. Ends
/// early, with what it has, once `isToStop`.
[[nodiscard]] ImageMatches searchImage(const std::string &image, MountRules rules, const SearchedName &name,
                                       const SearchedKinds &kinds, const std::function<bool()> &isToStop);

} // namespace tessary::cli
