// Which of their forms the operations on runs of pixels use. All forms give the same bits.
#pragma once

#include "kernel/convert/Fused.h"

namespace vk::combine {

/// The level in use: the processor's, or the limit.
pixel::Cpu level() noexcept;

/// Switches forms above a level off, and on again; returns the level that results. For tests and benchmarks, while
/// nothing else runs.
pixel::Cpu limit_level(pixel::Cpu limit) noexcept;

/// Half of the bytes read and written from which it pays to write past the caches.
constexpr uint64_t kStreamFrom = uint64_t{16} << 20;

} // namespace vk::combine
