#pragma once

#include "tests/compare/Sequence.h"
#include "tests/writing/Random.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tessary::compare {

/// Where host files to import lie and where exported ones go, from a sequence's folder on.
inline constexpr const char *kImportFolder = "in";
inline constexpr const char *kExportFolder = "out";

/// Paths of the host files that the commands import.
std::vector<std::string> hostFileNames();

/// Commands of every kind, reading and changing, on entries that the image holds or that earlier commands
/// should have made; some on what is not there. `cat` only where it can be: not in a batch, since it has no
/// JSON answer.
std::vector<Command> randomCommands(test::Random &random, const test::ImageBuilder &image, MountRules rules,
                                    bool isBatch, std::size_t count);

} // namespace tessary::compare
