#pragma once

#include "filesystem/DiskFormat.h"
#include "tessary/EntryPlace.h"

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace tessary {

/// The directory blocks of a volume as they were when its tree was read. Kept as long as another program may
/// change the image, to see what has changed since.
class DirectorySnapshot final {
public:
  void add(std::int64_t block, const format::Block &bytes);
  void clear() { blocks_.clear(); }

  /// The 32 bytes of an entry; none when its block was not read.
  [[nodiscard]] std::optional<format::Dentry> entry(EntryPlace place) const;

private:
  /// Without the zeros at their ends: most folders of a large volume have few entries.
  std::unordered_map<std::int64_t, std::vector<std::uint8_t>> blocks_;
};

} // namespace tessary
