// Buffers of pixels and points: conversion, run lengths, resizing, turning, windows, geometry.
#include "tests/faults/OtherOperations.h"

#include "Vkconvert.h"
#include "Vkgeometry.h"
#include "Vkresize.h"
#include "Vkrotate.h"
#include "Vkruns.h"
#include "Vkview.h"
#include "Vkwarp.h"
#include "Vkwindow.h"
#include "Vkyuv.h"

#include <array>

namespace vk::testing {

namespace {

constexpr int32_t kPixels = 40;

std::array<uint8_t, 4096> g_from, g_to;

template <class Convert> intptr_t convert(Convert function)
{
    return function(g_to.data(), kPixels, 24, 4, COLORORDER_BGR, COLORORDER_BGR);
}

intptr_t runs()
{
    uint8_t* const to = g_to.data();
    return result_of(
        V_CompressRow(to, g_from.data(), 0, kPixels) == kPixels && V_MirrorCompressedBuffer(to, kPixels) == V_SUCCESS &&
        V_ExpandRow(to, to + 1000, 0, kPixels) == V_SUCCESS &&
        V_CompressRows(to, g_from.data(), 0, kPixels, 3, 5) == kPixels && V_FlipCompressedBuffer(to, 3) == V_SUCCESS &&
        V_ExpandRows(to, to + 1000, 0, kPixels, 3, 5) == V_SUCCESS);
}

intptr_t resize()
{
    void* state = nullptr;
    const int code = V_StartResize(kPixels, 3, 17, 5, &state);
    if (code != V_SUCCESS)
        return code;
    int32_t width = 0, copies = 0;
    const bool went_well = V_Resize(g_to.data(), 0, 8, &width, &copies, state) >= 0;
    return V_StopResize(state) & result_of(went_well);
}

intptr_t resize_rows()
{
    V_GetResizedScanLine(8, 20, 0, 2, 0, 0, g_from.data(), g_to.data(), 20, 20, 0);
    V_ReverseGetResizedScanLine(8, 20, 0, 2, 0, 0, g_from.data(), g_to.data(), 20, 20, 0);
    return V_SUCCESS;
}

intptr_t turns()
{
    int32_t flip = 0, angle = 0;
    RECT rect{1, 2, 5, 8};
    return result_of(V_RotateBuffer90(g_from.data(), 40, g_to.data(), 20, 40, 20, 8, 1) == V_SUCCESS &&
                     V_RotateBuffer180(g_from.data(), 40, g_to.data(), 40, 40, 20, 8) == V_SUCCESS &&
                     V_MirrorLine(g_to.data(), kPixels, 12) == V_SUCCESS &&
                     V_GetChangeViewPerspectiveParams(1, 6, &flip, &angle) == V_SUCCESS &&
                     V_ChangeRectViewPerspective(1, 40, 20, 6, &rect) == V_SUCCESS && V_SinValue(9000) == 16384 &&
                     V_CosValue(0) == 16384);
}

intptr_t windows()
{
    constexpr V_WINDOW kWindow{sizeof(V_WINDOW), WINDOW_LINEAR, 0, 0, 100, 80};
    std::array<RGBQUAD, 256> colors{};
    return result_of(V_FillWindowTable(g_to.data(), 256, &kWindow) == V_SUCCESS &&
                     V_FillWindowColors(colors.data(), 256, &kWindow, {}, {255, 255, 255, 0}) == V_SUCCESS);
}

intptr_t yuv()
{
    V_YUVPICTURE picture{sizeof(V_YUVPICTURE), 0x3231564E, 8, 6, 0, 0, 0, 0, {}, {}, {}};
    return result_of(V_GetYuvSize(&picture) == 72);
}

intptr_t matrices()
{
    V_MATRIX a{}, b{};
    double determinant = 0;
    V_POINTD points[4] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    V_RECTD rect{0, 0, 1, 1};
    return result_of(V_Matrix_Identity(&a) && V_Matrix_IsIdentity(&a) && V_Matrix_IsAffine(&a) &&
                     V_Matrix_Translate(&a, 1, 2) && V_Matrix_Scale(&a, 2, 3) && V_Matrix_Shear(&a, 0.5, 0) &&
                     V_Matrix_Rotate(&a, 3000) && V_Matrix_Invert(&b, &a) && V_Matrix_Multiply(&b, &a, &b) &&
                     V_Matrix_Determinant(&b, &determinant) && V_Matrix_TransformPoint(&a, points) &&
                     V_Matrix_TransformPoints(&a, points, 4) && V_Matrix_TransformRect(&a, &rect) &&
                     V_Matrix_FromCorners(&b, points, points) == V_SUCCESS);
}

intptr_t rects()
{
    RECT a{}, b{}, c{};
    V_RECTD wide{};
    return result_of(V_Rect_Set(&a, 0, 0, 9, 7) && V_Rect_Set(&b, 3, 3, 20, 20) && !V_Rect_IsEmpty(&a) &&
                     V_Rect_Normalize(&a) && V_Rect_Width(&a) == 9 && V_Rect_Height(&a) == 7 &&
                     V_Rect_Intersect(&c, &a, &b) && V_Rect_Union(&c, &a, &b) && V_Rect_Inflate(&c, 1, 1) &&
                     V_Rect_Offset(&c, 1, 1) && V_Rect_ContainsPoint(&c, 5, 5) && V_Rect_ContainsRect(&c, &b) &&
                     !V_Rect_Equal(&a, &b) && V_Rect_ToRectD(&a, &wide) == V_SUCCESS);
}

intptr_t wide_rects()
{
    V_RECTD a{}, b{}, c{};
    RECT rect{};
    return result_of(V_RectD_Set(&a, 0, 0, 9, 7) && V_RectD_Set(&b, 3, 3, 20, 20) && !V_RectD_IsEmpty(&a) &&
                     V_RectD_Normalize(&a) && V_RectD_Width(&a) > 8 && V_RectD_Height(&a) > 6 &&
                     V_RectD_Intersect(&c, &a, &b) && V_RectD_Union(&c, &a, &b) && V_RectD_Inflate(&c, 1, 1) &&
                     V_RectD_Offset(&c, 1, 1) && V_RectD_ContainsPoint(&c, 5, 5) && V_RectD_ContainsRect(&c, &b) &&
                     !V_RectD_Equal(&a, &b) && V_RectD_ToRect(&a, &rect, RECTD_OUTER) == V_SUCCESS);
}

intptr_t numbers()
{
    return result_of(V_Double_Equal(1, 1, 0, 0) && V_Double_IsZero(0, 0) && V_Double_Less(1, 2, 0) &&
                     V_Double_LessEqual(1, 1, 0) && V_Double_Round(0.6) > 0.9 && V_Double_Clamp(3, 0, 1) < 1.1 &&
                     V_Double_IsFinite(1));
}

} // namespace

const OtherFamily pixel_scenarios = {
    {"V_ConvertBuffer",
     [] {
         return convert([](auto... arguments) -> intptr_t { return V_ConvertBuffer(arguments..., nullptr, nullptr); });
     },
     Calls::none},
    {"V_ConvertBufferExt",
     [] {
         return convert(
             [](auto... arguments) -> intptr_t { return V_ConvertBufferExt(arguments..., nullptr, nullptr, 0, 0, 0); });
     },
     Calls::none},
    {"V_ConvertBufferExt2",
     [] {
         return convert([](auto... arguments) -> intptr_t {
             return V_ConvertBufferExt2(arguments..., nullptr, nullptr, nullptr, nullptr, 0, 0, 0);
         });
     },
     Calls::none},
    {"V_ConvertBufferExt3",
     [] {
         return convert([](auto... arguments) -> intptr_t {
             return V_ConvertBufferExt3(arguments..., nullptr, nullptr, nullptr, nullptr, 0, 0, 0, 0);
         });
     },
     Calls::none},
    {"V_CalcConvertSize, V_PadPixelData",
     [] {
         return result_of(V_CalcConvertSize(40, 1, 40, 24) == 120 &&
                          V_PadPixelData(g_to.data(), 16, kPixels, 11, 0, 1) == V_SUCCESS);
     },
     Calls::none},
    {"V_CompressRow, V_CompressRows, V_ExpandRow, V_ExpandRows, V_MirrorCompressedBuffer, V_FlipCompressedBuffer", runs,
     Calls::none},
    {"V_StartResize, V_Resize, V_StopResize", resize},
    {"V_GetResizedScanLine, V_ReverseGetResizedScanLine", resize_rows, Calls::none},
    {"V_RotateBuffer90, V_RotateBuffer180, V_MirrorLine, V_GetChangeViewPerspectiveParams, "
     "V_ChangeRectViewPerspective, "
     "V_SinValue, V_CosValue",
     turns},
    {"V_FillWindowTable, V_FillWindowColors", windows, Calls::none},
    {"V_GetYuvSize", yuv, Calls::none},
};

const OtherFamily geometry_scenarios = {
    {"V_Matrix_Identity, V_Matrix_IsIdentity, V_Matrix_IsAffine, V_Matrix_Translate, V_Matrix_Scale, V_Matrix_Shear, "
     "V_Matrix_Rotate, V_Matrix_Invert, V_Matrix_Multiply, V_Matrix_Determinant, V_Matrix_TransformPoint, "
     "V_Matrix_TransformPoints, V_Matrix_TransformRect, V_Matrix_FromCorners",
     matrices, Calls::none},
    {"V_Rect_Set, V_Rect_IsEmpty, V_Rect_Normalize, V_Rect_Width, V_Rect_Height, V_Rect_Intersect, V_Rect_Union, "
     "V_Rect_Inflate, V_Rect_Offset, V_Rect_ContainsPoint, V_Rect_ContainsRect, V_Rect_Equal, V_Rect_ToRectD",
     rects, Calls::none},
    {"V_RectD_Set, V_RectD_IsEmpty, V_RectD_Normalize, V_RectD_Width, V_RectD_Height, V_RectD_Intersect, "
     "V_RectD_Union, "
     "V_RectD_Inflate, V_RectD_Offset, V_RectD_ContainsPoint, V_RectD_ContainsRect, V_RectD_Equal, V_RectD_ToRect",
     wide_rects, Calls::none},
    {"V_Double_Equal, V_Double_IsZero, V_Double_Less, V_Double_LessEqual, V_Double_Round, V_Double_Clamp, "
     "V_Double_IsFinite",
     numbers, Calls::none},
};

} // namespace vk::testing
