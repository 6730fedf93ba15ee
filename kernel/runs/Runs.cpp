// The runs family's door: rows of 1-bit pixels in memory, to and from their run-length form.
//
// Inside: RunLength.h says what the form is; RunLength.cpp chooses among the vector forms of the coder, which
// RunLengthKernel.h holds, RunLengthPlain.cpp is what they must equal, RunLengthRows.cpp works on coded rows.
#include "Vkruns.h"

#include "kernel/runs/RunLength.h"

using namespace vk;

namespace {

constexpr uint32_t bit_of(int32_t offset) noexcept
{
    return static_cast<uint32_t>(offset) % 8u;
}

void compress_rows(void* to, const void* from, uint32_t bit, uint32_t pixels, int32_t rows, size_t stride) noexcept
{
    auto* out = static_cast<uint8_t*>(to);
    const auto* in = static_cast<const uint8_t*>(from);
    for (int32_t i = 0; i < rows; ++i, in += stride)
        out += runlength::compress(out, in, bit, pixels);
}

void expand_rows(const void* from, void* to, uint32_t start, uint32_t pixels, int32_t rows, size_t stride) noexcept
{
    const auto* in = static_cast<const uint8_t*>(from);
    auto* out = static_cast<uint8_t*>(to);
    for (int32_t i = 0; i < rows; ++i, out += stride) {
        runlength::expand(in, out, start, pixels);
        in += runlength::row_bytes(runlength::word_count(in));
    }
}

} // namespace

int V_CompressRow(void* pDst, const void* pSrc, int32_t nBitOffset, int32_t nPixels) noexcept
{
    return V_CompressRows(pDst, pSrc, nBitOffset, nPixels, 1, 0);
}

int V_ExpandRow(const void* pSrc, void* pDst, int32_t nStart, int32_t nPixels) noexcept
{
    return V_ExpandRows(pSrc, pDst, nStart, nPixels, 1, 0);
}

int V_CompressRows(void* pDst, const void* pSrc, int32_t nBitOffset, int32_t nPixels, int32_t nRows,
                   size_t uSrcStride) noexcept
{
    if (!pDst || !pSrc || nPixels < 0 || nRows < 0)
        return V_ERROR_INVALID_PARAMETER;
    compress_rows(pDst, pSrc, bit_of(nBitOffset), static_cast<uint32_t>(nPixels), nRows, uSrcStride);
    return nPixels;
}

int V_ExpandRows(const void* pSrc, void* pDst, int32_t nStart, int32_t nPixels, int32_t nRows,
                 size_t uDstStride) noexcept
{
    if (!pSrc || !pDst || nStart < 0 || nPixels < 0 || nRows < 0)
        return V_ERROR_INVALID_PARAMETER;
    expand_rows(pSrc, pDst, static_cast<uint32_t>(nStart), static_cast<uint32_t>(nPixels), nRows, uDstStride);
    return V_SUCCESS;
}

int V_MirrorCompressedBuffer(void* pBuffer, int32_t nPixels) noexcept
{
    if (!pBuffer || nPixels < 0)
        return V_ERROR_INVALID_PARAMETER;
    return runlength::mirror(pBuffer, static_cast<uint32_t>(nPixels)) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int V_FlipCompressedBuffer(void* pBuffer, int32_t nRows) noexcept
{
    if (!pBuffer || nRows < 0)
        return V_ERROR_INVALID_PARAMETER;
    runlength::flip(pBuffer, static_cast<uint32_t>(nRows));
    return V_SUCCESS;
}
