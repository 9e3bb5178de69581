#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace tessary {

/// Allocator that leaves new bytes uninitialised: contents are read over the whole buffer at once,
/// so filling megabytes with zeros first would be work done twice.
template <typename T> struct UninitialisedAllocator : std::allocator<T> {
  template <typename U> struct rebind { using other = UninitialisedAllocator<U>; };
  template <typename U> void construct(U *place) noexcept { ::new (static_cast<void *>(place)) U; }
  template <typename U, typename... Args> void construct(U *place, Args &&...args) {
    ::new (static_cast<void *>(place)) U(std::forward<Args>(args)...);
  }
};

using ByteBuffer = std::vector<std::uint8_t, UninitialisedAllocator<std::uint8_t>>;

/// Contents shared between the file that caches them and whoever reads them. Never changed once made.
using ByteBufferPtr = std::shared_ptr<const ByteBuffer>;

} // namespace tessary
