#include "common/turn/Level.h"

#include <algorithm>
#include <atomic>

namespace vk::turn {

namespace {

Level best_level() noexcept
{
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2");
    return avx2 ? Level::avx2 : Level::sse2;
}

std::atomic<Level> g_limit{Level::avx2};

} // namespace

Level level() noexcept
{
    static const Level best = best_level();
    return std::min(best, g_limit.load(std::memory_order_relaxed));
}

Level limit_level(Level limit) noexcept
{
    g_limit.store(limit, std::memory_order_relaxed);
    return level();
}

} // namespace vk::turn
