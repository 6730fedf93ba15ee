#include "kernel/combine/Scratch.h"

#include "kernel/bitmap/Alloc.h"
#include "kernel/bitmap/Record.h"
#include "kernel/format/RowMath.h"
#include "kernel/system/Checks.h"

namespace vk::combine {

namespace {

constexpr uint64_t kLittle = uint64_t{4} << 20;

uint32_t memory_beside(const BITMAPHANDLE& bitmap, uint64_t bytes) noexcept
{
    if (bytes <= kLittle)
        return TYPE_CONV;
    const Store* const store = store_of(bitmap);
    return store && !is_compressed(bitmap) ? store->memory_type : TYPE_CONV;
}

} // namespace

Scratch::~Scratch()
{
    if (is_made_)
        free_storage(record_);
}

int Scratch::make(int32_t width, int32_t height, int32_t bits, const BITMAPHANDLE& bitmap) noexcept
{
    int result = init_bitmap(record_, kRecordSize, width, height, bits, nullptr);
    if (result == V_SUCCESS && !row_holds_width(record_.BytesPerLine, width, bits))
        result = V_ERROR_INVALID_WIDTH_HEIGHT;
    if (result == V_SUCCESS)
        result = allocate_plain(record_, memory_beside(bitmap, data_size(record_)));
    is_made_ = result == V_SUCCESS;
    if (is_made_)
        record_.Flags |= BITMAPFLAG_ALLOCATED;
    return result;
}

} // namespace vk::combine
