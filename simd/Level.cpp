#include "simd/Level.h"

#include <algorithm>
#include <atomic>

namespace vk::simd {

namespace {

constexpr uint8_t kUnknown = 0xFF;

std::atomic<Level> g_highest{Level::avx512};
std::atomic<uint8_t> g_own{kUnknown}; ///< the processor's, once it is known

Level own_level() noexcept
{
#if defined(__x86_64__)
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi2"))
        return Level::base;
    const bool is_wide = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                         __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
                         __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2");
    return is_wide ? Level::avx512 : Level::avx2;
#elif defined(__aarch64__)
    return Level::neon; // every processor of the kind has it
#else
    return Level::base;
#endif
}

} // namespace

Level level() noexcept
{
    uint8_t own = g_own.load(std::memory_order_relaxed);
    if (own == kUnknown) { // worked out by everybody who comes early, to the same end
        own = static_cast<uint8_t>(own_level());
        g_own.store(own, std::memory_order_relaxed);
    }
    return std::min(static_cast<Level>(own), g_highest.load(std::memory_order_relaxed));
}

Level limit_level(Level highest) noexcept
{
    g_highest.store(highest, std::memory_order_relaxed);
    return level();
}

bool moves_bits_fast() noexcept
{
#if defined(__x86_64__)
    return level() >= Level::avx2 && !__builtin_cpu_is("znver1") && !__builtin_cpu_is("znver2");
#else
    return false;
#endif
}

} // namespace vk::simd
