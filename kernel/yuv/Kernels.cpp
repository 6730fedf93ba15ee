#include "kernel/yuv/Kernels.h"

#include "kernel/yuv/Loops.h"

#include <atomic>

namespace vk::yuv {

namespace {

constinit std::atomic<const Kernels*> in_use{nullptr};

Level best_level() noexcept
{
    const bool is_wide = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                         __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
                         __builtin_cpu_supports("avx512vbmi");
    if (!__builtin_cpu_supports("avx2"))
        return Level::plain;
    return is_wide ? Level::avx512 : Level::avx2;
}

} // namespace

const Kernels kPlainKernels{Level::plain,
                            blend_loop,
                            blend_pairs_loop,
                            spread_loop<uint16_t>,
                            to_bgr_loop,
                            split_loop,
                            luma_loop,
                            add_loop,
                            chroma_loop<int32_t, uint16_t, uint8_t>,
                            interleave_loop,
                            nullptr};

const Kernels& kernels() noexcept
{
    if (!in_use.load(std::memory_order_relaxed))
        limit_level(Level::avx512);
    return *in_use.load(std::memory_order_relaxed);
}

Level limit_level(Level limit) noexcept
{
    static constexpr const Kernels* kLevels[] = {&kPlainKernels, &kKernels_avx2, &kKernels_avx512};
    const Level level = std::min(limit, best_level());
    in_use = kLevels[static_cast<size_t>(level)];
    return level;
}

} // namespace vk::yuv
