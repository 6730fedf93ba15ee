// Creation in one call.
#pragma once

#include "Vkrecord.h"
#include "kernel/bitmap/Alloc.h"

#include <cstdint>

namespace vk {

/// What V_CreateBitmapWithCallbacks is asked for.
struct Creation {
    uint32_t memory;
    int32_t width;
    int32_t height;
    int32_t bits; ///< as given; 0 asks for 8-bit gray
    int32_t order;
    const RGBQUAD* palette;
    int32_t perspective;
    void* data; ///< for TYPE_USER, or null
    uint64_t data_bytes;
    const BITMAPDATACALLBACKS* callbacks;
    NewPixels pixels = NewPixels::clear;
};

/// Initialises, allocates and gives a palette. After a failure the record is empty but for StructSize.
int create_bitmap(BITMAPHANDLE& bitmap, uint32_t struct_size, const Creation& creation) noexcept;

} // namespace vk
