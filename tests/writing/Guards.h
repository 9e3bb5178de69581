#pragma once

namespace tessary::test {

/// The rules by which a volume is changed.
enum class Guards { off, on };

} // namespace tessary::test
