// Warps and shears.
#include "tests/abi/RecordOperations.h"

#include "Vkwarp.h"

namespace vk::testing {

namespace {
constexpr V_MATRIX kMap{{{0.9, 0.1, 0.001}, {-0.2, 1.1, 0}, {3, 2, 1}}};
constexpr V_POINTD kCorners[4] = {{1, 1}, {30, 2}, {34, 8}, {0, 7}};
constexpr V_POINTD kGrid[4] = {{0, 0}, {37, 1}, {2, 9}, {35, 8}};
} // namespace

const Family warp_operations = {
    {"V_WarpBitmap", [](B b) -> intptr_t { return V_WarpBitmap(b, &kMap, 37, 9, WARP_NEAREST, 0x00FF8040u); }},
    {"V_WarpBitmap (means)", [](B b) -> intptr_t { return V_WarpBitmap(b, &kMap, 37, 9, WARP_AREA, 0); }},
    {"V_WarpBitmapCorners",
     [](B b) -> intptr_t { return V_WarpBitmapCorners(b, kCorners, 37, 9, WARP_LINEAR, 0x01000001u); }},
    {"V_WarpBitmapGrid", [](B b) -> intptr_t { return V_WarpBitmapGrid(b, kGrid, 2, 2, 0, 0, WARP_CUBIC, 0); }},
    {"V_ShearBitmap", [](B b) -> intptr_t { return V_ShearBitmap(b, 500, SHEAR_HORIZONTAL, 0); }},
};

} // namespace vk::testing
