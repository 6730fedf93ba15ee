// Resampling: the bitmap keeps its dimensions in the end.
#include "tests/abi/RecordOperations.h"

#include "Vkbitmap.h"
#include "Vkresample.h"

namespace vk::testing {

namespace {

template <auto function> intptr_t there_and_back(B bitmap)
{
    const int code = function(bitmap, kWidth + 5, kHeight - 4);
    return code == SUCCESS ? function(bitmap, kWidth, kHeight) : code;
}

template <auto function> intptr_t into_other(B bitmap)
{
    return with_other(bitmap, [](B b, B other, uint32_t size) {
        const int made = V_DupBitmapNewDim(other, b, size, 11, 5, b->BitsPerPixel, 0, DUPFLAG_PALETTE);
        return made == SUCCESS ? function(b, other) : made;
    });
}

template <bool is_second> intptr_t stream(B bitmap)
{
    void* state = nullptr;
    const int code = is_second ? V_StartResizeBitmap2(bitmap, 11, 0, 24, nullptr, COLORORDER_BGR, STREAMFLAG_AREA,
                                                      nullptr, nullptr, &state, 0, 0)
                               : V_StartResizeBitmap(nullptr, 11, 5, 4, nullptr, COLORORDER_RGB, STREAMFLAG_SHARP,
                                                     bitmap, nullptr, &state);
    if (code != SUCCESS)
        return code;
    const int got = V_GetResizedRowCol(state, g_row.data(), 1, 2, 7);
    const int stopped = V_StopResizeBitmap(state);
    const int ended = is_second ? SUCCESS : ERROR_NULL_PTR; // without a source bitmap
    return got != SUCCESS ? got : stopped == ended ? SUCCESS : stopped;
}

} // namespace

const Family resample_operations = {
    {"V_ResampleBitmap", there_and_back<V_ResampleBitmap>, true, Failed::part_way},
    {"V_BicubicResampleBitmap", there_and_back<V_BicubicResampleBitmap>, true, Failed::part_way},
    {"V_IntResampleBitmap", into_other<V_IntResampleBitmap>},
    {"V_IntBicubicResampleBitmap", into_other<V_IntBicubicResampleBitmap>},
    {"V_StartResizeBitmap, V_GetResizedRowCol, V_StopResizeBitmap", stream<false>},
    {"V_StartResizeBitmap2", stream<true>},
};

} // namespace vk::testing
