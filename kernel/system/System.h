// Library-wide settings that the rest of the kernel reads.
#pragma once

#include <cstdint>

namespace vk {

/// Bitmaps with more bytes than this go to disk; 0: no threshold.
uint64_t disk_threshold() noexcept;

} // namespace vk
