// The exported converters and the small functions around them. Checks first, then one call of the internal entry; the
// work is in kernel/convert/.
#include "kernel/convert/Convert.h"

#include "Vkconvert.h"
#include "kernel/convert/KeptPlan.h"
#include "kernel/convert/Plan.h"

#include <algorithm>
#include <cstring>

namespace vk {

int convert_buffer(void* buffer, const ConvertJob& job) noexcept
{
    if (buffer == nullptr || job.width <= 0) {
        return V_ERROR_INVALID_PARAMETER;
    }
    pixel::Plan* const plan = pixel::kept_plan(job);
    if (plan == nullptr) {
        return V_ERROR_INVALID_PARAMETER;
    }
    pixel::run_in_place(*plan, static_cast<uint8_t*>(buffer), static_cast<size_t>(job.width));
    return V_SUCCESS;
}

int convert_rows(SourceRows src, TargetRows dst, size_t rows, const ConvertJob& job) noexcept
{
    if (src.data == nullptr || dst.data == nullptr || job.width <= 0) {
        return V_ERROR_INVALID_PARAMETER;
    }
    pixel::Plan plan;
    if (!pixel::make_plan(job, &plan)) {
        return V_ERROR_INVALID_PARAMETER;
    }
    pixel::run_rows(plan, static_cast<const uint8_t*>(src.data), src.stride, static_cast<uint8_t*>(dst.data),
                    dst.stride, static_cast<size_t>(job.width), rows);
    return V_SUCCESS;
}

namespace {

/// Row size in bytes, a multiple of 4.
int64_t convert_row_bytes(int32_t width, int32_t bits) noexcept
{
    const int64_t depth = bits == 0 ? 8 : bits;
    return (((int64_t{width} * depth + 31) >> 3) / 4) * 4;
}

/// The limits that V_PadPixelData keeps samples within.
struct PadLimits {
    uint32_t range = 0; ///< the significant bits
    uint32_t lower = 0;
    uint32_t upper = 0;
};

/// False when there is nothing to do. A high bit out of range and the unshifted margin at the top are as documented.
bool pad_limits(int32_t high_bit, int32_t low_bit, int32_t margin, PadLimits* limits) noexcept
{
    const int32_t high = high_bit > 15 ? 1 : std::max(high_bit, 0);
    const int32_t low = std::max(std::min(low_bit, high - 1), 0);
    if (high == 15 && low == 0) {
        return false;
    }
    const int32_t count = high - low + 1;
    const int32_t kept = std::min((1 << count) / 4, margin);
    if (kept <= 0) {
        return false;
    }
    limits->range = ((1u << count) - 1u) << low;
    limits->lower = low > 0 ? static_cast<uint32_t>(kept) << low : 0u;
    limits->upper = (1u << (high + 1)) - 1u - (high < 15 ? static_cast<uint32_t>(kept) : 0u);
    return true;
}

} // namespace
} // namespace vk

using namespace vk;

int V_ConvertBufferExt3(void* pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc, int32_t nBitsPerPixelDst,
                        int32_t nOrderSrc, int32_t nOrderDst, const RGBQUAD* pPaletteSrc, const RGBQUAD* pPaletteDst,
                        const V_RGBQUAD16* pPaletteSrc16, void*, uint32_t uFlags, int32_t nLowBit, int32_t nHighBit,
                        COLORREF crTransparent) noexcept
{
    ConvertJob job;
    job.width = nWidth;
    job.src_bits = nBitsPerPixelSrc;
    job.dst_bits = nBitsPerPixelDst;
    job.src_order = nOrderSrc;
    job.dst_order = nOrderDst;
    job.src_palette = pPaletteSrc;
    job.dst_palette = pPaletteDst;
    job.src_palette16 = pPaletteSrc16;
    job.flags = uFlags;
    job.low_bit = nLowBit;
    job.high_bit = nHighBit;
    job.transparent = crTransparent;
    return convert_buffer(pBuffer, job);
}

int V_ConvertBufferExt2(void* pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc, int32_t nBitsPerPixelDst,
                        int32_t nOrderSrc, int32_t nOrderDst, const RGBQUAD* pPaletteSrc, const RGBQUAD* pPaletteDst,
                        const V_RGBQUAD16* pPaletteSrc16, void*, uint32_t uFlags, int32_t nLowBit,
                        int32_t nHighBit) noexcept
{
    return V_ConvertBufferExt3(pBuffer, nWidth, nBitsPerPixelSrc, nBitsPerPixelDst, nOrderSrc, nOrderDst, pPaletteSrc,
                               pPaletteDst, pPaletteSrc16, nullptr, uFlags, nLowBit, nHighBit, 0);
}

int V_ConvertBufferExt(void* pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc, int32_t nBitsPerPixelDst,
                       int32_t nOrderSrc, int32_t nOrderDst, const RGBQUAD* pPaletteSrc, const RGBQUAD* pPaletteDst,
                       uint32_t uFlags, int32_t nLowBit, int32_t nHighBit) noexcept
{
    return V_ConvertBufferExt3(pBuffer, nWidth, nBitsPerPixelSrc, nBitsPerPixelDst, nOrderSrc, nOrderDst, pPaletteSrc,
                               pPaletteDst, nullptr, nullptr, uFlags, nLowBit, nHighBit, 0);
}

int V_ConvertBuffer(void* pBuffer, int32_t nWidth, int32_t nBitsPerPixelSrc, int32_t nBitsPerPixelDst,
                    int32_t nOrderSrc, int32_t nOrderDst, const RGBQUAD* pPaletteSrc,
                    const RGBQUAD* pPaletteDst) noexcept
{
    return V_ConvertBufferExt3(pBuffer, nWidth, nBitsPerPixelSrc, nBitsPerPixelDst, nOrderSrc, nOrderDst, pPaletteSrc,
                               pPaletteDst, nullptr, nullptr, 0, -1, -1, 0);
}

int32_t V_CalcConvertSize(int32_t nWidthSrc, int32_t nBitsPerPixelSrc, int32_t nWidthDst,
                          int32_t nBitsPerPixelDst) noexcept
{
    if (nWidthSrc < 0 || nBitsPerPixelSrc < 0 || nWidthDst < 0 || nBitsPerPixelDst < 0) {
        return V_ERROR_INVALID_PARAMETER;
    }
    const int64_t bytes =
        std::max({convert_row_bytes(nWidthSrc, nBitsPerPixelSrc), convert_row_bytes(nWidthDst, nBitsPerPixelSrc),
                  convert_row_bytes(nWidthDst, nBitsPerPixelDst)});
    return bytes <= INT32_MAX ? static_cast<int32_t>(bytes) : V_ERROR_INVALID_PARAMETER;
}

int V_PadPixelData(void* pBuffer, int32_t nBitsPerPixel, uint32_t uCount, int32_t nHighBit, int32_t nLowBit,
                   int32_t nMargin) noexcept
{
    if (pBuffer == nullptr || nBitsPerPixel != 16) {
        return V_ERROR_INVALID_PARAMETER;
    }
    PadLimits limits;
    if (!pad_limits(nHighBit, nLowBit, nMargin, &limits)) {
        return V_SUCCESS;
    }
    auto* samples = static_cast<uint8_t*>(pBuffer);
    for (size_t i = 0; i < uCount; ++i) {
        uint16_t sample;
        std::memcpy(&sample, samples + 2 * i, sizeof sample);
        const uint32_t value = sample & limits.range;
        const uint32_t bounded = std::min(std::max(value, limits.lower), limits.upper) & limits.range;
        sample = static_cast<uint16_t>((sample & ~limits.range) | bounded);
        std::memcpy(samples + 2 * i, &sample, sizeof sample);
    }
    return V_SUCCESS;
}
