// Bitmaps made and freed, in every kind of storage.
#include "tests/faults/OtherOperations.h"

#include "Vkbitmap.h"

#include <gtest/gtest.h>

namespace vk::testing {

namespace {

/// A failure leaves the record empty but for its size, and nothing to free.
intptr_t done(BITMAPHANDLE& bitmap, int code)
{
    EXPECT_EQ(code == V_SUCCESS, V_BitmapIsAllocated(&bitmap) != 0);
    V_FreeBitmap(&bitmap);
    return code;
}

template <uint32_t memory, int32_t bits> intptr_t create()
{
    BITMAPHANDLE bitmap{};
    return done(bitmap, V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, memory, 50, 40, bits, COLORORDER_BGR, nullptr,
                                       TOP_LEFT, nullptr, 0));
}

template <uint32_t memory> intptr_t allocate()
{
    BITMAPHANDLE bitmap{};
    const int code = V_InitBitmap(&bitmap, BITMAPHANDLE_SIZE, 50, 40, 1);
    return code == V_SUCCESS ? done(bitmap, V_AllocateBitmap(&bitmap, memory)) : code;
}

BITMAPDATACALLBACKS no_callbacks()
{
    BITMAPDATACALLBACKS callbacks{};
    callbacks.StructSize = sizeof callbacks;
    return callbacks;
}

intptr_t create_with_callbacks()
{
    const BITMAPDATACALLBACKS callbacks = no_callbacks();
    BITMAPHANDLE bitmap{};
    return done(bitmap, V_CreateBitmapWithCallbacks(&bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, 50, 40, 8, COLORORDER_BGR,
                                                    nullptr, TOP_LEFT, nullptr, 0, &callbacks));
}

intptr_t describe_with_callbacks()
{
    const BITMAPDATACALLBACKS callbacks = no_callbacks();
    BITMAPHANDLE bitmap{};
    const int code = V_InitBitmapWithCallbacks(&bitmap, BITMAPHANDLE_SIZE, 50, 40, 8, &callbacks);
    EXPECT_EQ(V_SUCCESS, V_SetBitmapDataCallbacks(&bitmap, nullptr));
    return code;
}

} // namespace

const OtherFamily bitmap_scenarios = {
    {"V_InitBitmap, V_AllocateBitmap, V_FreeBitmap", allocate<TYPE_CONV>},
    {"V_AllocateBitmap (compressed)", allocate<TYPE_COMPRESSED>},
    {"V_AllocateBitmap (super-compressed)", allocate<TYPE_SUPERCOMPRESSED>},
    {"V_AllocateBitmap (tiles)", allocate<TYPE_TILED>},
    {"V_CreateBitmap", create<TYPE_CONV, 8>},
    {"V_CreateBitmap (tiles)", create<TYPE_TILED, 24>},
    {"V_CreateBitmap (tiles in memory)", create<TYPE_CONV | TYPE_NODISK, 24>},
    {"V_CreateBitmap (disk)", create<TYPE_DISK, 48>},
    {"V_CreateBitmapWithCallbacks", create_with_callbacks},
    {"V_InitBitmapWithCallbacks", describe_with_callbacks},
};

} // namespace vk::testing
