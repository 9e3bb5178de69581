#pragma once

namespace tessary {

/// From now on each link of a `LinkText` is a part of its own for screen readers: it has a name, a place, and
/// can be opened. The toolkit itself tells of such a text as a whole.
void makeLinksAccessible();

} // namespace tessary
