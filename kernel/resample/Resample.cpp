// The resample family's door: bitmaps resized by filters.
//
// Inside: ResampleBitmap.cpp runs a filter over whole bitmaps and RowResampler.h makes row after row; Weights.h has the
// filters, Form.h the lanes that pixels are mixed in, ByteFilter.h and WideFilter.h the two passes, whose loops stand
// in ByteKernels.h and WideKernels.h.
#include "Vkresample.h"

#include "kernel/resample/Resample.h"
#include "kernel/rows/RowAccess.h"
#include "kernel/system/Checks.h"

using namespace vk;

namespace {

bool is_pair(int32_t a, int32_t b) noexcept
{
    return a == b || (a == TOP_LEFT && b == BOTTOM_LEFT) || (a == BOTTOM_LEFT && b == TOP_LEFT);
}

/// The checks of V_IntResampleBitmap and its kin.
int check_pair(const BITMAPHANDLE* from, const BITMAPHANDLE* to) noexcept
{
    int result = check_allocated(from);
    if (result == V_SUCCESS)
        result = check_allocated(to);
    if (result != V_SUCCESS)
        return result;
    return from != to && is_pair(from->ViewPerspective, to->ViewPerspective) ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

int replace_checked(BITMAPHANDLE* bitmap, int32_t width, int32_t height, Filter filter) noexcept
{
    const int result = check_allocated(bitmap);
    return result == V_SUCCESS ? resample_bitmap(*bitmap, width, height, filter) : result;
}

int resample_checked(BITMAPHANDLE* from, BITMAPHANDLE* to, Filter filter) noexcept
{
    const int result = check_pair(from, to);
    return result == V_SUCCESS ? resample_into(*from, *to, filter) : result;
}

} // namespace

int V_ResampleBitmap(BITMAPHANDLE* pBitmap, int32_t nWidth, int32_t nHeight) noexcept
{
    return replace_checked(pBitmap, nWidth, nHeight, Filter::area);
}

int V_BicubicResampleBitmap(BITMAPHANDLE* pBitmap, int32_t nWidth, int32_t nHeight) noexcept
{
    return replace_checked(pBitmap, nWidth, nHeight, Filter::bicubic);
}

int V_IntResampleBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst) noexcept
{
    return resample_checked(pSrc, pDst, Filter::area);
}

int V_IntBicubicResampleBitmap(BITMAPHANDLE* pSrc, BITMAPHANDLE* pDst) noexcept
{
    return resample_checked(pSrc, pDst, Filter::bicubic);
}
