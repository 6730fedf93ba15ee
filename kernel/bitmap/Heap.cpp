// The memory of run-length bands: giving back what is not used, and making room ahead of puts.
#include "kernel/bitmap/MemoryInfo.h"

#include "kernel/rows/RowCol.h"
#include "kernel/storage/Compressed.h"
#include "kernel/system/Checks.h"

namespace vk {

int trim_heap(BITMAPHANDLE& bitmap) noexcept
{
    for (size_t band = compressed_bands(bitmap); band-- > 0;) {
        if (!compressed_trim_band(bitmap, band))
            return V_FAILURE;
        recount_size(bitmap);
    }
    return V_SUCCESS;
}

int grow_heap(BITMAPHANDLE& bitmap, uint64_t bytes) noexcept
{
    const size_t bands = compressed_bands(bitmap);
    for (size_t band = 0; band < bands; ++band) {
        if (!compressed_grow_band(bitmap, band, bytes / bands))
            return V_ERROR_NO_MEMORY;
        recount_size(bitmap);
    }
    return V_SUCCESS;
}

} // namespace vk
