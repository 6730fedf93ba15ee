// Whole bitmaps: duplicates, copies, other formats.
#include "tests/abi/RecordOperations.h"

#include "Vkbitmap.h"

#include <cstring>

namespace vk::testing {

namespace {

// A duplicate takes the bitmap's place.
intptr_t take_over(B bitmap)
{
    return with_other(bitmap, [](B b, B other, uint32_t size) {
        const int code = V_DupBitmapNewDim(other, b, size, kWidth, kHeight, b->BitsPerPixel, 0, DUPFLAG_TAKEOVER);
        if (code == SUCCESS) {
            V_FreeDuplicateBitmap(b);
            std::memcpy(b, other, size);
            EXPECT_EQ(SUCCESS, V_InitBitmap(other, size, 0, 0, 0));
        }
        return code;
    });
}

// There and back again.
intptr_t copy(B bitmap)
{
    return with_other(bitmap, [](B b, B other, uint32_t size) {
        int code = V_CopyBitmap(other, b, size);
        if (code == SUCCESS)
            code = V_CopyBitmapData(b, other);
        return code == SUCCESS ? V_CopyBitmapData(other, b) : code;
    });
}

intptr_t gray_params(B bitmap)
{
    uint32_t mask = 0;
    int32_t shift = 0;
    int32_t bits = 0;
    const int code = V_GetGrayParams(bitmap, &mask, &shift, &bits);
    return code == SUCCESS ? static_cast<intptr_t>(mask) * 4096 + shift * 64 + bits : code;
}

} // namespace

const Family bitmap_operations = {
    {"V_DupBitmapNewDim",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B b, B other, uint32_t size) {
             return V_DupBitmapNewDim(other, b, size, kWidth - 3, kHeight, b->BitsPerPixel, 0, DUPFLAG_COPY);
         });
     }},
    {"V_DupBitmapNewDim, V_FreeDuplicateBitmap", take_over},
    {"V_CopyBitmap, V_CopyBitmapData", copy, true, Failed::part_way},
    {"V_CopyBitmapData",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B b, B other, uint32_t) { return V_CopyBitmapData(b, other); });
     }},
    {"V_IntIsGrayScaleBitmap", plain<V_IntIsGrayScaleBitmap>, false},
    {"V_GetGrayParams", gray_params},
    {"V_ColorResBitmap",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B b, B other, uint32_t size) {
             return V_ColorResBitmap(b, other, size, 4, COLORRES_PALETTE_FIXED, nullptr, nullptr, 0);
         });
     }},
    {"V_CreateGrayScaleBitmap",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap,
                           [](B b, B other, uint32_t size) { return V_CreateGrayScaleBitmap(other, b, size, 12); });
     }},
    {"V_GrayScaleBitmap", [](B b) -> intptr_t { return V_GrayScaleBitmap(b, 16); }},
    {"V_ColorResBitmap (in place)",
     [](B bitmap) -> intptr_t {
         return V_ColorResBitmap(bitmap, nullptr, 0, 24, COLORRES_ORDER_RGB, nullptr, nullptr, 0);
     }},
};

} // namespace vk::testing
