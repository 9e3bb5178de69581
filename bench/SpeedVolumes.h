#pragma once

#include "tests/support/ImageBuilder.h"

#include <cstddef>
#include <string>
#include <vector>

/// The volumes and host files of the speed table.
namespace tessary::bench {

inline constexpr std::size_t kFilesPerFolder = 112; ///< as many as a folder of seven blocks holds

/// Empty folders "F0", "F1"… in folders "S0", "S1"… of the root, the last of them with room for more files,
/// and `files` banks of 4 KiB, one to a slot, in all of them. The paths of the inner folders come to `paths`.
test::ImageBuilder smallFilesVolume(std::size_t files, std::size_t folders,
                                    std::vector<std::string> *paths = nullptr);

/// 512 MiB with slots of 2 MiB and two empty folders, "Banks" and "Copies"; `files` files of 2 MiB in the
/// first.
test::ImageBuilder largeFilesVolume(std::size_t files);

/// A bank of 4 KiB.
test::Bytes smallBank(std::size_t number);

/// Writes files of 4 KiB into folders "0", "1"… of `folder`, 112 in each; their paths by folder.
std::vector<std::vector<std::string>> writeSmallFiles(const std::string &folder, std::size_t count);
/// Writes files of 2 MiB into the folder; their paths.
std::vector<std::string> writeLargeFiles(const std::string &folder, std::size_t count);

} // namespace tessary::bench
