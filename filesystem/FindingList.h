#pragma once

#include "tessary/VolumeFindings.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tessary {

/// What a finding is about: the folder, the file in it, the entry's place. Each may be left out; a file's
/// place follows from the file.
struct FindingSubject {
  EMU3DirectoryPtr folder;
  EMU3FilePtr file;
  std::optional<EntryPlace> place;
};

/// Findings as they come in. Of each kind a limited number is kept, and the rest counted: a damaged volume
/// can have a hundred thousand of them.
class FindingList final {
public:
  void add(const FindingKind &kind, std::string message, FindingSubject subject = {});
  /// All that were added; behind them, for a kind that has too many, how many more there are.
  [[nodiscard]] std::vector<VolumeFinding> take();

private:
  std::map<std::string_view, std::size_t> counts_;
  std::vector<VolumeFinding> findings_;
};

// Pieces of a finding's sentence.
/// “NAME”
[[nodiscard]] std::string quoted(const std::string &name);
/// “NAME” in the folder “FOLDER”
[[nodiscard]] std::string quotedWithFolder(const EMU3File &file, const EMU3Directory &folder);
/// "1 block", "3 blocks"
[[nodiscard]] std::string counted(std::uint64_t count, const std::string &what);
/// "block 7", "blocks 7 to 9": from `begin` up to `end`, which is above it.
[[nodiscard]] std::string blockRange(std::uint64_t begin, std::uint64_t end);

} // namespace tessary
