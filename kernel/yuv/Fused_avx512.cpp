#include "kernel/yuv/Fused.h"
#include "kernel/yuv/Vectors_avx512.h"

namespace vk::yuv {

const FusedKernels kFused_avx512{to_bgr_pairs<Vectors>, to_bgr_single<Vectors>, unpack_twos<Vectors>,
                                 from_bgr<Vectors>};

} // namespace vk::yuv
