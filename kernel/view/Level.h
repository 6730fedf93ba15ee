// What the turning kernels may use of the processor, for all of them at once.
#pragma once

#include <cstdint>

namespace vk::turn {

/// Plain forms work pixel by pixel; SSE2 is always there, the choice exists for tests and benchmarks.
enum class Level : uint8_t { plain, sse2, avx2, avx512 };

/// The level in use.
Level level() noexcept;

/// Goes down to a level, or up again as far as the processor goes; returns the one now in use. For tests and
/// benchmarks, while nothing turns.
Level limit_level(Level limit) noexcept;

} // namespace vk::turn
