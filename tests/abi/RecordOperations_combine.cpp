// Parts of bitmaps, and bitmaps put into bitmaps.
#include "tests/abi/RecordOperations.h"

#include "Vkcombine.h"

namespace vk::testing {

namespace {

intptr_t trim_rect(B bitmap)
{
    RECT rect = {};
    const int code = V_GetTrimRect(bitmap, 0, 3, &rect);
    return code == SUCCESS ? rect.left * 1000000 + rect.top * 10000 + rect.right * 100 + rect.bottom : code;
}

} // namespace

const Family combine_operations = {
    {"V_CopyBitmapRect, V_CombineBitmap",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B b, B other, uint32_t size) {
             const int code = V_CopyBitmapRect(other, b, size, 3, 1, kWidth, 5);
             return code == SUCCESS ? V_CombineBitmap(b, 0, 0, 20, 20, other, 1, 1, COMBINE_XOR) : code;
         });
     }},
    {"V_CombineBitmap (itself)",
     [](B b) -> intptr_t { return V_CombineBitmap(b, 2, 1, 30, 30, b, 0, 0, COMBINE_COPY); }},
    {"V_BlendBitmap (itself)",
     [](B b) -> intptr_t { return V_BlendBitmap(b, 2, 1, 30, 30, b, 0, 0, nullptr, 0, 0, BLEND_SCREEN, 40000); }},
    {"V_GetTrimRect", trim_rect},
    {"V_ExtendBitmap", [](B b) -> intptr_t { return V_ExtendBitmap(b, 1, 2, 3, 4, EXTEND_MIRROR, 0); }},
    {"V_TrimBitmap", [](B b) -> intptr_t { return V_TrimBitmap(b, 1, 2, kWidth, kHeight); }},
};

} // namespace vk::testing
