// What mixing pixels at a position ought to give: each channel, weighted by alpha, in doubles and with none of the
// library's own arithmetic.
#pragma once

#include "tests/rotate/RotateSupport.h"

#include <cmath>
#include <vector>

namespace vk::testing {

/// A form of pixels: `fields` channels of `field_bits` bits above `low`, of which the fourth is alpha.
struct Form {
    int32_t bits;
    int32_t order;
    int fields;
    int field_bits;
    int low = 0;
    bool is_signed = false;
};

constexpr Form kMixedForms[] = {
    {8, COLORORDER_GRAY, 1, 8},      {12, COLORORDER_GRAY, 1, 12},
    {16, COLORORDER_GRAY, 1, 10, 3}, {16, COLORORDER_GRAY, 1, 9, 2, true},
    {32, COLORORDER_GRAY, 1, 32},    {16, COLORORDER_BGR, 3, 5},
    {16, COLORORDER_RGB565, 3, 5},   {24, COLORORDER_BGR, 3, 8},
    {24, COLORORDER_ROMM, 3, 8},     {32, COLORORDER_RGB, 4, 8},
    {48, COLORORDER_BGR, 3, 16},     {64, COLORORDER_BGR, 4, 16},
    {1, COLORORDER_RGB, 1, 1},
};

struct Field {
    int at;
    int bits;
};

inline Field field_of(const Form& form, int index)
{
    if (form.order == COLORORDER_RGB565)
        return index == 0 ? Field{0, 5} : index == 1 ? Field{5, 6} : Field{11, 5};
    return {form.low + index * form.field_bits, form.field_bits};
}

inline double most_of(const Form& form, int index)
{
    return std::ldexp(1.0, field_of(form, index).bits) - 1;
}

/// A channel's value; signed ones ascend from 0 too.
inline double channel(const Form& form, uint64_t pixel, int index)
{
    const Field field = field_of(form, index);
    const auto value = static_cast<double>(pixel >> field.at & ((uint64_t{1} << field.bits) - 1));
    const double half = std::ldexp(1.0, field.bits - 1);
    return !form.is_signed ? value : value >= half ? value - half : value + half;
}

inline std::vector<double> weights(double f, bool is_cubic)
{
    if (!is_cubic)
        return {1 - f, f};
    const auto inner = [](double t) { return 1.5 * t * t * t - 2.5 * t * t + 1; };
    const auto outer = [](double t) { return -0.5 * t * t * t + 2.5 * t * t - 4 * t + 2; };
    return {outer(1 + f), inner(f), inner(1 - f), outer(2 - f)};
}

/// Channels times alpha, and alpha behind them, weighted around a position. Outside of the image there is `fill`.
inline std::vector<double> weighted(const Form& form, const Shown& image, double x, double y, bool is_cubic,
                                    uint64_t fill)
{
    const auto first_x = static_cast<int64_t>(std::floor(x - 0.5));
    const auto first_y = static_cast<int64_t>(std::floor(y - 0.5));
    const std::vector<double> across = weights(x - 0.5 - static_cast<double>(first_x), is_cubic);
    const std::vector<double> down = weights(y - 0.5 - static_cast<double>(first_y), is_cubic);
    std::vector<double> sums(4, 0.0);
    for (size_t j = 0; j < down.size(); ++j)
        for (size_t i = 0; i < across.size(); ++i) {
            const int64_t column = first_x + static_cast<int64_t>(i) - is_cubic;
            const int64_t row = first_y + static_cast<int64_t>(j) - is_cubic;
            const uint64_t pixel =
                image.has(column, row) ? image.at(static_cast<int32_t>(column), static_cast<int32_t>(row)) : fill;
            const double alpha = form.fields == 4 ? channel(form, pixel, 3) : 1;
            for (int c = 0; c < std::min(form.fields, 3); ++c)
                sums[static_cast<size_t>(c)] += across[i] * down[j] * alpha * channel(form, pixel, c);
            sums[3] += across[i] * down[j] * alpha;
        }
    return sums;
}

/// The channels of weighted sums, clipped.
inline std::vector<double> channels_of(const Form& form, std::vector<double> sums)
{
    for (int c = 0; c < form.fields; ++c)
        sums[static_cast<size_t>(c)] =
            std::clamp(c == 3 ? sums[3] : sums[static_cast<size_t>(c)] / sums[3], 0.0, most_of(form, c));
    return sums;
}

/// The interpolated channels at a position.
inline std::vector<double> interpolated(const Form& form, const Shown& image, double x, double y, bool is_cubic,
                                        uint64_t fill)
{
    return channels_of(form, weighted(form, image, x, y, is_cubic, fill));
}

inline void make_form(TestBitmap& bitmap, const Form& form, int32_t width, int32_t height)
{
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, width, height, form.bits, form.order));
    if (form.order == COLORORDER_GRAY && form.bits > 8) {
        bitmap->LowBit = form.low;
        bitmap->HighBit = form.low + form.field_bits - 1;
    }
    if (form.is_signed)
        bitmap->Flags |= BITMAPFLAG_SIGNED;
}

} // namespace vk::testing
