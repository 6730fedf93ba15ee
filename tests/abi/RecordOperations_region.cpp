// Regions.
#include "tests/abi/RecordOperations.h"

#include "Vkregion.h"

namespace vk::testing {

namespace {

constexpr RECT kRect{2, 1, 20, 7};
constexpr V_POINTD kTriangle[] = {{0, 0}, {30, 2}, {8, 9}};

template <auto function> intptr_t shape(B bitmap)
{
    return function(bitmap, &kRect, REGION_XOR);
}

intptr_t round_rect(B bitmap)
{
    return V_SetBitmapRegionRoundRect(bitmap, &kRect, 4, 4, REGION_OR);
}

intptr_t polygon(B bitmap)
{
    return V_SetBitmapRegionPolygon(bitmap, kTriangle, 3, REGION_WINDING, REGION_XOR);
}

intptr_t own_mask(B bitmap)
{
    return V_SetBitmapRegionMask(bitmap, bitmap, REGION_XOR);
}

intptr_t color(B bitmap)
{
    return V_SetBitmapRegionColor(bitmap, 0, 0x00808080, REGION_AND);
}

intptr_t magic_wand(B bitmap)
{
    return V_SetBitmapRegionMagicWand(bitmap, 1, 1, 0, 0, REGION_OR);
}

intptr_t move(B bitmap)
{
    return V_OffsetBitmapRegion(bitmap, -3, 1);
}

intptr_t bounds(B bitmap)
{
    RECT rect{};
    const intptr_t result = V_GetBitmapRegionBounds(bitmap, &rect);
    return result == SUCCESS ? 1000 + 100 * rect.right + rect.bottom : result;
}

intptr_t area(B bitmap)
{
    uint64_t pixels = 0;
    const intptr_t result = V_GetBitmapRegionArea(bitmap, &pixels);
    return result == SUCCESS ? 1000 + static_cast<intptr_t>(pixels) : result;
}

intptr_t point(B bitmap)
{
    return V_IsPointInBitmapRegion(bitmap, 5, 5);
}

intptr_t row(B bitmap)
{
    int32_t runs = 0;
    const intptr_t result = V_GetBitmapRegionRow(bitmap, 4, &runs, nullptr);
    return result == SUCCESS ? 1000 + runs : result;
}

intptr_t mask(B bitmap)
{
    return with_other(bitmap, [](B from, B to, uint32_t size) {
        const int made = V_GetBitmapRegionMask(to, from, size);
        return made == SUCCESS ? V_CopyBitmapRegion(to, from) : made;
    });
}

intptr_t copy(B bitmap)
{
    return with_other(bitmap, [](B from, B to, uint32_t size) {
        const int made = V_CopyBitmap(to, from, size);
        return made == SUCCESS ? V_CopyBitmapRegion(from, to) : made;
    });
}

#if defined(_WIN32)
intptr_t handle(B bitmap)
{
    const HRGN made = V_GetBitmapRegionHandle(bitmap), other = made ? made : CreateRectRgn(0, 0, 5, 5);
    const int result = V_SetBitmapRegionHandle(bitmap, other, REGION_AND);
    DeleteObject(other);
    return result;
}
#endif

} // namespace

std::span<const Operation> region_operations()
{
    static const Operation operations[] = {
        {"V_SetBitmapRegionRect", shape<V_SetBitmapRegionRect>, true},
        {"V_SetBitmapRegionEllipse", shape<V_SetBitmapRegionEllipse>, true},
        {"V_SetBitmapRegionRoundRect", round_rect, true},
        {"V_SetBitmapRegionPolygon", polygon, true},
        {"V_SetBitmapRegionMask", own_mask, true},
        {"V_SetBitmapRegionColor", color, true},
        {"V_SetBitmapRegionMagicWand", magic_wand, true},
        {"V_InvertBitmapRegion", plain<V_InvertBitmapRegion>, true},
        {"V_OffsetBitmapRegion", move, true},
        {"V_GetBitmapRegionBounds", bounds, true},
        {"V_GetBitmapRegionArea", area, true},
        {"V_IsPointInBitmapRegion", point, true},
        {"V_GetBitmapRegionRow", row, true},
        {"V_GetBitmapRegionMask", mask, true},
        {"V_CopyBitmapRegion", copy, true},
#if defined(_WIN32)
        {"V_GetBitmapRegionHandle, V_SetBitmapRegionHandle", handle, true},
#endif
        {"V_BitmapHasRegion", plain<V_BitmapHasRegion>, true},
        {"V_FreeBitmapRegion", plain<V_FreeBitmapRegion>, true},
    };
    return operations;
}

} // namespace vk::testing
