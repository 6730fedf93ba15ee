// Library-wide settings that the rest of the kernel reads.
#pragma once

#include <cstdint>

namespace vk {

/// Bitmaps with more bytes than this go to disk; 0: no threshold.
uint64_t disk_threshold() noexcept;

/// Stands for the threshold that the library works out.
constexpr int64_t kComputedThreshold = -1;

/// Sets the threshold: a number of bytes, 0 for none, or kComputedThreshold.
void set_disk_threshold(int64_t threshold) noexcept;

} // namespace vk
