#include "kernel/view/Level.h"

#include "kernel/convert/Fused.h"

#include <algorithm>
#include <atomic>

namespace vk::turn {

namespace {

Level best_level() noexcept
{
    const simd::Level cpu = simd::level();
    return cpu >= simd::Level::avx512 ? Level::avx512 : cpu >= simd::Level::avx2 ? Level::avx2 : Level::sse2;
}

std::atomic<Level> g_limit{Level::avx512};

} // namespace

Level level() noexcept
{
    return std::min(best_level(), g_limit.load(std::memory_order_relaxed));
}

Level limit_level(Level limit) noexcept
{
    g_limit.store(limit, std::memory_order_relaxed);
    return level();
}

} // namespace vk::turn
