// An independent resampler for tests, pixel by pixel in real numbers or exact fractions, and pictures to try it on.
#pragma once

#include "kernel/resample/Resample.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include "Vkkrnx.h"
#include "Vkresample.h"

#include <cmath>
#include <functional>
#include <string>

namespace vk::testing {

struct PixelFormat {
    int32_t bits, order;
    bool gray_palette = true; ///< up to 8 bits: the ramp, else random entries
    int32_t low = 0, high = -1;
    bool is_signed = false;

    bool alpha() const { return order != COLORORDER_GRAY && (bits == 32 || bits == 64); }
    bool by_color() const { return bits <= 8 && bits > 1 && !gray_palette && order != COLORORDER_GRAY; }
    std::string name() const
    {
        return std::to_string(bits) + " bits, order " + std::to_string(order) + (gray_palette ? "" : ", colours");
    }
};

constexpr int32_t kGray = COLORORDER_GRAY, kBgr = COLORORDER_BGR, kRgb = COLORORDER_RGB;

/// Every way pixels are averaged.
const PixelFormat kResampled[] = {
    {1, kRgb},
    {1, kRgb, false},
    {2, kRgb},
    {3, kRgb},
    {4, kRgb},
    {5, kRgb, false},
    {7, kRgb},
    {8, kRgb},
    {8, kRgb, false},
    {4, kRgb, false},
    {8, kGray},
    {12, kGray},
    {16, kGray},
    {16, kGray, true, 3, 11},
    {12, kGray, true, 2, -1, true},
    {32, kGray},
    {16, kBgr},
    {16, COLORORDER_RGB565},
    {24, kBgr},
    {24, COLORORDER_ROMM},
    {32, kBgr},
    {48, kRgb},
    {64, kBgr},
};

/// Channels of a stored pixel, lowest bits first; alpha last. Colours of by_color formats are the palette's.
inline std::vector<int64_t> channels_of(BITMAPHANDLE& bitmap, const PixelFormat& format, const uint8_t* row, int32_t x)
{
    const uint64_t value = get_pixel(row, format.bits, x);
    const auto part = [&](int32_t at, int32_t bits) {
        return static_cast<int64_t>(value >> at & ((uint64_t{1} << bits) - 1));
    };
    if (format.by_color()) {
        const RGBQUAD entry = value < bitmap.Colors ? bitmap.Palette[value] : RGBQUAD{};
        return {entry.rgbBlue, entry.rgbGreen, entry.rgbRed};
    }
    if (format.bits <= 8)
        return {static_cast<int64_t>(value)};
    if (format.order == kGray) {
        const int32_t high = format.high < 0 ? format.bits - 1 : format.high;
        const int64_t sample = part(format.low, high - format.low + 1);
        const int64_t sign = int64_t{1} << (high - format.low);
        return {format.is_signed && sample >= sign ? sample - 2 * sign : sample};
    }
    if (format.bits == 16)
        return format.order == COLORORDER_RGB565 ? std::vector<int64_t>{part(0, 5), part(5, 6), part(11, 5)}
                                                 : std::vector<int64_t>{part(0, 5), part(5, 5), part(10, 5)};
    std::vector<int64_t> channels;
    for (int32_t at = 0, bits = format.bits > 32 ? 16 : 8; at < format.bits; at += bits)
        channels.push_back(part(at, bits));
    return channels;
}

/// The range of a channel.
inline std::pair<int64_t, int64_t> range_of(const PixelFormat& format, size_t channel)
{
    int32_t bits = format.by_color() ? 8 : format.bits;
    if (format.order == kGray && format.bits > 8)
        bits = (format.high < 0 ? format.bits - 1 : format.high) - format.low + 1;
    else if (format.bits == 16)
        bits = format.order == COLORORDER_RGB565 && channel == 1 ? 6 : 5;
    else if (format.bits > 8)
        bits = format.bits > 32 ? 16 : 8;
    const int64_t low = format.is_signed ? -(int64_t{1} << (bits - 1)) : 0;
    return {low, low + (int64_t{1} << bits) - 1};
}

using Image = std::vector<std::vector<int64_t>>; ///< channels of each pixel, row by row

inline Image image_of(TestBitmap& bitmap, const PixelFormat& format)
{
    const std::vector<uint8_t> all = bitmap.pixels();
    Image image;
    for (int32_t y = 0; y < bitmap->Height; ++y)
        for (int32_t x = 0; x < bitmap->Width; ++x)
            image.push_back(
                channels_of(*bitmap, format, all.data() + size_t{bitmap->BytesPerLine} * static_cast<uint32_t>(y), x));
    return image;
}

/// A bitmap of a format with random pixels; of pixels with alpha a third is invisible and a third opaque.
inline void make_picture(TestBitmap& bitmap, Kind kind, int32_t width, int32_t height, const PixelFormat& format,
                         TestRandom& random)
{
    ASSERT_NO_FATAL_FAILURE(bitmap.make(kind, width, height, format.bits));
    bitmap->Order = format.order;
    if (format.order == kGray && format.bits > 8) {
        bitmap->LowBit = format.low;
        bitmap->HighBit = format.high < 0 ? format.bits - 1 : format.high;
        bitmap->Flags |= format.is_signed ? BITMAPFLAG_SIGNED : 0u;
    }
    if (format.bits <= 8) {
        std::vector<RGBQUAD> entries(size_t{1} << format.bits);
        random.fill(entries.data(), entries.size() * sizeof(RGBQUAD));
        if (format.gray_palette)
            ASSERT_EQ(SUCCESS, V_CreateBitmapGrayPalette(bitmap));
        else
            ASSERT_EQ(SUCCESS, V_SetBitmapNewPalette(bitmap, entries.data(),
                                                     static_cast<uint32_t>(std::min<size_t>(entries.size(), 200))));
    }
    std::vector<uint8_t> row(bitmap->BytesPerLine, 0);
    ASSERT_EQ(SUCCESS, V_AccessBitmap(bitmap));
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            uint64_t pixel = random.next();
            const int32_t alpha_bits = format.bits / 4;
            const uint64_t alpha = format.alpha() ? (uint64_t{1} << alpha_bits) - 1 : 0;
            const int32_t at = format.bits - alpha_bits;
            if (format.alpha() && x % 3 != 0)
                pixel = x % 3 == 1 ? pixel | alpha << at : pixel & ~(alpha << at);
            set_pixel(row.data(), format.bits, x, pixel);
        }
        ASSERT_EQ(static_cast<intptr_t>(row.size()), V_PutBitmapRow(bitmap, row.data(), y, row.size()));
    }
    ASSERT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
}

/// What a result channel may be: from low to high. A mean that ends next to a half may go either way.
struct Expected {
    double low, high;
};

using Weight = std::function<double(int32_t at, int32_t from)>; ///< of a source pixel for a position

inline double overlap(int64_t source, int64_t target, int64_t at, int64_t from)
{
    const int64_t first = std::max(at * source, from * target);
    const int64_t last = std::min((at + 1) * source, (from + 1) * target);
    return static_cast<double>(std::max<int64_t>(last - first, 0));
}

inline double kernel(Filter filter, double x)
{
    x = std::fabs(x);
    if (filter == Filter::bicubic)
        return x < 1 ? 1.5 * x * x * x - 2.5 * x * x + 1 : x < 2 ? -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2 : 0;
    const double angle = 3.14159265358979 * x;
    return x == 0 ? 1 : x < 3 ? 3 * std::sin(angle) * std::sin(angle / 3) / (angle * angle) : 0;
}

/// The weights of every source position for a target position, sum 1, by the filter's definition.
inline std::vector<double> weights_for(Filter filter, int32_t source, int32_t target, int32_t at)
{
    std::vector<double> weights(static_cast<size_t>(source), 0.0);
    if (filter == Filter::area) {
        for (int32_t j = 0; j < source; ++j)
            weights[static_cast<size_t>(j)] = overlap(source, target, at, j) / source;
        return weights;
    }
    const double scale = std::max(1.0, static_cast<double>(source) / target);
    const double center = (at + 0.5) * source / target - 0.5;
    double sum = 0;
    for (int32_t j = static_cast<int32_t>(std::floor(center - 3 * scale)) - 1; j < center + 3 * scale + 1; ++j) {
        const double value = kernel(filter, (j - center) / scale);
        weights[static_cast<size_t>(std::clamp(j, 0, source - 1))] += value;
        sum += value;
    }
    for (double& weight : weights)
        weight /= sum;
    return weights;
}

} // namespace vk::testing
