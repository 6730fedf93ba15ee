// Rows and pixels.
#include "tests/abi/RecordOperations.h"

namespace vk::testing {

namespace {

size_t row_bytes(const BITMAPHANDLE* bitmap)
{
    return bitmap->BytesPerLine < kRow ? bitmap->BytesPerLine : 0;
}

intptr_t put_segment(BITMAPHANDLE* bitmap)
{
    const ROWSEGMENT segment{3, 11};
    return V_PutBitmapRowSegments(bitmap, g_row.data(), 2, &segment, 1);
}

} // namespace

const Family row_operations = {
    {"V_AccessBitmap", plain<V_AccessBitmap>, false},
    {"V_PutBitmapRow", [](B b) { return V_PutBitmapRow(b, g_row.data(), 1, row_bytes(b)); }},
    {"V_GetBitmapRow", [](B b) { return V_GetBitmapRow(b, g_row.data(), 1, row_bytes(b)); }},
    {"V_PutBitmapRowCol", [](B b) { return V_PutBitmapRowCol(b, g_row.data(), 3, 8, 2); }},
    {"V_GetBitmapRowCol", [](B b) { return V_GetBitmapRowCol(b, g_row.data(), 3, 8, 2); }},
    {"V_PutBitmapRowSegments", put_segment},
    {"V_GetPixelData", [](B b) -> intptr_t { return V_GetPixelData(b, g_row.data(), 4, 5, kRow); }},
    {"V_PutPixelData", [](B b) -> intptr_t { return V_PutPixelData(b, g_row.data(), 4, 6, kRow); }},
    {"V_GetBitmapRowCompressed", [](B b) { return V_GetBitmapRowCompressed(b, g_row.data(), 1, kRow); }},
    {"V_PutBitmapRowCompressed", [](B b) { return V_PutBitmapRowCompressed(b, g_row.data(), 1, kRow); }},
    {"V_GetBitmapRowColCompressed", [](B b) { return V_GetBitmapRowColCompressed(b, g_row.data(), 1, 9, kRow); }},
    {"V_PutBitmapRowColCompressed", [](B b) { return V_PutBitmapRowColCompressed(b, g_row.data(), 1, 9, kRow); }},
    {"V_ReleaseBitmap", plain<V_ReleaseBitmap>},
    {"V_PutPixelColor", [](B b) -> intptr_t { return V_PutPixelColor(b, 2, 2, 0x00FFFFFFu); }},
    {"V_GetPixelColor", [](B b) -> intptr_t { return static_cast<intptr_t>(V_GetPixelColor(b, 2, 2)); }, false},
};

} // namespace vk::testing
