#include "bench/scan/Operations.h"

namespace vk::scan {

namespace {

/// A second bitmap that goes with the scope.
struct Other {
    BITMAPHANDLE record{};
    Other() = default;
    Other(const Other&) = delete;
    Other& operator=(const Other&) = delete;
    ~Other() { V_FreeBitmap(&record); }
};

template <int32_t kBits, uint32_t kFlags, int32_t kMethod = DITHER_NONE, uint32_t kColors = 0>
int change(BITMAPHANDLE& bitmap)
{
    bitmap.DitheringMethod = kMethod;
    return V_ColorResBitmap(&bitmap, &bitmap, sizeof bitmap, kBits, kFlags, nullptr, nullptr, kColors);
}
template <int32_t kPercent, uint32_t kFlags> int size(BITMAPHANDLE& bitmap)
{
    return V_SizeBitmap(&bitmap, bitmap.Width * kPercent / 100, bitmap.Height * kPercent / 100, kFlags);
}
template <uint32_t kFlags> int rotate(BITMAPHANDLE& bitmap)
{
    return V_RotateBitmap(&bitmap, 730, kFlags, 0);
}
template <int32_t kDirection> int turn(BITMAPHANDLE& bitmap)
{
    return V_RotateBitmap90(&bitmap, kDirection);
}
template <uint32_t kFlags> int warp(BITMAPHANDLE& bitmap)
{
    const V_MATRIX matrix{{{0.9, 0.1, 0.00002}, {-0.1, 0.8, 0}, {20, 40, 1}}};
    return V_WarpBitmap(&bitmap, &matrix, bitmap.Width, bitmap.Height, kFlags, 0);
}
template <uint32_t kFlags> int shear(BITMAPHANDLE& bitmap)
{
    return V_ShearBitmap(&bitmap, 1000, kFlags, 0);
}
int copy(BITMAPHANDLE& bitmap)
{
    Other other;
    return V_CopyBitmap(&other.record, &bitmap, sizeof bitmap);
}
int crop(BITMAPHANDLE& bitmap)
{
    Other other;
    return V_CopyBitmapRect(&other.record, &bitmap, sizeof bitmap, 3, 1, bitmap.Width - 7, bitmap.Height - 2);
}
template <uint32_t kFlags> int extend(BITMAPHANDLE& bitmap)
{
    return V_ExtendBitmap(&bitmap, 13, 7, 11, 5, kFlags, 0);
}
template <uint32_t kFlags> int combine(BITMAPHANDLE& bitmap)
{
    return V_CombineBitmap(&bitmap, 3, 1, bitmap.Width - 5, bitmap.Height - 1, &bitmap, 0, 0, kFlags);
}
template <uint32_t kMode> int blend(BITMAPHANDLE& bitmap)
{
    return V_BlendBitmap(&bitmap, 3, 1, bitmap.Width - 5, bitmap.Height - 1, &bitmap, 0, 0, nullptr, 0, 0, kMode, 200);
}
int fill(BITMAPHANDLE& bitmap)
{
    const RECT rect{3, 1, bitmap.Width - 2, bitmap.Height - 1};
    return V_FillBitmapRect(&bitmap, &rect, 0x00123456);
}
int invert(BITMAPHANDLE& bitmap)
{
    return V_CombineBitmap(&bitmap, 0, 0, bitmap.Width, bitmap.Height, nullptr, 0, 0, COMBINE_INVERT);
}
int pattern(BITMAPHANDLE& bitmap)
{
    Other tile;
    const int result = V_CopyBitmapRect(&tile.record, &bitmap, sizeof bitmap, 0, 0, 33, 17);
    return result == SUCCESS ? V_FillBitmapPattern(&bitmap, &tile.record, 5, 3) : result;
}
int scramble(BITMAPHANDLE& bitmap)
{
    return V_ScrambleBitmap(&bitmap, &bitmap, sizeof bitmap, 0, 0, bitmap.Width, bitmap.Height, 7, SCRAMBLE_HIDE);
}
template <int32_t kPerspective> int perspective(BITMAPHANDLE& bitmap)
{
    return V_ChangeBitmapViewPerspective(&bitmap, &bitmap, sizeof bitmap, kPerspective);
}
int count(BITMAPHANDLE& bitmap)
{
    uint64_t colors = 0;
    return V_CountBitmapColors(&bitmap, &colors);
}
int trim(BITMAPHANDLE& bitmap)
{
    RECT rect{};
    return V_GetTrimRect(&bitmap, 0, 255, &rect); // looks at every pixel
}
template <int32_t kBits> int gray(BITMAPHANDLE& bitmap)
{
    return V_GrayScaleBitmap(&bitmap, kBits);
}
int to_dib(BITMAPHANDLE& bitmap)
{
    const HGLOBAL dib = V_ConvertToDIB(&bitmap, 0);
    if (dib)
        GlobalFree(dib);
    return dib ? SUCCESS : ERROR_FEATURE_NOT_SUPPORTED;
}
int region(BITMAPHANDLE& bitmap)
{
    return V_SetBitmapRegionColor(&bitmap, 0x00404040, 0x00C0C0C0, REGION_SET);
}
int alpha(BITMAPHANDLE& bitmap)
{
    Other other;
    return V_GetBitmapAlpha(&other.record, &bitmap, sizeof bitmap);
}
int premultiply(BITMAPHANDLE& bitmap)
{
    return V_PremultiplyBitmap(&bitmap);
}
int unpremultiply(BITMAPHANDLE& bitmap)
{
    return V_UnpremultiplyBitmap(&bitmap);
}
int min_max(BITMAPHANDLE& bitmap)
{
    return bitmap.Order == COLORORDER_GRAY ? V_GetBitmapMinMax(&bitmap) : ERROR_FEATURE_NOT_SUPPORTED;
}

constexpr int32_t kTurned = 6; ///< rows are columns, as in pictures taken upright
constexpr uint32_t kNearest = COLORRES_NODITHER;
constexpr uint32_t kMade = COLORRES_PALETTE_OPTIMIZED | COLORRES_NODITHER;

constexpr Operation kOperations[] = {
    {"copy", copy},
    {"copy a rectangle", crop},
    {"extend, fill", extend<EXTEND_FILL>},
    {"extend, mirror", extend<EXTEND_MIRROR>},
    {"combine, copy", combine<COMBINE_COPY>},
    {"combine, xor", combine<COMBINE_XOR>},
    {"combine, average", combine<COMBINE_AVERAGE>},
    {"combine, multiply", combine<COMBINE_MULTIPLY>},
    {"invert", invert},
    {"blend, source over", blend<BLEND_SRC_OVER>},
    {"blend, soft light", blend<BLEND_SOFT_LIGHT>},
    {"fill", fill},
    {"fill, pattern", pattern},
    {"scramble", scramble},
    {"flip", [](BITMAPHANDLE& bitmap) { return V_FlipBitmap(&bitmap); }},
    {"reverse", [](BITMAPHANDLE& bitmap) { return V_ReverseBitmap(&bitmap); }},
    {"quarter turn", turn<90>},
    {"perspective, flipped", perspective<BOTTOM_LEFT>},
    {"perspective, turned", perspective<kTurned>},
    {"to 1 bit", change<1, kNearest>},
    {"to 4 bits", change<4, kNearest>},
    {"to 8 bits", change<8, kNearest>},
    {"to 8 bits, gray", change<8, COLORRES_PALETTE_GRAY | kNearest>},
    {"to 16 bits", change<16, 0>},
    {"to 24 bits", change<24, 0>},
    {"to 32 bits", change<32, 0>},
    {"to 48 bits", change<48, 0>},
    {"to 64 bits", change<64, 0>},
    {"to 16-bit gray", change<16, COLORRES_ORDER_GRAY>},
    {"optimized palette", change<8, kMade, DITHER_NONE, 256>},
    {"Floyd-Steinberg, 1 bit", change<1, 0, DITHER_FLOYD_STEINBERG>},
    {"Floyd-Steinberg, 8 bits", change<8, 0, DITHER_FLOYD_STEINBERG>},
    {"ordered, 1 bit", change<1, 0, DITHER_ORDERED>},
    {"ordered, 8 bits", change<8, 0, DITHER_ORDERED>},
    {"gray scale, 8 bits", gray<8>},
    {"gray scale, 16 bits", gray<16>},
    {"nearest to 200 %", size<200, SIZEFLAG_NORMAL>},
    {"nearest to 37 %", size<37, SIZEFLAG_NORMAL>},
    {"favor black to 37 %", size<37, SIZEFLAG_FAVORBLACK>},
    {"favor black to 150 %", size<150, SIZEFLAG_FAVORBLACK>},
    {"area to 37 %", size<37, SIZEFLAG_RESAMPLE>},
    {"area to 150 %", size<150, SIZEFLAG_RESAMPLE>},
    {"bicubic to 37 %", size<37, SIZEFLAG_BICUBIC>},
    {"bicubic to 150 %", size<150, SIZEFLAG_BICUBIC>},
    {"alternative filter to 37 %", size<37, SIZEFLAG_ALTRESAMPLE>},
    {"to gray, 37 %", size<37, SIZEFLAG_SCALETOGRAY>},
    {"rotate, nearest", rotate<0>},
    {"rotate, linear", rotate<ROTATEFLAG_RESAMPLE>},
    {"rotate, cubic", rotate<ROTATEFLAG_BICUBIC>},
    {"warp, nearest", warp<WARP_NEAREST>},
    {"warp, linear", warp<WARP_LINEAR>},
    {"warp, cubic", warp<WARP_CUBIC>},
    {"warp, linear means", warp<WARP_LINEAR | WARP_AREA>},
    {"shear", shear<SHEAR_HORIZONTAL>},
    {"shear, vertical", shear<SHEAR_VERTICAL>},
    {"shear, linear", shear<SHEAR_LINEAR>},
    {"count colours", count},
    {"borders", trim},
    {"to a DIB", to_dib},
    {"region of colours", region},
    {"alpha, taken out", alpha},
    {"premultiply", premultiply},
    {"unpremultiply", unpremultiply},
    {"least and most", min_max},
};

} // namespace

std::span<const Operation> operations()
{
    return kOperations;
}

} // namespace vk::scan
