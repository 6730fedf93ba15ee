#include "kernel/sampling/Loops.h"

#include "kernel/convert/Fused.h"

#include <algorithm>
#include <atomic>

namespace vk::sampling {

namespace {

std::atomic<Level> g_limit{Level::avx512};

Level highest() noexcept
{
    switch (simd::level()) {
    case simd::Level::avx512:
        return Level::avx512;
    case simd::Level::avx2:
        return Level::avx2;
    default:
        return Level::plain;
    }
}

} // namespace

Level level() noexcept
{
    return std::min(g_limit.load(std::memory_order_relaxed), highest());
}

Level limit_level(Level limit) noexcept
{
    g_limit.store(limit, std::memory_order_relaxed);
    return level();
}

const PositionLoops& loops() noexcept
{
    constexpr const PositionLoops* kAll[] = {&kPlainPositions, &kAvx2Positions, &kAvx512Positions};
    return *kAll[static_cast<size_t>(level())];
}

Take fast_take(int32_t bits) noexcept
{
    const Take widest = level() == Level::avx512 ? avx512_take(bits) : nullptr;
    return widest || level() == Level::plain ? widest : avx2_take(bits);
}

TakeBits fast_take_bits() noexcept
{
    const TakeBits widest = level() == Level::avx512 ? avx512_take_bits() : nullptr;
    return widest || level() == Level::plain ? widest : avx2_take_bits();
}

MixLoops fast_mix(const CellKind& kind) noexcept
{
    if (level() == Level::plain)
        return {};
    if (kind.is_real)
        return level() == Level::avx512 ? avx512_real_mix(kind) : avx2_real_mix(kind);
    MixLoops made = avx2_mix(kind);
    if (level() == Level::avx512) {
        const MixLoops widest = avx512_mix(kind);
        made.linear = widest.linear ? widest.linear : made.linear;
        made.cubic = widest.cubic ? widest.cubic : made.cubic;
    }
    return made;
}

} // namespace vk::sampling
