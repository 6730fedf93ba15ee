// Interpolated rotation beside its definition in doubles, pixel by pixel: each channel, weighted by alpha, with the
// fill around the image.
#include "Vkkrnx.h"
#include "tests/rotate/RotateSupport.h"

#include <string>

using namespace vk;
using namespace vk::testing;

namespace {

/// A form of pixels: `fields` channels of `field_bits` bits above `low`, of which the fourth is alpha.
struct Form {
    int32_t bits;
    int32_t order;
    int fields;
    int field_bits;
    int low = 0;
    bool is_signed = false;
};

constexpr Form kForms[] = {
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

Field field_of(const Form& form, int index)
{
    if (form.order == COLORORDER_RGB565)
        return index == 0 ? Field{0, 5} : index == 1 ? Field{5, 6} : Field{11, 5};
    return {form.low + index * form.field_bits, form.field_bits};
}

double most_of(const Form& form, int index)
{
    return std::ldexp(1.0, field_of(form, index).bits) - 1;
}

/// A channel's value; signed ones ascend from 0 too.
double channel(const Form& form, uint64_t pixel, int index)
{
    const Field field = field_of(form, index);
    const auto value = static_cast<double>(pixel >> field.at & ((uint64_t{1} << field.bits) - 1));
    const double half = std::ldexp(1.0, field.bits - 1);
    return !form.is_signed ? value : value >= half ? value - half : value + half;
}

std::vector<double> weights(double f, bool is_cubic)
{
    if (!is_cubic)
        return {1 - f, f};
    const auto inner = [](double t) { return 1.5 * t * t * t - 2.5 * t * t + 1; };
    const auto outer = [](double t) { return -0.5 * t * t * t + 2.5 * t * t - 4 * t + 2; };
    return {outer(1 + f), inner(f), inner(1 - f), outer(2 - f)};
}

/// The interpolated channels at a position, clipped.
std::vector<double> interpolated(const Form& form, const Shown& image, double x, double y, bool is_cubic, uint64_t fill)
{
    const auto first_x = static_cast<int64_t>(std::floor(x - 0.5));
    const auto first_y = static_cast<int64_t>(std::floor(y - 0.5));
    const std::vector<double> across = weights(x - 0.5 - static_cast<double>(first_x), is_cubic);
    const std::vector<double> down = weights(y - 0.5 - static_cast<double>(first_y), is_cubic);
    std::vector<double> sums(5, 0.0);
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
    for (int c = 0; c < form.fields; ++c)
        sums[static_cast<size_t>(c)] =
            std::clamp(c == 3 ? sums[3] : sums[static_cast<size_t>(c)] / sums[3], 0.0, most_of(form, c));
    return sums;
}

void make(TestBitmap& bitmap, const Form& form, int32_t width, int32_t height)
{
    ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, width, height, form.bits, form.order));
    if (form.order == COLORORDER_GRAY && form.bits > 8) {
        bitmap->LowBit = form.low;
        bitmap->HighBit = form.low + form.field_bits - 1;
    }
    if (form.is_signed)
        bitmap->Flags |= BITMAPFLAG_SIGNED;
}

std::string name_of(const Form& form, uint32_t flags)
{
    return std::to_string(form.bits) + " bits, order " + std::to_string(form.order) + ", flags " +
           std::to_string(flags);
}

} // namespace

TEST(RotateFilter, WeightsAsDefined)
{
    TestRandom random(311);
    SCOPED_TRACE(random);
    for (const Form& form : kForms)
        for (const uint32_t flags : {2u, 3u, 4u, 7u, 10u})
            for (const int32_t angle : {730, 4500, 9000, -13333}) {
                SCOPED_TRACE(name_of(form, flags) + ", angle " + std::to_string(angle));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make(bitmap, form, random.between(1, 150), random.between(1, 40)));
                fill_rows(bitmap, random);
                const Shown image = shown(bitmap);
                ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, angle, flags, 0));
                const Shown canvas = shown(bitmap);
                const ReferenceTurn turn(image, canvas, angle, flags, false);
                const bool is_cubic = flags & 4;
                if (angle == 9000 && (flags & 9)) {
                    expect_nearest(image, canvas, turn, 0);
                    continue;
                }
                for (int32_t y = 0; y < canvas.height && !HasFailure(); ++y)
                    for (int32_t x = 0; x < canvas.width && !HasFailure(); ++x) {
                        const std::vector<double> wanted = interpolated(form, image, static_cast<double>(turn.x(x, y)),
                                                                        static_cast<double>(turn.y(x, y)), is_cubic, 0);
                        for (int c = 0; c < form.fields; ++c) {
                            if (form.fields == 4 && wanted[3] < 2)
                                continue; // nothing to be seen of the colour
                            const double most = most_of(form, c);
                            const double allowed = 0.5 + most * (most > 65535 ? 2e-6 : 4e-5) +
                                                   (form.bits == 16) * 0.25 +
                                                   (form.fields == 4 && c < 3) * 0.5 * most / wanted[3] / 100;
                            ASSERT_NEAR(wanted[static_cast<size_t>(c)], channel(form, canvas.at(x, y), c), allowed)
                                << "channel " << c << " at " << x << ", " << y;
                        }
                    }
            }
}

TEST(RotateFilter, ConstantPicturesStayConstant)
{
    TestRandom random(312);
    SCOPED_TRACE(random);
    for (const int32_t bits : kDepths)
        for (const int32_t order : {COLORORDER_RGB, COLORORDER_GRAY})
            for (const uint32_t flags : {2u, 4u}) {
                if (!vk::has_order(bits, order) || (order == COLORORDER_GRAY && bits < 8))
                    continue;
                SCOPED_TRACE(std::to_string(bits) + " bits, order " + std::to_string(order));
                TestBitmap bitmap;
                std::vector<RGBQUAD> palette(256); // every entry twice
                for (size_t i = 0; i < palette.size(); ++i)
                    palette[i] = {static_cast<uint8_t>(i / 2 * 5), static_cast<uint8_t>(i / 2 * 3), 7, 0};
                ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 90, 80, bits, order, palette.data()));
                if (order == COLORORDER_GRAY && bits > 8) {
                    bitmap->LowBit = 1;
                    bitmap->HighBit = bits - 3;
                }
                const uint64_t unused = bits == 16 && order == COLORORDER_RGB ? 0x8000u : 0;
                const uint64_t mask = bits == 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1;
                const uint64_t value = random.next() & mask & ~unused;
                std::vector<uint8_t> row(bitmap->BytesPerLine);
                for (int32_t x = 0; x < 90; ++x)
                    set_pixel(row.data(), bits, x, value);
                for (int32_t y = 0; y < 80; ++y)
                    ASSERT_LT(0, V_PutBitmapRow(bitmap, row.data(), y, row.size()));
                ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, 1234, flags, 0));
                const Shown canvas = shown(bitmap);
                for (int32_t y = 25; y < 55; ++y)
                    for (int32_t x = 25; x < 65; ++x)
                        ASSERT_EQ(value, canvas.at(x, y)) << x << ", " << y;
            }
}

// Colours of indexed pictures are interpolated, and matched against the palette.
TEST(RotateFilter, IndexedPicturesKeepTheirPalette)
{
    TestRandom random(313);
    SCOPED_TRACE(random);
    const Form colors{24, COLORORDER_BGR, 3, 8};
    for (const int32_t bits : {2, 4, 7, 8})
        for (const uint32_t flags : {3u, 5u}) {
            TestBitmap bitmap;
            std::vector<RGBQUAD> palette(256);
            random.fill(palette.data(), palette.size() * sizeof(RGBQUAD));
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 70, 40, bits, COLORORDER_RGB, palette.data()));
            fill_rows(bitmap, random);
            const auto in_color = [&](Shown indices) {
                for (uint64_t& value : indices.values)
                    value = palette[value].rgbBlue | uint64_t{palette[value].rgbGreen} << 8 |
                            uint64_t{palette[value].rgbRed} << 16;
                return indices;
            };
            const Shown image = in_color(shown(bitmap));
            ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, 2222, flags, 0x01000002u));
            const Shown canvas = in_color(shown(bitmap));
            const ReferenceTurn turn(image, canvas, 2222, flags, false);
            const uint64_t fill = palette[2].rgbBlue | palette[2].rgbGreen << 8 | palette[2].rgbRed << 16;
            EXPECT_EQ(fill, canvas.at(0, 0));
            for (int32_t y = 0; y < canvas.height; ++y)
                for (int32_t x = 0; x < canvas.width; ++x) {
                    const std::vector<double> wanted = interpolated(colors, image, static_cast<double>(turn.x(x, y)),
                                                                    static_cast<double>(turn.y(x, y)), flags & 4, fill);
                    const auto distance = [&](uint64_t color) {
                        double sum = 0;
                        for (int c = 0; c < 3; ++c)
                            sum += std::pow(channel(colors, color, c) - wanted[static_cast<size_t>(c)], 2);
                        return std::sqrt(sum);
                    };
                    double least = 1000;
                    for (size_t i = 0; i < size_t{1} << bits; ++i)
                        least = std::min(
                            least, distance(palette[i].rgbBlue | palette[i].rgbGreen << 8 | palette[i].rgbRed << 16));
                    ASSERT_LE(distance(canvas.at(x, y)), least + 2) << x << ", " << y; // colours are rounded first
                }
        }
}

// Transparent pixels lend no colour to others; where all are transparent, colours are interpolated like any.
TEST(RotateFilter, TransparentPixelsDoNotBleed)
{
    for (const uint32_t flags : {2u, 4u})
        for (const bool has_opaque : {true, false}) {
            TestBitmap bitmap;
            ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 60, 60, 32, COLORORDER_BGR));
            std::vector<uint32_t> row(60);
            for (int32_t y = 0; y < 60; ++y) {
                for (size_t x = 0; x < row.size(); ++x)
                    row[x] = x < 30 ? (has_opaque ? 0xFF0000C8u : 0x000000C8u) : 0x00C80000u;
                ASSERT_LT(0, V_PutBitmapRow(bitmap, row.data(), y, 240));
            }
            ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, 700, flags, 0x0000FF00u));
            const Shown canvas = shown(bitmap);
            int blended = 0;
            for (int32_t y = 10; y < 50; ++y)
                for (int32_t x = 10; x < 50; ++x) {
                    const uint64_t pixel = canvas.at(x, y);
                    const bool is_between = has_opaque ? pixel >> 24 > 1 && pixel >> 24 < 255
                                                       : (pixel & 0xFF) > 10 && (pixel >> 16 & 0xFF) > 10;
                    blended += is_between;
                    EXPECT_TRUE(!has_opaque || pixel >> 24 < 2 || (pixel & 0xFFFFFF) == 0xC8) << std::hex << pixel;
                    EXPECT_TRUE(has_opaque || pixel >> 24 == 0);
                }
            EXPECT_LT(20, blended);
        }
}
