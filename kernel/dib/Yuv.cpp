#include "kernel/dib/Yuv.h"

#include "kernel/dib/Header.h"
#include "kernel/dib/YuvKernel.h"
#include "kernel/yuv/Samples.h"
#include "simd/Simd.h"

#include <algorithm>

namespace vk::dib {

namespace {

constexpr YuvFormat kFormats[] = {
    {four_cc("YUY2"), YuvLayout::yuy2, true, false, false, 2, 1, 16},
    {four_cc("UYVY"), YuvLayout::uyvy, false, false, true, 2, 1, 16},
    {four_cc("cyuv"), YuvLayout::uyvy, false, false, false, 2, 1, 16},
    {four_cc("Y42T"), YuvLayout::uyvy, false, false, true, 2, 1, 16},
    {four_cc("YVYU"), YuvLayout::yvyu, false, false, true, 2, 1, 16},
    {four_cc("Y41P"), YuvLayout::y41p, true, false, true, 4, 4, 12},
    {four_cc("Y41T"), YuvLayout::y41p, true, false, true, 4, 4, 12},
    {four_cc("Y211"), YuvLayout::y211, true, false, true, 2, 1, 8},
    {four_cc("I420"), YuvLayout::planar2, false, false, true, 4, 4, 12},
    {four_cc("IYUV"), YuvLayout::planar2, false, false, true, 4, 4, 12},
    {four_cc("YV12"), YuvLayout::planar2, false, true, true, 4, 4, 12},
    {four_cc("YVU9"), YuvLayout::planar4, false, true, true, 16, 16, 9},
    {four_cc("IF09"), YuvLayout::planar4, false, true, true, 16, 16, 9},
};

uint8_t clamped(int32_t value) noexcept
{
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

using PutPixel = void (*)(int32_t y, int32_t u, int32_t v, uint8_t* bgr) noexcept;

/// Chroma samples for `step` pixels each.
template <PutPixel put>
void planes(const YuvRow& row, uint32_t from, uint32_t width, uint32_t step, uint8_t* bgr) noexcept
{
    for (uint32_t x = from; x < width; ++x)
        put(row.y[x], row.u[x / step], row.v[x / step], bgr + 3 * size_t{x});
}

/// How a packed layout's samples lie, and where they lie otherwise in a row's last pixels.
struct Packed {
    const yuv::Groups& whole;
    const yuv::Groups& last;
};

Packed packed_of(YuvLayout layout) noexcept
{
    switch (layout) {
    case YuvLayout::uyvy:
        return {yuv::kUyvy, yuv::kUyvy};
    case YuvLayout::yvyu:
        return {yuv::kYvyu, yuv::kYvyu};
    case YuvLayout::y41p:
        return {yuv::kY41p, yuv::kY41pShort};
    case YuvLayout::y211:
        return {yuv::kY211, yuv::kY211Short};
    default:
        return {yuv::kYuy2, yuv::kYuy2};
    }
}

/// Pixels that are unpacked at a time, whole groups of any layout.
constexpr uint32_t kUnpacked = 256;

/// Pixels from `from` on, which begins a group, through rows of samples. A row has no less than whole groups of two or
/// four pixels.
template <PutPixel put>
void unpacked(YuvLayout layout, const uint8_t* row, uint32_t from, uint32_t width, uint8_t* bgr) noexcept
{
    const Packed packed = packed_of(layout);
    const yuv::Groups& whole = packed.whole;
    uint8_t y[kUnpacked], u[kUnpacked], v[kUnpacked];
    for (uint32_t x = from; x < width; x += kUnpacked) {
        const uint32_t count = std::min(width - x, kUnpacked);
        const uint32_t groups = count / whole.pixels;
        const uint32_t done = groups * whole.pixels;
        const uint8_t* const at = row + size_t{x} / whole.pixels * whole.bytes;
        yuv::unpack_groups(whole, at, groups, {y, u, v, nullptr});
        const uint32_t left = (count - done) / packed.last.pixels;
        const uint32_t chroma = done / whole.chroma_step;
        if (left != 0)
            yuv::unpack_groups(packed.last, at + size_t{groups} * whole.bytes, left,
                               {y + done, u + chroma, v + chroma, nullptr});
        planes<put>({y, u, v}, 0, done + left * packed.last.pixels, whole.chroma_step, bgr + 3 * size_t{x});
    }
}

uint64_t row_bytes(const YuvFormat& format, uint32_t width) noexcept
{
    switch (format.layout) {
    case YuvLayout::yuy2:
    case YuvLayout::uyvy:
    case YuvLayout::yvyu:
        return uint64_t{width} * 2;
    case YuvLayout::y41p:
        return uint64_t{width} * 3 / 2;
    default:
        return width;
    }
}

/// Pixels in a row for each chroma sample of a planar format.
uint32_t chroma_step(const YuvFormat& format) noexcept
{
    return format.layout == YuvLayout::planar2 ? 2 : 4;
}

YuvRow planar_row(const YuvPicture& picture, uint32_t row) noexcept
{
    const uint32_t step = chroma_step(*picture.format);
    const size_t luma = size_t{picture.width} * picture.height;
    const size_t plane = luma / (step * step);
    const size_t line = size_t{row / step} * (picture.width / step);
    const uint8_t* const first = picture.samples + luma + line;
    const uint8_t* const second = first + plane;
    const bool v_first = picture.format->v_first;
    return {picture.samples + size_t{row} * picture.width, v_first ? second : first, v_first ? first : second};
}

/// Loops, and how they write.
struct Manner {
    const YuvLoops* loops; ///< or null
    bool streams;          ///< past the caches
};

/// How rows are converted: by the best loops, and what these leave of a row by narrower ones.
struct Manners {
    Manner best, next;
};

/// Where writing past the caches begins to pay.
constexpr size_t kStreamedBytes = size_t{16} << 20;

Manners manners_for(const uint8_t* to, size_t stride, uint32_t rows) noexcept
{
    const uintptr_t places = reinterpret_cast<uintptr_t>(to) | stride;
    const bool is_big = stride * rows >= kStreamedBytes;
    const auto manner = [&](const YuvLoops* loops) noexcept {
        return Manner{loops, loops && is_big && places % loops->vector_bytes == 0};
    };
    return {manner(yuv_loops_sets.best()), manner(yuv_loops_sets.at(std::min(simd::level(), simd::Level::avx2)))};
}

using RowFrom = YuvRow (YuvRow::*)(uint32_t x) const noexcept;

/// Converts what the kernels can; returns the number of pixels.
template <YuvKernel* YuvLoops::*kernel, RowFrom from>
uint32_t run_kernels(const YuvRow& row, uint32_t width, uint8_t* bgr, const Manners& manners) noexcept
{
    if (!manners.best.loops)
        return 0;
    const uint32_t done = (manners.best.loops->*kernel)(row, width, bgr, manners.best.streams);
    if (manners.next.loops == manners.best.loops)
        return done;
    return done +
           (manners.next.loops->*kernel)((row.*from)(done), width - done, bgr + 3 * size_t{done}, manners.next.streams);
}

template <PutPixel put, YuvKernel* YuvLoops::*kernel>
void packed_row(YuvLayout layout, const uint8_t* from, const YuvRow& row, uint32_t width, uint8_t* bgr,
                const Manners& manners) noexcept
{
    const uint32_t done = run_kernels<kernel, &YuvRow::packed_from>(row, width, bgr, manners);
    unpacked<put>(layout, from, done, width, bgr);
}

void convert_row(const YuvPicture& picture, uint32_t row, uint8_t* bgr, const Manners& manners) noexcept
{
    const YuvFormat& format = *picture.format;
    const uint32_t width = picture.width;
    const uint8_t* const from = picture.samples + row_bytes(format, width) * row;
    const YuvLayout layout = format.layout;
    switch (layout) {
    case YuvLayout::yuy2:
        return packed_row<full_range_pixel, &YuvLoops::yuy2_full>(layout, from, {from, from + 1, from + 3}, width, bgr,
                                                                  manners);
    case YuvLayout::uyvy:
        return packed_row<studio_pixel, &YuvLoops::uyvy_studio>(layout, from, {from + 1, from, from + 2}, width, bgr,
                                                                manners);
    case YuvLayout::yvyu:
        return packed_row<studio_pixel, &YuvLoops::yvyu_studio>(layout, from, {from, from + 3, from + 1}, width, bgr,
                                                                manners);
    case YuvLayout::y41p:
    case YuvLayout::y211:
        return unpacked<full_range_pixel>(layout, from, 0, width, bgr);
    case YuvLayout::planar2:
    case YuvLayout::planar4:
        break;
    }
    const YuvRow samples = planar_row(picture, row);
    uint32_t done = 0;
    if (format.layout == YuvLayout::planar2)
        done = run_kernels<&YuvLoops::planar_studio, &YuvRow::planar_from>(samples, width, bgr, manners);
    planes<studio_pixel>(samples, done, width, chroma_step(format), bgr);
}

} // namespace

const YuvFormat* find_yuv(uint32_t code) noexcept
{
    for (const YuvFormat& format : kFormats)
        if (format.code == code)
            return &format;
    return nullptr;
}

uint64_t yuv_bytes(const YuvFormat& format, uint32_t width, uint32_t height) noexcept
{
    const uint64_t luma = row_bytes(format, width) * height;
    if (!format.planar())
        return luma;
    const uint32_t step = chroma_step(format);
    return luma + 2 * (luma / (step * step));
}

void full_range_pixel(int32_t y, int32_t u, int32_t v, uint8_t* bgr) noexcept
{
    const int32_t d = u - 128;
    const int32_t e = v - 128;
    bgr[0] = clamped(y + (1772 * d + 500) / 1000);
    bgr[1] = clamped(y + (-344 * d - 714 * e + 500) / 1000);
    bgr[2] = clamped(y + (1402 * e + 500) / 1000);
}

void studio_pixel(int32_t y, int32_t u, int32_t v, uint8_t* bgr) noexcept
{
    const int32_t c = (y - 16) * 1192;
    const int32_t d = u - 128;
    const int32_t e = v - 128;
    bgr[0] = clamped((c + 2066 * d + 511) >> 10);
    bgr[1] = clamped((c - 401 * d - 832 * e + 511) >> 10);
    bgr[2] = clamped((c + 1634 * e + 511) >> 10);
}

void convert_yuv(const YuvPicture& picture, uint32_t first, uint32_t rows, uint8_t* to, size_t stride) noexcept
{
    const Manners manners = manners_for(to, stride, rows);
    for (uint32_t i = 0; i < rows; ++i)
        convert_row(picture, first + i, to + i * stride, manners);
    if (manners.best.streams || manners.next.streams)
        simd::fence();
}

} // namespace vk::dib
