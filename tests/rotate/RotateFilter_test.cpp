// Interpolated rotation beside its definition in doubles, pixel by pixel: each channel, weighted by alpha, with the
// fill around the image.
#include "Vkkrnx.h"
#include "kernel/sampling/Loops.h"
#include "tests/rotate/RotateSupport.h"
#include "tests/support/Levels.h"
#include "tests/support/TestMix.h"

#include <string>

using namespace vk;
using namespace vk::testing;

namespace {

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
    for (const Form& form : kMixedForms)
        for (const uint32_t flags : {2u, 3u, 4u, 7u, 10u})
            for (const int32_t angle : {730, 4500, 9000, -13333}) {
                SCOPED_TRACE(name_of(form, flags) + ", angle " + std::to_string(angle));
                TestBitmap bitmap;
                ASSERT_NO_FATAL_FAILURE(make_form(bitmap, form, random.between(1, 150), random.between(1, 40)));
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

// The loops for wider instruction sets give what the plain ones do to the bit, and are those that run. What comes out
// is fixed: products and sums of floats and doubles are rounded in one order on every processor.
TEST(RotateFilter, EveryLevelGivesTheSame)
{
    const struct {
        int32_t bits;
        int32_t order;
        uint64_t linear;
        uint64_t cubic;
    } rows[] = {{1, COLORORDER_RGB, 0xE93B5680B79AAA5Cu, 0x3D5A27119E3836BBu},
                {4, COLORORDER_RGB, 0x226E96E5193D2BE6u, 0x530EFEFF52854F3Au},
                {8, COLORORDER_RGB, 0x95A8BC2EE03D972Du, 0x713BD28D429787BEu},
                {8, COLORORDER_GRAY, 0xE8EBC3D7C3B7DE0u, 0xA24DF333CC91D160u},
                {12, COLORORDER_GRAY, 0x9A1CABB3C8DF0AFBu, 0xCE6BFD9EA392678Cu},
                {16, COLORORDER_GRAY, 0x2F0409662B6AFB07u, 0x98F08DB6C3D692CFu},
                {16, COLORORDER_RGB, 0x8525ECA4BEFED2B8u, 0x606FBE003F9F65F4u},
                {16, COLORORDER_RGB565, 0x29027A48DC3D328Cu, 0xB452D961CEA03494u},
                {24, COLORORDER_BGR, 0x1A51FAC644E41CABu, 0xCF9D1EA67B6126E6u},
                {32, COLORORDER_BGR, 0xA4233DE822BE051Fu, 0xA0CA1866BB12DB37u},
                {32, COLORORDER_GRAY, 0x23CD085B6B6A21Fu, 0xC5EA7933C2C366C1u},
                {48, COLORORDER_BGR, 0xB202A4BEDCDCEE70u, 0x1322E85F5185EFC9u},
                {64, COLORORDER_BGR, 0x23BBD0DCDC1A5167u, 0x48A3E0AC277D5C25u}};
    for (const auto& row : rows)
        for (const bool is_cubic : {false, true}) {
            SCOPED_TRACE(std::to_string(row.bits) + " bits, order " + std::to_string(row.order));
            for (const simd::Level level : kLevels) {
                TestBitmap bitmap;
                ASSERT_EQ(SUCCESS, bitmap.create(TYPE_CONV, 333, 71, row.bits, row.order));
                bitmap.paint([](int32_t x, int32_t y) {
                    const uint64_t mixed = static_cast<uint64_t>(x * 71 + y + 1) * 0x9E3779B97F4A7C15u;
                    return (mixed ^ mixed >> 29) | (x % 5 == 0 ? ~uint64_t{0} : 0);
                });
                const AtLevel at(level);
                ASSERT_EQ(SUCCESS, V_RotateBitmap(bitmap, 1230, is_cubic ? 5 : 3, 0x00A08040u));
                uint64_t sum = 0;
                for (const uint8_t byte : bitmap.pixels())
                    sum = (sum ^ byte) * 0x100000001B3u;
                EXPECT_EQ(is_cubic ? row.cubic : row.linear, sum) << "level " << static_cast<int>(level);
            }
        }
    sampling::CellKind colors{3, 1, 3, false, false, 255, true};
    for (const simd::Level level : kLevels) {
        const AtLevel at(level);
        const sampling::RealMixing* const fast = sampling::real_mixing_sets.at(at.reached);
        EXPECT_EQ(fast ? fast->loops(colors).cubic : nullptr, sampling::fast_mix(colors).cubic);
        EXPECT_NE(sampling::plain_mix(colors).cubic, sampling::fast_mix(colors).cubic);
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
