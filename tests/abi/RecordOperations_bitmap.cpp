// Whole bitmaps: duplicates, copies, other formats.
#include "tests/abi/RecordOperations.h"

#include "Vkbitmap.h"

#include <cstring>

namespace vk::testing {

namespace {

intptr_t duplicate(B bitmap)
{
    return with_other(bitmap, [](B b, B other, uint32_t size) {
        return V_DupBitmapNewDim(other, b, size, kWidth - 3, kHeight, b->BitsPerPixel, 0, DUPFLAG_COPY);
    });
}

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
        const int code = V_CopyBitmap(other, b, size);
        return code == SUCCESS ? V_CopyBitmapData(b, other) * 16 + V_CopyBitmapData(other, b) : code;
    });
}

intptr_t copy_data(B bitmap)
{
    return with_other(bitmap, [](B b, B other, uint32_t) { return V_CopyBitmapData(b, other); });
}

intptr_t color_res(B bitmap)
{
    return with_other(bitmap, [](B b, B other, uint32_t size) {
        return V_ColorResBitmap(b, other, size, 4, COLORRES_PALETTE_FIXED, nullptr, nullptr, 0);
    });
}

intptr_t color_res_in_place(B bitmap)
{
    return V_ColorResBitmap(bitmap, nullptr, 0, 24, COLORRES_ORDER_RGB, nullptr, nullptr, 0);
}

intptr_t create_gray(B bitmap)
{
    return with_other(bitmap, [](B b, B other, uint32_t size) { return V_CreateGrayScaleBitmap(other, b, size, 12); });
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

std::span<const Operation> bitmap_operations()
{
    static const Operation operations[] = {
        {"V_DupBitmapNewDim", duplicate, true},
        {"V_DupBitmapNewDim, V_FreeDuplicateBitmap", take_over, true},
        {"V_CopyBitmap, V_CopyBitmapData", copy, true},
        {"V_CopyBitmapData", copy_data, true},
        {"V_IntIsGrayScaleBitmap", plain<V_IntIsGrayScaleBitmap>, false},
        {"V_GetGrayParams", gray_params, true},
        {"V_ColorResBitmap", color_res, true},
        {"V_CreateGrayScaleBitmap", create_gray, true},
        {"V_GrayScaleBitmap", [](B b) -> intptr_t { return V_GrayScaleBitmap(b, 16); }, true},
        {"V_ColorResBitmap (in place)", color_res_in_place, true},
    };
    return operations;
}

} // namespace vk::testing
