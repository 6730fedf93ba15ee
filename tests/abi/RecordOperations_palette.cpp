// Palettes.
#include "tests/abi/RecordOperations.h"

#include "Vkkrnx.h"

namespace vk::testing {

namespace {

intptr_t set_palette_object(B bitmap)
{
    const HPALETTE object = V_CreatePalette(sixteen_colors().data(), 16);
    if (!object)
        return ERROR_NO_MEMORY;
    const int code = V_SetBitmapPalette(bitmap, object);
#if defined(_WIN32)
    DeleteObject(object);
#else
    V_DeletePalette(object);
#endif
    return code;
}

// A second bitmap that has a palette.
int describe(B other, uint32_t size)
{
    EXPECT_EQ(SUCCESS, V_InitBitmap(other, size, 5, 5, 4));
    return V_SetBitmapNewPalette(other, sixteen_colors().data(), 16);
}

} // namespace

const Family palette_operations = {
    {"V_SetBitmapPalette", set_palette_object},
    {"V_GetNearestPaletteIndex", [](B b) -> intptr_t { return V_GetNearestPaletteIndex(b, 0x00804020u); }, false},
    {"V_CopyBitmapPalette",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B b, B other, uint32_t size) {
             const int described = describe(other, size);
             return described == SUCCESS ? V_CopyBitmapPalette(b, other) : described;
         });
     },
     true, Failed::part_way},
    {"V_CopyBitmapPalette (from it)",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B b, B other, uint32_t size) {
             const int described = describe(other, size);
             return described == SUCCESS ? V_CopyBitmapPalette(other, b) : described;
         });
     }},
    {"V_TranslateBitmapColor",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B b, B other, uint32_t size) {
             const int described = describe(other, size);
             return described != SUCCESS
                        ? static_cast<uint32_t>(described)
                        : V_TranslateBitmapColor(b, other, 0x01000003u) ^ V_TranslateBitmapColor(other, b, 0x00804020u);
         });
     },
     false},
    {"V_CompareBitmapToPalette",
     [](B b) -> intptr_t { return V_CompareBitmapToPalette(b, sixteen_colors().data(), 16); }, false},
    {"V_CreateBitmapGrayPalette", plain<V_CreateBitmapGrayPalette>},
    {"V_CreateBitmapFixedPalette", plain<V_CreateBitmapFixedPalette>, true, Failed::part_way},
    {"V_SetBitmapNewPalette", [](B b) -> intptr_t { return V_SetBitmapNewPalette(b, sixteen_colors().data(), 16); },
     true, Failed::part_way},
};

} // namespace vk::testing
