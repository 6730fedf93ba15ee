// From which size on the operations on runs of pixels write past the caches.
#pragma once

#include <cstdint>

namespace vk::combine {

/// Half of the bytes read and written from which it pays to write past the caches.
constexpr uint64_t kStreamFrom = uint64_t{16} << 20;

} // namespace vk::combine
