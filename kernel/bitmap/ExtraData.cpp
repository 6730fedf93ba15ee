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

int allocate_extra_data(BITMAPHANDLE& bitmap, uint64_t bytes) noexcept
{
    void* const block = bytes > SIZE_MAX / 2 ? nullptr : locked_block_alloc(static_cast<size_t>(bytes));
    if (!block)
        return V_ERROR_NO_MEMORY;
    free_extra_data(bitmap);
    bitmap.ExtraData = block;
    bitmap.ExtraDataSize = bytes;
    return V_SUCCESS;
}

} // namespace vk
