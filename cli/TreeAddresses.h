#pragma once

#include "tessary/ItemsOperation.h"

#include <string>
#include <vector>

namespace tessary::cli {

/// The addresses of all items of an operation on what is in the volume. `tops` are those of the entries that
/// were added, in order; what is below one has an address made from its folder's.
[[nodiscard]] std::vector<std::string> addressesOf(const ItemsOperation &operation,
                                                   const std::vector<std::string> &tops);

} // namespace tessary::cli
