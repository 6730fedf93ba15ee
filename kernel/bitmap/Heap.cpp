// The memory of run-length bands: giving back what is not used, and making room ahead of puts.
#include "kernel/system/Checks.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Compressed.h"

using namespace vk;

namespace {

int check_compressed(const BITMAPHANDLE* bitmap) noexcept
{
    const int result = check_record(bitmap);
    if (result != V_SUCCESS)
        return result;
    constexpr uint32_t kWanted = BITMAPFLAG_ALLOCATED | BITMAPFLAG_COMPRESSED;
    return (bitmap->Flags & kWanted) == kWanted ? V_SUCCESS : V_ERROR_INVALID_PARAMETER;
}

} // namespace

int V_TrimBitmapHeap(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_compressed(pBitmap);
    if (result != V_SUCCESS)
        return result;
    for (size_t band = compressed_bands(*pBitmap); band-- > 0;) {
        if (!compressed_trim_band(*pBitmap, band))
            return V_FAILURE;
        recount_size(*pBitmap);
    }
    return V_SUCCESS;
}

int V_GrowBitmapHeap(BITMAPHANDLE* pBitmap, uint64_t uBytes) noexcept
{
    const int result = check_compressed(pBitmap);
    if (result != V_SUCCESS)
        return result;
    const size_t bands = compressed_bands(*pBitmap);
    for (size_t band = 0; band < bands; ++band) {
        if (!compressed_grow_band(*pBitmap, band, uBytes / bands))
            return V_ERROR_NO_MEMORY;
        recount_size(*pBitmap);
    }
    return V_SUCCESS;
}
