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

intptr_t row(B bitmap)
{
    int32_t runs = 0;
    const intptr_t result = V_GetBitmapRegionRow(bitmap, 4, &runs, nullptr);
    return result == SUCCESS ? 1000 + runs : result;
}

#if defined(_WIN32)
intptr_t handle(B bitmap)
{
    const HRGN made = V_GetBitmapRegionHandle(bitmap);
    if (!made && V_BitmapHasRegion(bitmap) == 1)
        return V_ERROR_NO_MEMORY;
    const HRGN other = made ? made : CreateRectRgn(0, 0, 5, 5);
    const int result = V_SetBitmapRegionHandle(bitmap, other, REGION_AND);
    DeleteObject(other);
    return result;
}
#endif

} // namespace

const Family region_operations = {
    {"V_SetBitmapRegionRect", shape<V_SetBitmapRegionRect>},
    {"V_SetBitmapRegionEllipse", shape<V_SetBitmapRegionEllipse>},
    {"V_SetBitmapRegionRoundRect",
     [](B bitmap) -> intptr_t { return V_SetBitmapRegionRoundRect(bitmap, &kRect, 4, 4, REGION_OR); }},
    {"V_SetBitmapRegionPolygon",
     [](B bitmap) -> intptr_t { return V_SetBitmapRegionPolygon(bitmap, kTriangle, 3, REGION_WINDING, REGION_XOR); }},
    {"V_SetBitmapRegionMask", [](B bitmap) -> intptr_t { return V_SetBitmapRegionMask(bitmap, bitmap, REGION_XOR); }},
    {"V_SetBitmapRegionColor",
     [](B bitmap) -> intptr_t { return V_SetBitmapRegionColor(bitmap, 0, 0x00808080, REGION_AND); }},
    {"V_SetBitmapRegionMagicWand",
     [](B bitmap) -> intptr_t { return V_SetBitmapRegionMagicWand(bitmap, 1, 1, 0, 0, REGION_OR); }},
    {"V_InvertBitmapRegion", plain<V_InvertBitmapRegion>},
    {"V_OffsetBitmapRegion", [](B bitmap) -> intptr_t { return V_OffsetBitmapRegion(bitmap, -3, 1); }},
    {"V_GetBitmapRegionBounds", bounds},
    {"V_GetBitmapRegionArea", area},
    {"V_IsPointInBitmapRegion", [](B bitmap) -> intptr_t { return V_IsPointInBitmapRegion(bitmap, 5, 5); }},
    {"V_GetBitmapRegionRow", row},
    {"V_GetBitmapRegionMask",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B from, B to, uint32_t size) {
             const int made = V_GetBitmapRegionMask(to, from, size);
             return made == SUCCESS ? V_CopyBitmapRegion(to, from) : made;
         });
     }},
    {"V_CopyBitmapRegion",
     [](B bitmap) -> intptr_t {
         return with_other(bitmap, [](B from, B to, uint32_t size) {
             const int made = V_CopyBitmap(to, from, size);
             return made == SUCCESS ? V_CopyBitmapRegion(from, to) : made;
         });
     }},
#if defined(_WIN32)
    {"V_GetBitmapRegionHandle, V_SetBitmapRegionHandle", handle},
#endif
    {"V_BitmapHasRegion", plain<V_BitmapHasRegion>},
    {"V_FreeBitmapRegion", plain<V_FreeBitmapRegion>},
};

} // namespace vk::testing
