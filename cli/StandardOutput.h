#pragma once

#include "cli/Session.h"

#include <cstdint>
#include <initializer_list>
#include <span>

namespace tessary::cli {

/// Writes the parts, one after another, to standard output; a trial writes nothing. False, with the error,
/// where they could not be written.
[[nodiscard]] bool writeToStandardOutput(const Session &session,
                                         std::initializer_list<std::span<const std::uint8_t>> parts,
                                         EMU3Error *error);

} // namespace tessary::cli
