// What rotation ought to give, worked out pixel by pixel on the displayed image, in long doubles and with none of the
// library's own arithmetic.
#pragma once

#include "Vkkrnx.h"
#include "tests/support/TestBitmap.h"
#include "tests/support/TestRandom.h"

#include <cmath>
#include <vector>

namespace vk::testing {

/// Stored values of pixels, as displayed.
struct Shown {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint64_t> values;

    uint64_t at(int32_t x, int32_t y) const
    {
        return values[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    bool has(int64_t x, int64_t y) const { return x >= 0 && x < width && y >= 0 && y < height; }
};

inline Shown mapped(const Shown& from, bool swap, bool flip_x, bool flip_y)
{
    Shown to{swap ? from.height : from.width, swap ? from.width : from.height, {}};
    for (int32_t y = 0; y < to.height; ++y)
        for (int32_t x = 0; x < to.width; ++x) {
            const int32_t a = flip_x ? to.width - 1 - x : x;
            const int32_t b = flip_y ? to.height - 1 - y : y;
            to.values.push_back(swap ? from.at(b, a) : from.at(a, b));
        }
    return to;
}

/// The stored pixels, brought to the top-left form as their perspective says.
inline Shown shown(TestBitmap& bitmap)
{
    const std::vector<uint8_t> pixels = bitmap.pixels();
    Shown stored{bitmap->Width, bitmap->Height, {}};
    for (int32_t y = 0; y < stored.height; ++y)
        for (int32_t x = 0; x < stored.width; ++x)
            stored.values.push_back(
                get_pixel(pixels.data() + static_cast<size_t>(y) * bitmap->BytesPerLine, bitmap->BitsPerPixel, x));
    switch (bitmap->ViewPerspective) {
    case 2:
        return mapped(stored, false, true, false);
    case 3:
        return mapped(stored, false, true, true);
    case 4:
        return mapped(stored, false, false, true);
    case 5:
        return mapped(stored, true, false, false);
    case 6:
        return mapped(stored, true, true, false);
    case 7:
        return mapped(stored, true, true, true);
    case 8:
        return mapped(stored, true, false, true);
    default:
        return stored;
    }
}

/// The turn of an image onto a canvas as displayed: positions of the image for canvas pixels' centres.
struct ReferenceTurn {
    long double cosine;
    long double sine;
    long double origin_x;
    long double origin_y;
    long double center_x;
    long double center_y;

    /// `flags` as the functions take them; `is_bottom_up` tells whose smallest corner counts.
    ReferenceTurn(const Shown& image, const Shown& canvas, int32_t angle, uint32_t flags, bool is_bottom_up)
    {
        const long double turned = angle * 3.14159265358979323846264338327950288L / 18000;
        cosine = std::cos(turned);
        sine = std::sin(turned);
        const long double w = image.width;
        const long double h = image.height;
        center_x = w / 2;
        center_y = h / 2;
        origin_x = canvas.width / -2.0L;
        origin_y = canvas.height / -2.0L;
        if (flags & 8) {
            origin_x = (std::fabs(w * cosine) + std::fabs(h * sine)) / -2;
            origin_y = (std::fabs(w * sine) + std::fabs(h * cosine)) / -2;
            if (is_bottom_up)
                origin_y = -origin_y - canvas.height;
        }
    }

    long double x(int32_t column, int32_t row) const
    {
        return center_x + (column + 0.5L + origin_x) * cosine + (row + 0.5L + origin_y) * sine;
    }
    long double y(int32_t column, int32_t row) const
    {
        return center_y - (column + 0.5L + origin_x) * sine + (row + 0.5L + origin_y) * cosine;
    }
};

/// Expects that each pixel of the canvas is the image's nearest one, either of two where they are equally near.
inline void expect_nearest(const Shown& image, const Shown& canvas, const ReferenceTurn& turn, uint64_t fill)
{
    constexpr long double kEqual = 4e-6L;
    int wrong = 0;
    for (int32_t row = 0; row < canvas.height && wrong == 0; ++row)
        for (int32_t column = 0; column < canvas.width && wrong == 0; ++column) {
            bool is_right = false;
            for (int corner = 0; corner < 4; ++corner) {
                const auto x = static_cast<int64_t>(std::floor(turn.x(column, row) + (corner & 1 ? kEqual : -kEqual)));
                const auto y = static_cast<int64_t>(std::floor(turn.y(column, row) + (corner & 2 ? kEqual : -kEqual)));
                const uint64_t wanted =
                    image.has(x, y) ? image.at(static_cast<int32_t>(x), static_cast<int32_t>(y)) : fill;
                is_right = is_right || wanted == canvas.at(column, row);
            }
            wrong += !is_right;
            EXPECT_TRUE(is_right) << "column " << column << ", row " << row << " of " << canvas.width << " x "
                                  << canvas.height;
        }
}

/// Random pixels in all rows.
inline void fill_rows(TestBitmap& bitmap, TestRandom& random)
{
    std::vector<uint8_t> row(bitmap->BytesPerLine);
    EXPECT_EQ(SUCCESS, V_AccessBitmap(bitmap));
    for (int32_t y = 0; y < bitmap->Height; ++y) {
        std::fill(row.begin(), row.end(), uint8_t{0});
        for (int32_t x = 0; x < bitmap->Width; ++x)
            set_pixel(row.data(), bitmap->BitsPerPixel, x, random.next());
        EXPECT_LT(0, V_PutBitmapRow(bitmap, row.data(), y, row.size()));
    }
    EXPECT_EQ(SUCCESS, V_ReleaseBitmap(bitmap));
}

} // namespace vk::testing
