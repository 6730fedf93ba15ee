#include "kernel/yuv/Kernels.h"

#include "kernel/yuv/Loops.h"

namespace vk::yuv {

const Kernels kPlainKernels{blend_loop,
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
    const Kernels* const fast = vector_kernels_sets.best();
    return fast ? *fast : kPlainKernels;
}

} // namespace vk::yuv
