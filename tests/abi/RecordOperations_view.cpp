// Flips, mirrors, turns and view perspectives.
#include "tests/abi/RecordOperations.h"

#include "Vkview.h"

namespace vk::testing {

namespace {

template <auto function> intptr_t with_point(B bitmap)
{
    int32_t x = 3;
    int32_t y = 4;
    const intptr_t result = function(bitmap, 7, &x, &y);
    return result == SUCCESS ? 1000 + 100 * x + y : result;
}

template <auto function> intptr_t with_rect(B bitmap)
{
    RECT rect{1, 2, 5, 8};
    const intptr_t result = function(bitmap, 6, &rect);
    return result == SUCCESS ? 1000 + 100 * rect.left + rect.bottom : result;
}

template <auto function> intptr_t turn(B bitmap)
{
    return function(bitmap, 1);
}

} // namespace

const Family view_operations = {
    {"V_FlipBitmap", plain<V_FlipBitmap>},
    {"V_ReverseBitmap", plain<V_ReverseBitmap>},
    {"V_IntFlipBitmap", plain<V_IntFlipBitmap>},
    {"V_IntReverseBitmap", plain<V_IntReverseBitmap>},
    {"V_RotateBitmap90", turn<V_RotateBitmap90>},
    {"V_FlipBitmapViewPerspective", plain<V_FlipBitmapViewPerspective>},
    {"V_IntFlipBitmapViewPerspective", plain<V_IntFlipBitmapViewPerspective>},
    {"V_ReverseBitmapViewPerspective", plain<V_ReverseBitmapViewPerspective>},
    {"V_IntReverseBitmapViewPerspective", plain<V_IntReverseBitmapViewPerspective>},
    {"V_ChangeBitmapViewPerspective",
     [](B bitmap) -> intptr_t {
         return with_other(
             bitmap, [](B from, B to, uint32_t size) { return V_ChangeBitmapViewPerspective(to, from, size, 5); });
     }},
    {"V_IntChangeBitmapViewPerspective",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B from, B to, uint32_t size) {
             return V_IntChangeBitmapViewPerspective(to, from, size, 2, 0);
         });
     }},
    {"V_ChangeBitmapViewPerspective",
     [](B bitmap) -> intptr_t { return V_ChangeBitmapViewPerspective(nullptr, bitmap, 0, 8); }, true, Failed::part_way},
    {"V_PointToBitmap", with_point<V_PointToBitmap>},
    {"V_PointFromBitmap", with_point<V_PointFromBitmap>},
    {"V_RectToBitmap", with_rect<V_RectToBitmap>},
    {"V_RectFromBitmap", with_rect<V_RectFromBitmap>},
};

} // namespace vk::testing
