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

intptr_t change_in_place(B bitmap)
{
    return V_ChangeBitmapViewPerspective(nullptr, bitmap, 0, 8);
}

intptr_t change_copy(B bitmap)
{
    return with_other(bitmap,
                      [](B from, B to, uint32_t size) { return V_ChangeBitmapViewPerspective(to, from, size, 5); });
}

intptr_t int_change_copy(B bitmap)
{
    return with_other(
        bitmap, [](B from, B to, uint32_t size) { return V_IntChangeBitmapViewPerspective(to, from, size, 2, 0); });
}

} // namespace

std::span<const Operation> view_operations()
{
    static const Operation operations[] = {
        {"V_FlipBitmap", plain<V_FlipBitmap>, true},
        {"V_ReverseBitmap", plain<V_ReverseBitmap>, true},
        {"V_IntFlipBitmap", plain<V_IntFlipBitmap>, true},
        {"V_IntReverseBitmap", plain<V_IntReverseBitmap>, true},
        {"V_RotateBitmap90", turn<V_RotateBitmap90>, true},
        {"V_FlipBitmapViewPerspective", plain<V_FlipBitmapViewPerspective>, true},
        {"V_IntFlipBitmapViewPerspective", plain<V_IntFlipBitmapViewPerspective>, true},
        {"V_ReverseBitmapViewPerspective", plain<V_ReverseBitmapViewPerspective>, true},
        {"V_IntReverseBitmapViewPerspective", plain<V_IntReverseBitmapViewPerspective>, true},
        {"V_ChangeBitmapViewPerspective", change_copy, true},
        {"V_IntChangeBitmapViewPerspective", int_change_copy, true},
        {"V_ChangeBitmapViewPerspective", change_in_place, true},
        {"V_PointToBitmap", with_point<V_PointToBitmap>, true},
        {"V_PointFromBitmap", with_point<V_PointFromBitmap>, true},
        {"V_RectToBitmap", with_rect<V_RectToBitmap>, true},
        {"V_RectFromBitmap", with_rect<V_RectFromBitmap>, true},
    };
    return operations;
}

} // namespace vk::testing
