// Height and size of stored bitmaps.
#include "kernel/system/Checks.h"
#include "kernel/rows/RowCol.h"
#include "kernel/storage/Store.h"

using namespace vk;

namespace {

/// The size that a height change leaves in the record. For memory it counts the gap in front of the first row, on
/// purpose; a file has none.
uint64_t size_after(const BITMAPHANDLE& bitmap, const Store& store) noexcept
{
    if (bitmap.Flags & BITMAPFLAG_COMPRESSED)
        return store.recount(bitmap);
    if (bitmap.Flags & BITMAPFLAG_DISKMEMORY)
        return plain_size(bitmap);
    return plain_size(bitmap) + static_cast<uint64_t>(bitmap.DataOffset);
}

} // namespace

int V_ChangeBitmapHeight(BITMAPHANDLE* pBitmap, int32_t nHeight) noexcept
{
    const int result = check_allocated(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (pBitmap->Flags & (BITMAPFLAG_MIRROR | BITMAPFLAG_LOCKED))
        return V_ERROR_INVALID_PARAMETER;
    if (nHeight == pBitmap->Height)
        return V_SUCCESS;
    if (nHeight < 1)
        return V_ERROR_INVALID_WIDTH_HEIGHT;
    const Store* const store = store_of(pBitmap->Flags);
    if (!store || store->resize(*pBitmap, nHeight) != V_SUCCESS)
        return V_ERROR_NO_MEMORY;
    pBitmap->Height = nHeight;
    set_data_size(*pBitmap, size_after(*pBitmap, *store));
    return V_SUCCESS;
}

int V_UpdateBitmapSize(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_allocated(pBitmap);
    if (result == V_SUCCESS)
        recount_size(*pBitmap);
    return result;
}
