// A small picture's life in a library whose types go by the names of ours, which is why it has a file of its own.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk::bench {

constexpr int32_t kIcon = 32;      ///< pixels along a side
constexpr int32_t kSmallIcon = 24; ///< after averaging
constexpr size_t kIconRow = 3 * kIcon;

/// Of rows of 24 bits.
void live_freeimage(const uint8_t* rows);

} // namespace vk::bench
