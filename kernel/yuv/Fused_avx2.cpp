#include "kernel/yuv/Fused.h"
#include "kernel/yuv/Vectors_avx2.h"

namespace vk::yuv {

const FusedKernels kFused_avx2{to_bgr_pairs<Vectors>, to_bgr_single<Vectors>, unpack_twos<Vectors>, from_bgr<Vectors>};

} // namespace vk::yuv
