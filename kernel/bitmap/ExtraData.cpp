#include "kernel/bitmap/ExtraData.h"

#include "kernel/system/Blocks.h"
#include "kernel/system/Checks.h"

namespace vk {

void free_extra_data(BITMAPHANDLE& bitmap) noexcept
{
    locked_block_free(bitmap.ExtraData);
    bitmap.ExtraData = nullptr;
    bitmap.ExtraDataSize = 0;
}

namespace {

/// These two functions answer a null record in their own way.
int check_owner(const BITMAPHANDLE* bitmap) noexcept
{
    return bitmap ? check_record(bitmap) : V_ERROR_INVALID_IMAGE;
}

} // namespace

} // namespace vk

using namespace vk;

int V_AllocateBitmapExtraData(BITMAPHANDLE* pBitmap, uint64_t uSize) noexcept
{
    const int result = check_owner(pBitmap);
    if (result != V_SUCCESS)
        return result;
    if (uSize == 0)
        return V_ERROR_INVALID_PARAMETER;
    void* const block = uSize > SIZE_MAX / 2 ? nullptr : locked_block_alloc(static_cast<size_t>(uSize));
    if (!block)
        return V_ERROR_NO_MEMORY;
    free_extra_data(*pBitmap);
    pBitmap->ExtraData = block;
    pBitmap->ExtraDataSize = uSize;
    return V_SUCCESS;
}

int V_FreeBitmapExtraData(BITMAPHANDLE* pBitmap) noexcept
{
    const int result = check_owner(pBitmap);
    if (result == V_SUCCESS)
        free_extra_data(*pBitmap);
    return result;
}
