// Each operation of Vkkrnx.hpp leaves the very bitmap that its C function leaves: arguments in their places, values of
// enumerations, results put where they belong.
#include "tests/abi/CppPictures.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

namespace {

using testing_cpp::bytes_of;
using testing_cpp::painted;

constexpr uint32_t kSize = BITMAPHANDLE_SIZE;
const RECT kRect{3, 2, 15, 11};
const vk::Color kColor(0x40, 0x80, 0xC0);
const COLORREF kColorRef = 0x00C08040u;

/// Another picture for operations that take two, the same each time.
vk::Bitmap& other()
{
    static vk::Bitmap picture = painted(13, 9, 24);
    return picture;
}

BITMAPHANDLE* other_record()
{
    return other().record();
}

/// Puts what a C function made in the place of its source.
int put(BITMAPHANDLE* bitmap, int code, const BITMAPHANDLE& made)
{
    if (code == V_SUCCESS) {
        V_FreeBitmap(bitmap);
        *bitmap = made;
    }
    return code;
}

struct Operation {
    const char* name;
    int32_t depth;
    std::function<void(vk::Bitmap&)> cpp;
    std::function<int(BITMAPHANDLE*)> c;
};

#define CPP(call) [](vk::Bitmap& b) { call; }
#define C(call) [](BITMAPHANDLE* b) { return call; }
#define C_NEW(call)                                                                                                    \
    [](BITMAPHANDLE* b) {                                                                                              \
        BITMAPHANDLE made{};                                                                                           \
        const int code = call;                                                                                         \
        return put(b, code, made);                                                                                     \
    }

const std::array<vk::Point, 4> kCorners{vk::Point(1, 1), vk::Point(20, 3), vk::Point(19, 14), vk::Point(2, 12)};
const std::array<vk::Point, 6> kGrid{vk::Point(0, 0),  vk::Point(12, 1),  vk::Point(24, 0),
                                     vk::Point(0, 16), vk::Point(11, 15), vk::Point(24, 16)};
const vk::Window kWindow(100, 50, vk::WindowFunction::sigmoid, vk::WindowFlag::inverted);
const vk::Palette kPalette = vk::Palette::gray(4);

vk::Matrix leaning()
{
    return vk::Matrix().shear(0.1, 0.2).rotate(500);
}

int warp(BITMAPHANDLE* bitmap)
{
    const vk::Matrix matrix = leaning();
    return V_WarpBitmap(bitmap, &matrix, 30, 20, WARP_LINEAR | WARP_EDGE, kColorRef);
}

int retile(BITMAPHANDLE* bitmap)
{
    return V_SetBitmapMemoryInfo(bitmap, TYPE_TILED, 4096, 0, 1, 0, 2,
                                 MEMORYINFO_MEMORY | MEMORYINFO_TILESIZE | MEMORYINFO_CONVTILES |
                                     MEMORYINFO_CONVBUFFERS);
}

const Operation kOperations[] = {
    {"resize", 24, CPP(b.resize(11, 7, vk::SizeFlag::bicubic)), C(V_SizeBitmap(b, 11, 7, SIZEFLAG_BICUBIC))},
    {"resize_into", 24, CPP(other().resize_into(b, vk::SizeFlag::resample)),
     C(V_ResizeBitmap(other_record(), b, SIZEFLAG_RESAMPLE))},
    {"resample", 24, CPP(b.resample(11, 7)), C(V_ResampleBitmap(b, 11, 7))},
    {"resample_bicubic", 24, CPP(b.resample_bicubic(31, 27)), C(V_BicubicResampleBitmap(b, 31, 27))},
    {"rotate", 24, CPP(b.rotate(1234, vk::RotateFlag::grow | vk::RotateFlag::resample, kColor)),
     C(V_RotateBitmap(b, 1234, ROTATEFLAG_GROW | ROTATEFLAG_RESAMPLE, kColorRef))},
    {"quarter", 24, CPP(b.rotate(vk::QuarterTurn::counter_clockwise)), C(V_RotateBitmap90(b, 0))},
    {"flip", 24, CPP(b.flip()), C(V_FlipBitmap(b))},
    {"mirror", 24, CPP(b.mirror()), C(V_ReverseBitmap(b))},
    {"change_perspective", 24, CPP(b.change_perspective(vk::Perspective::right_top)),
     C(V_ChangeBitmapViewPerspective(nullptr, b, 0, 6))},
    {"with_perspective", 24, CPP(b = b.with_perspective(vk::Perspective::left_bottom)),
     C_NEW(V_ChangeBitmapViewPerspective(&made, b, kSize, 8))},
    {"shear", 24, CPP(b.shear(700, vk::ShearFlag::vertical | vk::ShearFlag::linear, kColor)),
     C(V_ShearBitmap(b, 700, SHEAR_VERTICAL | SHEAR_LINEAR, kColorRef))},
    {"warp", 24, CPP(b.warp(leaning(), 30, 20, vk::WarpFlag::linear | vk::WarpFlag::edge, kColor)), C(warp(b))},
    {"warp_corners", 24, CPP(b.warp_corners(kCorners, 18, 12, vk::WarpFlag::cubic, kColor)),
     C(V_WarpBitmapCorners(b, kCorners.data(), 18, 12, WARP_CUBIC, kColorRef))},
    {"warp_grid", 24, CPP(b.warp_grid(kGrid, 3, 26, 17, vk::WarpFlag::linear, kColor)),
     C(V_WarpBitmapGrid(b, kGrid.data(), 3, 2, 26, 17, WARP_LINEAR, kColorRef))},
    {"part", 24, CPP(b = b.part(kRect)), C_NEW(V_CopyBitmapRect(&made, b, kSize, 3, 2, 12, 9))},
    {"trim", 24, CPP(b.trim(kRect)), C(V_TrimBitmap(b, 3, 2, 12, 9))},
    {"extend", 24, CPP(b.extend(1, 2, 3, 4, vk::Extend::mirror, kColor)),
     C(V_ExtendBitmap(b, 1, 2, 3, 4, EXTEND_MIRROR, kColorRef))},
    {"combine", 24, CPP(b.combine(kRect, other(), 2, 1, vk::Combine::difference | vk::Combine::not_source)),
     C(V_CombineBitmap(b, 3, 2, 12, 9, other_record(), 2, 1, COMBINE_DIFFERENCE | COMBINE_NOT_SRC))},
    {"blend", 32, CPP(b.blend(kRect, other(), 2, 1, vk::Blend::hard_light, 40000)),
     C(V_BlendBitmap(b, 3, 2, 12, 9, other_record(), 2, 1, nullptr, 0, 0, BLEND_HARD_LIGHT, 40000))},
    {"blend_masked", 24,
     CPP(b.blend_masked(kRect, other(), vk::Bitmap::create(9, 9, 8), 2, 1, 1, 2, vk::Blend::source_in)),
     [](BITMAPHANDLE* b) {
         vk::Bitmap mask = vk::Bitmap::create(9, 9, 8);
         return V_BlendBitmap(b, 3, 2, 12, 9, other_record(), 2, 1, mask.record(), 1, 2, BLEND_SRC_IN, 65535);
     }},
    {"rendered", 24, CPP(b = b.rendered(kRect, 20, 30, vk::Render::area | vk::Render::with_alpha)),
     C_NEW(V_RenderBitmap(&made, b, kSize, &kRect, 20, 30, RENDER_AREA | RENDER_32BITS))},
    {"clone", 24, CPP(b = b.clone()), C_NEW(V_CopyBitmap(&made, b, kSize))},
    {"like", 8, CPP(b = b.like(5, 6, 4, vk::Memory::disk, vk::DupFlag::palette)),
     C_NEW(V_DupBitmapNewDim(&made, b, kSize, 5, 6, 4, TYPE_DISK, DUPFLAG_PALETTE))},
    {"convert", 24, CPP(b.convert(4, vk::ColorRes::no_dither, kPalette)),
     C(V_ColorResBitmap(b, nullptr, 0, 4, COLORRES_NODITHER, kPalette.data(), nullptr, 16))},
    {"converted", 24, CPP(b = b.converted(48, vk::ColorRes::order_rgb)),
     C_NEW(V_ColorResBitmap(b, &made, kSize, 48, COLORRES_ORDER_RGB, nullptr, nullptr, 0))},
    {"quantize", 24, CPP(b.quantize(8, 20)),
     C(V_ColorResBitmap(b, nullptr, 0, 8, COLORRES_PALETTE_OPTIMIZED, nullptr, nullptr, 20))},
    {"make_gray", 24, CPP(b.make_gray(16)), C(V_GrayScaleBitmap(b, 16))},
    {"grayed", 24, CPP(b = b.grayed(12)), C_NEW(V_CreateGrayScaleBitmap(&made, b, kSize, 12))},
    {"set_palette", 4, CPP(b.set_palette(kPalette)), C(V_SetBitmapNewPalette(b, kPalette.data(), 16))},
    {"fill", 24, CPP(b.fill(kRect, kColor)), C(V_FillBitmapRect(b, &kRect, kColorRef))},
    {"fill_pattern", 24, CPP(b.fill_pattern(other(), 3, 5)), C(V_FillBitmapPattern(b, other_record(), 3, 5))},
    {"flood_fill", 24, CPP(b.flood_fill(4, 5, kColor, 90, vk::FloodFlag::eight | vk::FloodFlag::border, {})),
     C(V_FloodFillBitmap(b, 4, 5, kColorRef, 0, 90, FLOOD_EIGHT | FLOOD_BORDER))},
    {"alpha", 32, CPP(b = b.alpha()), C_NEW(V_GetBitmapAlpha(&made, b, kSize))},
    {"set_alpha", 32, CPP(b.set_alpha(other())), C(V_SetBitmapAlpha(b, other_record()))},
    {"set_alpha value", 32, CPP(b.set_alpha(77)), C(V_SetBitmapAlphaValue(b, 77))},
    {"premultiply", 32, CPP(b.premultiply()), C(V_PremultiplyBitmap(b))},
    {"unpremultiply", 32, CPP(b.unpremultiply()), C(V_UnpremultiplyBitmap(b))},
    {"scramble", 24, CPP(b.scramble(kRect, 99)), C(V_ScrambleBitmap(b, b, kSize, 3, 2, 12, 9, 99, SCRAMBLE_HIDE))},
    {"apply_window", 16, CPP(b.make_gray(16); b.apply_window(kWindow, 24)),
     [](BITMAPHANDLE* b) {
         const int code = V_GrayScaleBitmap(b, 16);
         return code == V_SUCCESS ? V_WindowBitmap(nullptr, b, 0, &kWindow, 24) : code;
     }},
    {"move_to", 24, CPP(b.move_to(vk::Memory::disk)),
     C(V_SetBitmapMemoryInfo(b, TYPE_DISK, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY))},
    {"move_to tiles", 24,
     CPP(b.move_to({vk::Memory::tiled, 4096, 0, 1, 0, 2}, vk::MemoryInfo::memory | vk::MemoryInfo::tile_size |
                                                              vk::MemoryInfo::conventional_tiles |
                                                              vk::MemoryInfo::buffers)),
     C(retile(b))},
    {"compress", 8, CPP(b.compress(vk::Compression::super)), C(V_ChangeBitmapCompression(b, 2))},
    {"change_height", 24, CPP(b.change_height(20)), C(V_ChangeBitmapHeight(b, 20))},
    {"region shapes", 24,
     CPP(b.region().rectangle(kRect); b.region().ellipse(vk::Rect(0, 0, 10, 10), vk::RegionMode::unite);
         b.region().round_rectangle(vk::Rect(8, 8, 20, 16), 4, 6, vk::RegionMode::exclusive);
         b.region().polygon(kCorners, vk::FillRule::winding, vk::RegionMode::intersect); b.region().move(1, 2);
         b.fill(kColor)),
     [](BITMAPHANDLE* b) {
         const RECT ellipse{0, 0, 10, 10};
         const RECT rounded{8, 8, 20, 16};
         V_SetBitmapRegionRect(b, &kRect, REGION_SET);
         V_SetBitmapRegionEllipse(b, &ellipse, REGION_OR);
         V_SetBitmapRegionRoundRect(b, &rounded, 4, 6, REGION_XOR);
         V_SetBitmapRegionPolygon(b, kCorners.data(), 4, REGION_WINDING, REGION_AND);
         V_OffsetBitmapRegion(b, 1, 2);
         return V_FillBitmap(b, kColorRef);
     }},
    {"region of pixels", 24,
     CPP(b.region().colors(vk::Color(0, 0, 0), kColor); b.region().magic_wand(3, 4, kColor, kColor, vk::RegionMode::unite);
         b.region().invert(); b = b.region_mask()),
     [](BITMAPHANDLE* b) {
         BITMAPHANDLE made{};
         V_SetBitmapRegionColor(b, 0, kColorRef, REGION_SET);
         V_SetBitmapRegionMagicWand(b, 3, 4, kColorRef, kColorRef, REGION_OR);
         V_InvertBitmapRegion(b);
         return put(b, V_GetBitmapRegionMask(&made, b, kSize), made);
     }},
    {"overlays", 24,
     CPP(b.set_overlay(3, painted(8, 8, 1)); vk::OverlayAttributes said = b.overlay_attributes(3);
         said.Color = kColorRef; b.set_overlay_attributes(3, said); b.flatten_overlays()),
     [](BITMAPHANDLE* b) {
         vk::Bitmap picture = painted(8, 8, 1);
         V_OVERLAYATTRIBUTES said{};
         V_SetBitmapOverlay(b, 3, picture.record(), OVERLAY_COPY);
         V_GetBitmapOverlayAttributes(b, 3, &said, sizeof said);
         said.Color = kColorRef;
         V_SetBitmapOverlayAttributes(b, 3, &said);
         return V_FlattenBitmapOverlays(nullptr, b, 0);
     }},
};

TEST(CppCalls, LeaveWhatTheCFunctionsLeave)
{
    for (const auto& [name, depth, cpp, c] : kOperations) {
        SCOPED_TRACE(name);
        vk::Bitmap by_cpp = painted(24, 16, depth);
        vk::Bitmap by_c = by_cpp.clone();
        const std::vector<std::byte> before = bytes_of(by_cpp);
        ASSERT_NO_THROW(cpp(by_cpp));
        ASSERT_EQ(V_SUCCESS, c(by_c.record()));
        EXPECT_EQ(by_c.width(), by_cpp.width());
        EXPECT_EQ(by_c.height(), by_cpp.height());
        EXPECT_EQ(by_c.depth(), by_cpp.depth());
        EXPECT_EQ(by_c.perspective(), by_cpp.perspective());
        EXPECT_EQ(by_c.flags(), by_cpp.flags());
        EXPECT_EQ(by_c.palette().size(), by_cpp.palette().size());
        EXPECT_EQ(by_c.storage().tile_size, by_cpp.storage().tile_size);
        EXPECT_EQ(bytes_of(by_c), bytes_of(by_cpp));
        EXPECT_EQ(0, int{by_cpp.record()->LockCount});
    }
}

TEST(CppCalls, Questions)
{
    vk::Bitmap picture = painted(24, 16, 24);
    picture.fill(vk::Color(9, 9, 9));
    picture.fill(kRect, kColor);
    EXPECT_EQ(2u, picture.count_colors());
    EXPECT_EQ(vk::Rect(kRect), picture.trim_rect(vk::Color(9, 9, 9)));
    EXPECT_FALSE(picture.region().exists() || picture.is_gray());
    picture.region().ellipse(vk::Rect(0, 0, 5, 5));
    EXPECT_EQ(vk::Rect(0, 0, 5, 5), picture.region().bounds());
    const std::vector<V_REGIONRUN> runs = picture.region().row(0);
    ASSERT_EQ(1u, runs.size());
    EXPECT_TRUE(picture.region().contains(runs[0].nFirst, 0) && !picture.region().contains(runs[0].nEnd, 0));
    EXPECT_EQ(21u, picture.region().area());
    EXPECT_EQ(vk::Rect(9, 14, 21, 5).united({}), vk::Rect());
    picture.change_perspective(vk::Perspective::bottom_left);
    EXPECT_EQ(vk::Rect(3, 5, 15, 14), picture.to_stored(kRect));
    EXPECT_EQ(vk::Rect(kRect), picture.from_stored(vk::Rect(3, 5, 15, 14)));
    picture.make_gray(8);
    const auto [least, most] = picture.find_range();
    EXPECT_EQ(9, least);
    EXPECT_LT(least, most);
    EXPECT_TRUE(picture.is_gray());

    vk::BitmapList list;
    list.push_back(picture.clone());
    list.push_back(painted(4, 4, 24));
    const vk::Palette palette = list.optimized_palette(16, vk::ListPalette::black_white);
    EXPECT_EQ(16u, palette.size());
    EXPECT_EQ(0xFF, palette[15].rgbRed);
    EXPECT_EQ(1u, list.copy(1, 5).size());
    vk::BitmapList taken = list.take(0, 1);
    EXPECT_EQ(24, taken.remove(0).width());
    list.erase(0);
    EXPECT_TRUE(list.empty());
}

} // namespace
