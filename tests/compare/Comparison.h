#pragma once

#include "tests/compare/Sequence.h"
#include "tests/compare/Trial.h"
#include "tests/support/Pattern.h"

#include <optional>
#include <string>

namespace tessary::compare {

/// The first difference between what two programs made of a sequence, in words; none when there is none. What
/// matches `ignored` is left out of the answers. A program that was ended by a signal is a difference too.
std::optional<std::string> difference(const Sequence &sequence, const Outcome &before, const Outcome &now,
                                      const std::optional<test::Pattern> &ignored);

} // namespace tessary::compare
