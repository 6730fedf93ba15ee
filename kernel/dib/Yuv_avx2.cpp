#include "kernel/dib/YuvFused.h"
#include "kernel/yuv/Vectors_avx2.h"

namespace vk::dib {

using yuv::Vectors;

uint32_t yuy2_full_avx2(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return packed<Vectors, Full<Vectors>, true, true>(row.y, width, bgr, stream);
}

uint32_t uyvy_studio_avx2(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return packed<Vectors, Studio<Vectors>, false, true>(row.u, width, bgr, stream);
}

uint32_t yvyu_studio_avx2(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return packed<Vectors, Studio<Vectors>, true, false>(row.y, width, bgr, stream);
}

uint32_t planar_studio_avx2(const YuvRow& row, uint32_t width, uint8_t* bgr, bool stream) noexcept
{
    return planar<Vectors>(row, width, bgr, stream);
}

} // namespace vk::dib
