// Fills, alpha and scrambling.
#include "tests/abi/RecordOperations.h"

#include "Vkfill.h"

namespace vk::testing {

namespace {

intptr_t fill_rect(B bitmap)
{
    const RECT rect = {1, 2, 9, 5};
    return V_FillBitmapRect(bitmap, &rect, 0x00FF8000u);
}

} // namespace

const Family fill_operations = {
    {"V_FillBitmapRect", fill_rect},
    {"V_FillBitmapPattern (itself)", [](B b) -> intptr_t { return V_FillBitmapPattern(b, b, 3, 2); }},
    {"V_FloodFillBitmap", [](B b) -> intptr_t { return V_FloodFillBitmap(b, 3, 3, 0xFFFFFFu, 0, 20, 0); }},
    {"V_GetBitmapAlpha, V_SetBitmapAlpha",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B b, B other, uint32_t size) {
             const int code = V_GetBitmapAlpha(other, b, size);
             return code == SUCCESS ? V_SetBitmapAlpha(b, other) : code;
         });
     }},
    {"V_SetBitmapAlphaValue", [](B b) -> intptr_t { return V_SetBitmapAlphaValue(b, 99); }},
    {"V_PremultiplyBitmap", plain<V_PremultiplyBitmap>},
    {"V_UnpremultiplyBitmap", plain<V_UnpremultiplyBitmap>},
    {"V_ScrambleBitmap",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B b, B other, uint32_t size) {
             return V_ScrambleBitmap(other, b, size, 1, 1, 10, 5, 42, SCRAMBLE_HIDE);
         });
     }},
    {"V_ScrambleBitmap (itself)",
     [](B b) -> intptr_t { return V_ScrambleBitmap(b, b, 0, 1, 1, 10, 5, 42, SCRAMBLE_SHOW); }},
    {"V_FillBitmap", [](B b) -> intptr_t { return V_FillBitmap(b, 0x01000001u); }},
};

} // namespace vk::testing
